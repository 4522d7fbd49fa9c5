// Keys and the mouse wheel, as Xt resources below the user's own: the window's tree knows nothing of them.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// The default keys as resource lines, closed by a null entry. Accelerators on the control that stands behind a key,
/// and on `tolvane_form`, with actions of our own, where none does.
extern const char *const default_keys[];

/// Adds resource lines to the display's database where it has none of the same specifier.
///
/// @param scope  put in front of each line: a class binds the lines to the shells of that class, "" to no one
/// @param lines  each begins with "*"; closed by a null entry
void merge_below_user_resources(Display *display, const char *scope, const char *const *lines);

/// Registers the actions `tn-next-page`, `tn-previous-page`, `tn-first-page`, `tn-last-page`, `tn-larger`,
/// `tn-smaller`, `tn-rotate-left`, `tn-rotate-right`, `tn-print` and `tn-dismiss`. None looks at its parameters; print
/// and dismiss act only as far as the present face of the window offers them.
void add_key_actions(XtAppContext context);

/// Makes the accelerators of the form's descendants work all over the form, but for its menu bar, whose keys stay the
/// toolkit's.
void install_keys(Widget form);

}  // namespace tolvane
