// Outputs in the making: files that have a name while they are written and must not survive a signal.
#pragma once

#include <string>

namespace tolvane {

/// Removes a file when a signal (SIGINT, SIGTERM or SIGHUP) ends the program; four files at a time.
void note_unfinished_file(const std::string &path);
/// Keeps a file that was noted.
void forget_unfinished_file(const std::string &path);

}  // namespace tolvane
