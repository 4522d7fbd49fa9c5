// Whole-file conversion: a fax file rewritten from one page coding to another.
#pragma once

#include <cstdint>

namespace tolvane {

/// Rewrites the fax file `path` in another page coding, page by page, and its `COMPRESSION` with it. The new file
/// replaces the old one in one step, complete and on disk, and keeps its mode and owner; until then it is beside it as
/// `path`, a dot and the process id, in place of any file of that name. On failure the old file is untouched and no new
/// one stays, except the complete new file if only the replacement failed. Sets the line width to 1728 for the process.
/// One conversion at a time; other editors of the file wait, as this waits for them (fax_lock.h).
///
/// `#PAGES` says how many page records are converted; the new file has no others: none without that line. Of several
/// header lines of one name the last one stays, at the place of the first. `tolvane_convert` (fax.h) and `tolvane-fax
/// convert` keep all records and lines, whatever `#PAGES` says.
///
/// The new page holds the lines that the decoder delivers: bad lines repeated or left out as it does for the coding, a
/// white line more at the head of a page from MH and at the end of a page from MMR.
///
/// @param compression    the wanted coding: 0 MH, 1 MR, 3 MMR
/// @param unused         not looked at
/// @param page_callback  called once per page before it is decoded; may be null
/// @return 1 if the file has the wanted coding now, also if it had it before and nothing was done; 0 on failure, with
///         a message on standard error unless a page could not be decoded. A fault of the header is reported on
///         standard output too (fax_header.h)
int t4dec_change_format(const char *path, int32_t compression, int32_t unused, void (*page_callback)());

}  // namespace tolvane
