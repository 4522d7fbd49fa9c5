// Selecting pages on the command line, as in 1-3,5,z.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "document/page_sources.h"
#include "io/report.h"

namespace tolvane {

/// Parses a selection: page numbers and ranges separated by commas, in the order wanted. `z` is the last page, `r2` the
/// second from the end; a range may run backwards. A final `:even` or `:odd` keeps the pages of even or odd number.
///
/// @param text      empty: all pages
/// @param about     what a message begins with
/// @param count     pages of the document
/// @param missing   those of them that are not available: left out
/// @param left_out  receives the stretches of `missing` that were selected
/// @return DONE; USAGE after a message: no selection, or a page that the document does not have
Status select_pages(const std::string &text, const std::string &about, int32_t count,
                    const std::vector<MissingPages> &missing, std::vector<int32_t> &pages,
                    std::vector<const MissingPages *> &left_out);

}  // namespace tolvane
