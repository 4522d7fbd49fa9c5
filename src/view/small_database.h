// The quick reader of a fax file's header: the whole text in one block, cut in place, answered from a fixed table.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tolvane {

constexpr size_t RESOLUTION_SIZE = 20;    ///< bytes of Resolution, the closing zero included
extern char Resolution[RESOLUTION_SIZE];  ///< value of `RESOLUTION` of the file read last, cut to fit; empty if none

/// The decimal number at the head of `text`, as `atoi` reads it, held to the range of the result; 0 without digits.
int32_t decimal_value(const char *text);

/// Fills `Resolution` and `Total_pages` (`#PAGES`, or else `PAGES`, plus `INCLUDE_PAGES`) from the file `name`.
///
/// A file that cannot be read, or is no fax, leaves them empty and 0.
/// @return the result of `read_header`
uint32_t tn_extract_header_info(const char *name);

/// Reads the header text of the file `name` and cuts it into keywords, which stand until the next call.
///
/// Says nothing, never blocks, and holds no more memory than the file has bytes. A text without a byte 29, with a
/// last line left open, or of 100 lines or more is read but holds no keyword.
/// @return the header length that the file states if any header text could be read, else 0
uint32_t read_header(const char *name);

/// @return the value of the first keyword of that name (upper and lower case differ), or an empty string; it stands
/// until the next `read_header` or `free_header`
const char *find_keyword(const char *name);

/// Says that the answers are no longer needed. They stay all the same until the next `read_header`.
void finished_with_header();

/// Frees the header text; from here on no keyword is found.
void free_header();

}  // namespace tolvane
