// What a signal that ends the program must do first: remove files that have a name while they are written, and name an
// input that another program has cut while it was read. Any thread may call these.
#pragma once

#include <cstddef>
#include <functional>

namespace tolvane {

/// Files that are removed at most.
constexpr size_t UNFINISHED_FILES_MAX = 1024;

/// Makes a file that is removed when SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE or SIGBUS ends the program: a signal
/// waits until it is made.
///
/// @param make  makes the file of this path; false if it can't
/// @return what `make` returned
bool make_unfinished_file(const char *path, const std::function<bool()> &make);
/// Keeps a file that was made so.
void forget_unfinished_file(const char *path);

/// Names a file when memory that it is mapped to cannot be read since the file has become shorter (SIGBUS): a message,
/// and status FAILED. Of more than 128 mappings at a time the others are not named.
void note_mapping(const void *begin, size_t size, const char *name);
void forget_mapping(const void *begin);

}  // namespace tolvane
