// The embedding interface except tn_open_view. A dismissed window is only popped down: its widgets are kept. After the
// form is destroyed, all handles except tn_Shell000 dangle: every procedure here checks tn_Shell000 first.
#include "app/tn_api_functions.h"

#include "app/exit_tasks.h"
#include "app/info_window.h"
#include "ui/widgets.h"
#include "view/screen/pagescope.h"
#include "view/screen/presentation.h"
#include "view/view_state.h"

#include <X11/Xlib.h>
#include <Xm/Xm.h>

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|tn_api_functions|9|01|3|0|0|11/23/26|07:37:25";

tn_callback_func parent_function;

void show_preview_face() {
  XtUnmanageChild(dismiss_print_buttons);
  XtUnmanageChild(fax_menubar);
  XtVaSetValues(pages_label, XmNtopAttachment, XmATTACH_FORM, nullptr);
  XtManageChild(fax_ops);
  XtVaSetValues(tn_Shell000, XmNtitle, "Sorbex KT Fax Preview", nullptr);
}

void show_viewer_face() {
  XtUnmanageChild(fax_ops);
  XtUnmanageChild(print_button);  // with a parent, printing goes through the menu
  XtManageChild(dismiss_print_buttons);
  XtManageChild(dismiss_button);
  XtManageChild(fax_menubar);
  XtVaSetValues(pages_label, XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, fax_menubar, nullptr);
  XtVaSetValues(tn_Shell000, XmNtitle, "Sorbex KT Fax Viewer", nullptr);
}

}  // namespace

void tn_assign_callback_func(tn_callback_func function) {
  parent_function = function;
}

void notify_api_parent(int32_t code) {
  if (parent_function) parent_function(code);
}

void tn_configure_window(int32_t mode) {
  if (!tn_Shell000) return;
  mode == TN_FACE_PREVIEW ? show_preview_face() : show_viewer_face();
  set_least_size();
}

int tn_window_is_up() {
  if (!tn_Shell000 || !XtIsRealized(tn_Shell000)) return 0;
  XWindowAttributes attributes;
  if (!XGetWindowAttributes(XtDisplay(tn_Shell000), XtWindow(tn_Shell000), &attributes)) return 0;
  return attributes.map_state == IsViewable;
}

void tn_empty_view_window() {
  if (!tn_Shell000 || !drawing_area || !XtIsRealized(drawing_area)) return;
  XUnmapWindow(XtDisplay(drawing_area), XtWindow(drawing_area));
}

void tn_dismiss_view_window(int32_t status) {
  if (!Api) leave(status);
  if (!tn_Shell000) return;
  close_info_window();
  XtPopdown(XtParent(tolvane_form));
  free_bitmap();
  notify_api_parent(TN_WINDOW_GONE);
}

void tn_raise_view_window() {
  if (!tn_Shell000 || !Tolvane_form || !XtParent(Tolvane_form) || !XtWindow(XtParent(Tolvane_form))) return;
  const Widget shell = XtParent(Tolvane_form);
  XtPopup(shell, XtGrabNone);
  XMapWindow(XtDisplay(tn_Shell000), XtWindow(shell));
}

}  // namespace tolvane
