// Outputs in the making: files that have a name while they are written and must not survive a signal.
#pragma once

namespace tolvane {

/// Removes a file when a signal (SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, or SIGBUS when an input is cut while it is
/// read) ends the program; four files at a time.
void note_unfinished_file(const char *path);
/// Keeps a file that was noted.
void forget_unfinished_file(const char *path);

}  // namespace tolvane
