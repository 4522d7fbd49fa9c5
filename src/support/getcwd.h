// The working directory as the process first asked for it.
#pragma once

#include <cstddef>

namespace tolvane {

/// Gives the working directory of the first call, also after a change of directory: the first call asks the system and
/// keeps the answer for the life of the process, each later call copies it.
///
/// @param buffer  takes the path. It must hold PATH_LIMIT + 1 bytes (file.h), since later calls don't look at `size`
/// @param size    bytes of `buffer` that the first call may use
/// @return `buffer`, or null with errno set and a message on standard error if the system gives no directory
char *ks_getcwd(char *buffer, size_t size);

}  // namespace tolvane
