// Nameless temporary files, and copying bytes between descriptors.
#pragma once

#include <sys/types.h>

#include <string>

#include "support/handle.h"

namespace tolvane {

/// Opens an empty file without a name, which is gone when it is closed.
///
/// @param beside  a path: the file is made in its directory; empty: in the directory for temporary files
/// @return none, with errno set, if it cannot be made
Descriptor open_spool(const std::string &beside);

/// Copies bytes between descriptors from their present positions.
///
/// @param count  bytes to copy; negative: up to the end of the source
/// @return false with errno set, which is 0 if the source ended early
bool copy_bytes(int source, int target, off_t count);

}  // namespace tolvane
