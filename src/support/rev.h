// Revision stamps: the string in every source module that contains its version, split into fields.
//
// A stamp has nine fields with "|" between them: the marker "@(#)" that the `what` tool of SCCS looks for, module,
// release, minor release, level, branch, sequence, date MM/DD/YY and time HH:MM:SS of the last change. Each module
// keeps its own, file-local, under the name SCCS_ID.
//
// The accessors split `stamp` and give one field; with null or "" they give the field of the stamp split last. They
// give null if there has been no stamp, or if `stamp` has too few fields; what was found in it is then available
// with null. An empty field is no field: the later ones move up. The texts are valid until the next call with a
// non-empty stamp.
#pragma once

namespace tolvane {

const char *rev_module(const char *stamp);
const char *rev_release(const char *stamp);
const char *rev_minor_release(const char *stamp);
const char *rev_level(const char *stamp);
const char *rev_branch(const char *stamp);
const char *rev_sequence(const char *stamp);
const char *rev_delta_date(const char *stamp);
const char *rev_delta_time(const char *stamp);

/// Writes the version line of a stamp, such as "Version  9.2     Release 9.01".
///
/// @param buffer  long enough: for 24 characters, twice the release, the level, the minor release, and the closing zero
/// @return the length of the line, or 0 with `buffer` unchanged if the stamp has too few fields
int rev_revinfo(const char *stamp, char *buffer);

}  // namespace tolvane
