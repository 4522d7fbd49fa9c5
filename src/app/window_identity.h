// What desktops want to know of a window: its process and host, and its icon.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// Sets WM_CLIENT_MACHINE, _NET_WM_PID and _NET_WM_ICON (Extended Window Manager Hints) on the window of a realised
/// shell.
void identify_window(Widget shell);

}  // namespace tolvane
