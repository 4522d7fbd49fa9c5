// One callback per control of the window. Each turns a widget event into one call of the view or of the application, or
// into one event code to the parent program; the logic is in what it calls.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// Dismisses the window; the client data is the exit status. Serves the button and `WM_DELETE_WINDOW`.
void bx_exit_cb(Widget w, XtPointer client_data, XtPointer call_data);

/// Reading steps within the page and across pages.
void bx_prev_chunk_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_next_chunk_cb(Widget w, XtPointer client_data, XtPointer call_data);

/// The scale toggles. A radio box also calls the toggle that goes off; only the one that comes on acts.
void bx_scale_100_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_scale_75_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_scale_50_cb(Widget w, XtPointer client_data, XtPointer call_data);

/// The orientation arrows: up is 0 degrees, left 90, down 180, right 270. A call with a click count of 0 is no click.
void bx_view_up_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_view_left_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_view_right_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_view_down_cb(Widget w, XtPointer client_data, XtPointer call_data);

/// The page browser: its value is the page, counted from 1.
void bx_scale_cb(Widget w, XtPointer client_data, XtPointer call_data);

/// Repaints the picture.
void bx_draw_expose_cb(Widget w, XtPointer client_data, XtPointer call_data);

/// Previous and next page; no control of this window uses them.
void bx_prev_page_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_next_page_cb(Widget w, XtPointer client_data, XtPointer call_data);

/// The form is destroyed: from here on no window exists, for the view and for the parent program.
void bx_destroy_form_cb(Widget w, XtPointer client_data, XtPointer call_data);

/// The buttons of the preview: each notifies the parent program; save and discard then dismiss the window.
void bx_send_preview_fax_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_save_preview_fax_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_discard_preview_fax_cb(Widget w, XtPointer client_data, XtPointer call_data);

/// The entries of the menu "Fax Options": each notifies the parent program.
void bx_tn_print_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_tn_print_props_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_tn_attach_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_tn_delete_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_tn_rename_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_tn_send_original_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_tn_send_selected_cb(Widget w, XtPointer client_data, XtPointer call_data);
void bx_tn_route_cb(Widget w, XtPointer client_data, XtPointer call_data);

/// Passes the file to the print program and waits for it to end.
void bx_call_ormbrix_bx(Widget w, XtPointer client_data, XtPointer call_data);

}  // namespace tolvane
