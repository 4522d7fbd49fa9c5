// Messages in a dialog, for a user who does not see standard error.
#pragma once

#include <string>

#include <X11/Intrinsic.h>

namespace tolvane {

/// Turns the dialogs on. Without this call the other procedures do nothing.
void enable_notices(Display *display);

bool notices_enabled();

/// Shows a message in a dialog and returns at once. A message that is still shown is replaced.
///
/// @param text  what failed, why, and what to do; a newline breaks the line
void notify_user(const std::string &text);

/// Processes events until the user has closed the dialog, if there is one.
void wait_for_notices();

}  // namespace tolvane
