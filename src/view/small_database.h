// The quick reader of a fax file's header: reads the text into one block, splits it in place and looks keywords up in a
// fixed table.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tolvane {

constexpr size_t RESOLUTION_SIZE = 20;    ///< bytes of Resolution, including the terminator
extern char Resolution[RESOLUTION_SIZE];  ///< `RESOLUTION` of the last file read, cut to fit; empty if absent

/// The decimal number at the start of `text`, as `atoi` reads it, limited to the range of the result; 0 without digits.
int32_t decimal_value(const char *text);

/// Fills `Resolution` and `Total_pages` (`#PAGES`, or else `PAGES`, plus `INCLUDE_PAGES`) from the file `name`.
///
/// A file that cannot be read, or is no fax, leaves them empty and 0.
/// @return the result of `read_header`
uint32_t tn_extract_header_info(const char *name);

/// Reads the header text of the file `name` and splits it into keywords, which are valid until the next call.
///
/// Prints no message, never blocks, and allocates no more memory than the file has bytes. No keywords are found in a
/// text without a byte 29, with an incomplete last line, or of 100 lines or more.
/// @return the header length stated in the file if any header text could be read, else 0
uint32_t read_header(const char *name);

/// @return the value of the first keyword of that name (case-sensitive), or an empty string; valid until the next
/// `read_header` or `free_header`
const char *find_keyword(const char *name);

/// Does nothing: the keywords remain valid until the next `read_header` or `free_header`.
void finished_with_header();

/// Frees the header text; no keyword is found until the next `read_header`.
void free_header();

}  // namespace tolvane
