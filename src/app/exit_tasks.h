// The one release before every exit. It stands below the rest of the application, so that every way out can call it.
#pragma once

#include <cstdint>

namespace tolvane {

/// Releases what the viewer holds for the life of its window: the header block, then the bitmap. May be called again.
void exit_tasks();

/// `exit_tasks`, then the end of the process with `status`. Not for signal handlers: it frees memory.
[[noreturn]] void leave(int32_t status);

}  // namespace tolvane
