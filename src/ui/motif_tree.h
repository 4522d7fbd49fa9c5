// A walk over a widget tree that includes the pulldown menus.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// Calls `function(widget, data)` for `w`, its descendants and the pulldown menus of cascade buttons, parents first.
/// @return 0
int apply_to_widget_tree(Widget w, void (*function)(Widget, int), int data);

/// The first widget called `name` on the walk of `apply_to_widget_tree`, or null.
Widget search_widget_by_name(Widget w, const char *name);

}  // namespace tolvane
