// Names for files: without characters that a file system may refuse, or new in their directory, of eight characters and
// an extension.
#pragma once

#include <cstdint>

namespace tolvane {

/// Copies `text` as a name that any file system takes: letters but `Q`, digits, `-`, `.` and `_` stay, bytes of 128 and
/// above are left out, all others become `_`.
///
/// @param output  a buffer of at least the size of `text`
/// @return `output`
char *posix_file_name_filter(const char *text, char *output);

/// A number, 0 or above, in base 26 with the digits a to z, filled with `a` at the front to at least three digits.
///
/// @return static storage, overwritten by the next call
const char *int_to_base_26(int32_t number);

/// Replaces the file name of a path by a new one that is free in its directory: month and day (nov08), three or more
/// letters that count up from call to call, and the extension. The count is kept in the file `i_d_order` in the
/// directory of `get_temp_dir`, without a lock. The file of that name is not made.
///
/// @param path       in and out: a buffer for the directory, 8 or more characters and the extension
/// @param extension  null for ".fax"
/// @return `path`
char *build_unique_DOS_name(char *path, const char *extension);

}  // namespace tolvane
