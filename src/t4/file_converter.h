// Whole-file conversion without loss: what t4dec_change_format (t4dec_convert.h) is for a file that is as its header
// says, for any file.
#pragma once

#include <cstdint>

namespace tolvane {

/// Rewrites the fax file `path` in another page coding. Every page record is converted, as by `PageConverter`, and all
/// header lines stay; `COMPRESSION` becomes the wanted coding, and `#PAGES` the number of records. The new file
/// replaces the old one in one step, complete and on disk, and keeps its mode and owner. Nothing is printed; other
/// editors of the file wait, as this waits for them (fax_lock.h). Any number of threads may convert files at a time.
///
/// A file that has the wanted coding stays as it is. One without a resolution that is known is of normal resolution.
///
/// @param coding  COMP_MH, COMP_MR or COMP_MMR
/// @return a FaxFile code: 0; 8 if the file can't be opened; 10 if it is no fax file, bytes follow its records that
///         are no whole record, or #PAGES and COMPRESSION are missing in a header that viewers could not read with them
///         (header_modes.h); 20 if a page, or the wanted coding, can't be decoded or encoded; 4 without memory; 6 if it
///         can't be read; 5 or 7 if the new file can't be made. On failure the old file is untouched
int16_t convert_fax_file(const char *path, int32_t coding);

}  // namespace tolvane
