// The walk over a widget tree. Children come first, then the pulldown menu of a cascade button.
#include "ui/motif_tree.h"

#include <cstring>

#include "ui/motif_values.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|motif_tree|9|01|2|0|0|11/23/26|06:29:09";

// Visits `w`, its descendants and the pulldown menus of its cascade buttons, parents first, until `visit` is true.
// A pulldown menu is no child of its button: only XmNsubMenuId leads there.
// @return the widget at which the walk ended, null at the end of the tree
template <typename Visit>
Widget walk(Widget w, const Visit &visit) {
  if (visit(w)) return w;
  const auto count = resource<Cardinal>(w, XmNnumChildren);
  const auto children = resource<WidgetList>(w, XmNchildren);
  for (Cardinal i = 0; i < count; i++) {
    if (Widget found = walk(children[i], visit)) return found;
  }
  const auto menu = resource<Widget>(w, XmNsubMenuId);
  return menu ? walk(menu, visit) : nullptr;
}

}  // namespace

int apply_to_widget_tree(Widget w, void (*function)(Widget, int), int data) {
  walk(w, [&](Widget each) {
    function(each, data);
    return false;
  });
  return 0;
}

Widget search_widget_by_name(Widget w, const char *name) {
  return walk(w, [&](Widget each) { return strcmp(XtName(each), name) == 0; });
}

}  // namespace tolvane
