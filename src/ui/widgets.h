// The global widget handles, under the names of the widgets. Nothing else is here, so that code that needs a widget
// does not depend on the code that created it. Set by Createtolvane_form and by the start-up; null before.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// Hidden application shell, never popped up: parent of the question dialog, context of colour conversion.
extern Widget AppShell;
/// Visible application shell; null when no window exists.
extern Widget tn_Shell000;
/// The form as the start-up keeps it; the same widget as `tolvane_form`.
extern Widget Tolvane_form;

extern Widget tolvane_form;
extern Widget dismiss_print_buttons;
extern Widget fax_menubar;
extern Widget fax_ops;
extern Widget view_down;
extern Widget view_right;
extern Widget view_left;
extern Widget view_up;
extern Widget lines_textfield;
extern Widget res_textfield;
extern Widget next_chunk;
extern Widget scale;
extern Widget prev_chunk;
extern Widget pages_label;
extern Widget scrolled_window;
extern Widget drawing_area;
extern Widget scale_100;
extern Widget scale_75;
extern Widget scale_50;
extern Widget tn_route;
extern Widget print_button;
extern Widget dismiss_button;

}  // namespace tolvane
