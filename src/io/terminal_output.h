// Results on a terminal.
#pragma once

#include <string>

namespace tolvane {

/// If standard output is a terminal, replaces `stdout` by a stream that prints there without control characters, as
/// `printable` shows them; line feeds and tabs stay. What is written to a pipe or file stays as it is. The last line
/// appears when it ends in a line feed, or in `flush_output`.
void protect_terminal();

/// The name of a file for a line of results: on a terminal, line feeds and tabs are shown too.
std::string result_name(const std::string &name);

/// Brings what has been printed to standard output there. False with errno set if any of it did not get there.
bool flush_output();

}  // namespace tolvane
