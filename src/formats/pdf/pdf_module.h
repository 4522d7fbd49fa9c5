// The entry of the module that reads PDF. The program opens it when there is a PDF to read: its libraries would take
// most of the time of every start.
#pragma once

#include "formats/page_readers.h"

/// Reads the pages of a PDF; as `read_pdf`. The module calls procedures of the program, which module.exports names.
extern "C" tolvane::Status tolvane_read_pdf(const tolvane::PictureFile &file, const tolvane::SourceOptions &options,
                                            const tolvane::page_sink &sink);
