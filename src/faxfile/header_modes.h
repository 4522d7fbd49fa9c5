// What header lines say of how the pages are coded: COMPRESSION and RESOLUTION, as those who decode the pages read
// them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "header_lines.h"

namespace tolvane {

/// The DF code of the last line COMPRESSION: 0 (MH) if it is missing or empty; -1 if it is not a code. White space
/// before the character, and anything after it, is ignored. `get_compression_mode` says the same of the list of a
/// header.
int32_t header_coding(const HeaderLines &lines);

/// The VR code of the first line RESOLUTION; -1 if it is missing or not a code.
int32_t header_resolution(const HeaderLines &lines);

/// Sets the coding in every line COMPRESSION, or in a new last one.
///
/// @param coding  a DF code, 0 to 3
void set_header_coding(HeaderLines &lines, int32_t coding);

/// Sets #PAGES to the number of page records, unless it says that already.
///
/// @return whether the lines were changed
bool set_header_page_count(HeaderLines &lines, int32_t pages);

/// Lines of the longest header that the viewer reads; it reads none of a longer one.
constexpr size_t MOST_HEADER_LINES = 99;

/// Whether a change of the lines takes them beyond what readers read: MOST_HEADER_LINES, or 10000 bytes if pages are
/// included. A limit that they were beyond before does not count.
bool header_loses_readers(const HeaderLines &before, const HeaderLines &after);

}  // namespace tolvane
