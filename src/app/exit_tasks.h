// The release of resources before every exit. It depends on no other module of the application, so that every exit can
// call it.
#pragma once

#include <cstdint>

namespace tolvane {

/// Frees what the viewer keeps for the life of its window: the header block, then the bitmap. May be called repeatedly.
void exit_tasks();

/// Calls `exit_tasks` and ends the process with `status`. Not for signal handlers: it frees memory.
[[noreturn]] void leave(int32_t status);

}  // namespace tolvane
