// The steps of the start-up, for the stand-alone program and for a parent program. Their order is in open_view.cpp.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// The steps before the widgets are created: signals, environment, arguments, host name, key symbols, existence of the
/// file.
/// @return 0; on failure, stand-alone the process ends with status 1, embedded the result is 1
int pre_create_init(int argc, char **argv);

/// Reads the command line, from index 1 on, into Reduced, Printer_name, Server_name and Fullpath_fax_filename. The last
/// file name wins; an argument that contains "-g" anywhere is skipped with the one after it.
/// @return 0; on a missing or too long name, stand-alone the process ends with status 1, embedded the result is 1
int do_args(int argc, char **argv);

/// Finds the key symbol database and sets XKEYSYMDB in the environment.
/// @return 0 found, or already set; 1 not found, after a warning on standard error
int look_for_keysymdb();

/// The steps after the widgets are created: first page, standard input, scale toggles, event handler.
/// @return 0, or 1 if the first load failed
int post_create_init();

/// Xt event handler of the visible shell: notifies a parent program of each mapping, and records the window size.
void map_handler(Widget widget, XtPointer client_data, XEvent *event, Boolean *go_on);

}  // namespace tolvane
