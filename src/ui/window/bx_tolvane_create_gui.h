// The viewer's one window: a column of controls on the left, the page in a scrolled drawing area on the right.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// Builds the form with all its controls and sets the handles of widgets.h. The controls of both embedded faces are
/// always built and left unmanaged. The string converters must be registered (`RegisterBxConverters`).
///
/// @param parent  the shell, which also serves the conversion of the labels
/// @return `tolvane_form`, the caller's to manage
Widget Createtolvane_form(Widget parent);

/// Initialises the widget classes of the window. In spite of its name it registers no converter.
void BxRegisterConverters();

}  // namespace tolvane
