// Small operations on texts: splitting, replacing a character, copying into a buffer of fixed size.
#pragma once

#include <cstddef>

namespace tolvane {

/// Splits `text` at each `separator`; every piece has its white space taken off at both ends, and empty pieces count.
///
/// @param pieces  null to count only; otherwise receives a list of the pieces in order, closed by a null pointer. List
///                and pieces are one block from `malloc`: the caller releases all of it with a single `free`
/// @return the number of pieces, which is the number of separators plus 1; -1 with errno EINVAL for a null text; -1
///         with `*pieces` unchanged if there is no memory
int split(const char *text, char separator, char ***pieces);

/// Replaces each `old_char` of `text` by `new_char`, in place; null is left alone.
void convert_char(char *text, char old_char, char new_char);

/// Copies `from` into `to`, a buffer of `size` bytes with the closing zero counted in. What does not fit is cut at the
/// boundary of a UTF-8 character, so that no half of one is left; a buffer of 0 bytes is left alone.
///
/// @return 1 if all of the text fitted, 0 if it was cut
int copy_text(char *to, size_t size, const char *from);

}  // namespace tolvane
