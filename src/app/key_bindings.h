// Keys and the mouse wheel, as Xt resources that those of the user override. The widget tree does not depend on them.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// The default keys as resource lines, terminated by a null entry: accelerators of the control that a key activates, or
/// of `tolvane_form`, with actions of the viewer, for keys without a control.
extern const char *const default_keys[];

/// Registers the actions `tn-next-page`, `tn-previous-page`, `tn-first-page`, `tn-last-page`, `tn-larger`,
/// `tn-smaller`, `tn-rotate-left`, `tn-rotate-right`, `tn-page-digit`, `tn-go-to-page`, `tn-start-pan`, `tn-pan`,
/// `tn-toggle-scale`, `tn-show-info`, `tn-print` and `tn-dismiss`. `tn-page-digit` has the digit as a parameter;
/// `tn-toggle-scale` acts only at a double click if it has the parameter "double". Print and dismiss
/// act only if the current face of the window has that button or menu entry.
void add_key_actions(XtAppContext context);

/// Makes the accelerators of the form and its descendants work in the whole form, except in its menu bar, which keeps
/// the keys of the toolkit. The information window gets them when it is made.
void install_keys(Widget form);

}  // namespace tolvane
