// A modal question to the user.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// The question dialog, created by the first `AskUser` and kept; null until then.
extern Widget question_popup;

/// Callback of the dialog's buttons.
/// @param client_data  an `int` that becomes 1 for the OK button, 0 for the cancel button and is left by any other
///                     reason
void response(Widget w, XtPointer client_data, XtPointer call_data);

/// Asks a question in a modal dialog and processes events until it is answered, so that callbacks of the rest of the
/// program can run inside this call.
///
/// @param question  a newline breaks the line
/// @return 1 for yes; 0 for no, which is also the answer if the window manager closes the dialog
int AskUser(const char *question, const char *yes_label, const char *no_label);

}  // namespace tolvane
