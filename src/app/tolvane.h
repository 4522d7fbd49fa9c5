// The steps of the start-up that the stand-alone program and an embedding parent share. Their order is in open_view.h.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// Everything before the widgets exist: signals, environment, arguments, host name, key symbols, the file's existence.
/// @return 0; stand-alone a failure ends the process with status 1, embedded it gives 1
int pre_create_init(int argc, char **argv);

/// Reads the command line, from index 1 on, into Reduced, Printer_name, Server_name and Fullpath_fax_filename. The last
/// file name wins; an argument that holds "-g" anywhere is dropped with the one behind it.
/// @return 0; a name that is missing or too long ends the process with status 1, embedded it gives 1
int do_args(int argc, char **argv);

/// Finds the key symbol data base and sets XKEYSYMDB in the environment.
/// @return 0 found, or already set; 1 not found, after a warning on standard error
int look_for_keysymdb();

/// Everything after the widgets exist: the first page, standard input, the scale toggles, the event handler.
/// @return 0, or 1 when the first load failed
int post_create_init();

/// Xt event handler of the visible shell: tells an embedding parent of each mapping, and keeps the window's size.
void map_handler(Widget widget, XtPointer client_data, XEvent *event, Boolean *go_on);

}  // namespace tolvane
