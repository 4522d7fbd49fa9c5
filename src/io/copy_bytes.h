// Copying bytes between open files.
#pragma once

#include <sys/types.h>

namespace tolvane {

/// Copies bytes between descriptors from their present positions.
///
/// @param count  bytes to copy; negative: up to the end of the source
/// @return false with errno set, which is 0 if the source ended early
bool copy_bytes(int source, int target, off_t count);

}  // namespace tolvane
