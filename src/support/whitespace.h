// Taking white space off the ends of a text in place. White space is blank, tab, line feed, vertical tab, form feed and
// carriage return, whatever the locale.
#pragma once

namespace tolvane {

/// 1 for a white space character, else 0.
int is_whitespace(char ch);

/// @return the first character of `text` that is not white space, or its closing zero
char *rm_leading_whitespace(char *text);

/// Cuts `text` after its last character that is not white space.
void rm_trailing_whitespace(char *text);

/// Cuts `text` after its last character that is neither white space nor `"`.
///
/// @return the first character of `text` that is neither white space nor `"`, or its closing zero
char *strip_enclosing_whitespace(char *text);

}  // namespace tolvane
