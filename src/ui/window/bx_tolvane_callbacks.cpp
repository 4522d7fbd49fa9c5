// The only code of the window that calls the view and the application. There is no logic here: a callback reads its
// event and makes one call. The type of the call data depends on the widget class, so a callback fits only the control
// it was written for.
#include "ui/window/bx_tolvane_callbacks.h"

#include <cstdint>

#include "app/print_handoff.h"
#include "app/tn_api_functions.h"
#include "ui/widgets.h"
#include "view/screen/pagescope.h"
#include "view/screen/presentation.h"
#include "view/screen/scrolling.h"
#include "view/screen/tolvane_cb.h"

#include <Xm/Xm.h>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|bx_tolvane_callbacks|9|01|2|0|0|11/23/26|06:29:09";

// A radio box also calls the toggle that is cleared.
void choose_scale(XtPointer call_data, int32_t percent) {
  if (static_cast<XmToggleButtonCallbackStruct *>(call_data)->set) view_size_cb(percent);
}

void choose_orientation(XtPointer call_data, int32_t degrees) {
  if (static_cast<XmArrowButtonCallbackStruct *>(call_data)->click_count) rotate_view(degrees);
}

}  // namespace

void bx_exit_cb(Widget, XtPointer client_data, XtPointer) {
  tn_dismiss_view_window(static_cast<int32_t>(reinterpret_cast<intptr_t>(client_data)));
}

void bx_prev_chunk_cb(Widget, XtPointer, XtPointer) {
  chunk_scroll(0);
}
void bx_next_chunk_cb(Widget, XtPointer, XtPointer) {
  chunk_scroll(1);
}

void bx_scale_100_cb(Widget, XtPointer, XtPointer call_data) {
  choose_scale(call_data, 100);
}
void bx_scale_75_cb(Widget, XtPointer, XtPointer call_data) {
  choose_scale(call_data, 75);
}
void bx_scale_50_cb(Widget, XtPointer, XtPointer call_data) {
  choose_scale(call_data, 50);
}

void bx_view_up_cb(Widget, XtPointer, XtPointer call_data) {
  choose_orientation(call_data, 0);
}
void bx_view_left_cb(Widget, XtPointer, XtPointer call_data) {
  choose_orientation(call_data, 90);
}
void bx_view_right_cb(Widget, XtPointer, XtPointer call_data) {
  choose_orientation(call_data, 270);
}
void bx_view_down_cb(Widget, XtPointer, XtPointer call_data) {
  choose_orientation(call_data, 180);
}

void bx_scale_cb(Widget, XtPointer, XtPointer call_data) {
  random_page(static_cast<XmScaleCallbackStruct *>(call_data)->value);
}

void bx_draw_expose_cb(Widget, XtPointer, XtPointer) {
  refresh_view();
}

void bx_prev_page_cb(Widget, XtPointer, XtPointer) {
  prev_page_cb();
}
void bx_next_page_cb(Widget, XtPointer, XtPointer) {
  next_page_cb();
}

void bx_destroy_form_cb(Widget, XtPointer, XtPointer) {
  // First, so that whatever the parent program calls from its notification finds no window.
  tn_Shell000 = nullptr;
  free_bitmap();
  notify_api_parent(TN_WINDOW_GONE);
}

void bx_send_preview_fax_cb(Widget, XtPointer, XtPointer) {
  notify_api_parent(TN_PREVIEW_SEND);
}

void bx_save_preview_fax_cb(Widget, XtPointer, XtPointer) {
  notify_api_parent(TN_PREVIEW_SAVE);
  tn_dismiss_view_window(0);
}

void bx_discard_preview_fax_cb(Widget, XtPointer, XtPointer) {
  notify_api_parent(TN_PREVIEW_DISCARD);
  tn_dismiss_view_window(0);
}

void bx_tn_print_cb(Widget, XtPointer, XtPointer) {
  notify_api_parent(TN_PRINT);
}
void bx_tn_print_props_cb(Widget, XtPointer, XtPointer) {
  notify_api_parent(TN_PRINT_PROPS);
}
void bx_tn_attach_cb(Widget, XtPointer, XtPointer) {
  notify_api_parent(TN_ATTACH);
}
void bx_tn_delete_cb(Widget, XtPointer, XtPointer) {
  notify_api_parent(TN_DELETE);
}
void bx_tn_rename_cb(Widget, XtPointer, XtPointer) {
  notify_api_parent(TN_RENAME);
}
void bx_tn_send_original_cb(Widget, XtPointer, XtPointer) {
  notify_api_parent(TN_SEND_ORIGINAL);
}
void bx_tn_send_selected_cb(Widget, XtPointer, XtPointer) {
  notify_api_parent(TN_SEND_SELECTED);
}
void bx_tn_route_cb(Widget, XtPointer, XtPointer) {
  notify_api_parent(TN_ROUTE);
}

void bx_call_ormbrix_bx(Widget, XtPointer, XtPointer) {
  tn_call_ormbrix();
}

}  // namespace tolvane
