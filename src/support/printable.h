// Text of strangers, made fit for a terminal: names of files and values of headers may contain what moves the cursor,
// renames the window or types commands.
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

/// A text without control characters: each byte of one, and each byte that is not UTF-8, becomes `\x` and two
/// hexadecimal digits. Control characters are C0, DEL and C1 (ECMA-48; U+0000 to U+001F and U+007F to U+009F), and
/// those that reorder the text after them (Unicode Standard Annex 9, 2: U+202A to U+202E and U+2066 to U+2069), with
/// which a name can show as another one. All other UTF-8 stays as it is.
///
/// @param kept  C0 characters that stay too, for instance "\n\t"
std::string printable(std::string_view text, std::string_view kept = {});

/// Whether a text is UTF-8 (RFC 3629).
bool is_utf8(std::string_view text);

}  // namespace tolvane
