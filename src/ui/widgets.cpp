// Storage of the widget handles and nothing else: Createtolvane_form and the start-up fill them. `Tolvane_form` and
// `tolvane_form` are two names of one widget.

#include "ui/widgets.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|widgets|9|01|2|0|0|11/23/26|04:51:49";
}

Widget AppShell;
Widget tn_Shell000;
Widget Tolvane_form;
Widget tolvane_form;
Widget dismiss_print_buttons;
Widget fax_menubar;
Widget fax_ops;
Widget view_down;
Widget view_right;
Widget view_left;
Widget view_up;
Widget lines_textfield;
Widget res_textfield;
Widget next_chunk;
Widget scale;
Widget prev_chunk;
Widget pages_label;
Widget scrolled_window;
Widget drawing_area;
Widget scale_100;
Widget scale_75;
Widget scale_50;
Widget tn_route;
Widget print_button;
Widget dismiss_button;

}  // namespace tolvane
