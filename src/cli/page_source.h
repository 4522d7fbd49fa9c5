// Pages that come in from other formats, one picture after another: the choice of the reader by the file's first bytes.
#pragma once

#include <string>

#include "page_readers.h"

namespace tolvane {

/// Reads all pictures of a file in order and hands each to `sink`: TIFF, PBM, PNG, PDF, or raw coded data.
///
/// @param path  `-` is standard input
/// @return DONE; DAMAGED when coded lines were damaged; FAILED: all after a complaint that names file, page and place
Status read_pages(const std::string &path, const SourceOptions &options, const page_sink &sink);

}  // namespace tolvane
