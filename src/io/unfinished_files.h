// Outputs in the making: files that have a name while they are written and must not survive a signal.
#pragma once

#include <cstddef>

namespace tolvane {

/// Files that are noted at a time at most.
constexpr size_t UNFINISHED_FILES_MAX = 128;

/// Removes a file when a signal (SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, or SIGBUS when an input is cut while it is
/// read) ends the program. Any thread may call it.
void note_unfinished_file(const char *path);
/// Keeps a file that was noted.
void forget_unfinished_file(const char *path);

}  // namespace tolvane
