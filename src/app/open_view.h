// The window comes up: the order of the start, for the stand-alone program and for a parent program, which enters by
// `tn_open_view`.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// The fallback resources, closed by a null entry.
extern const char *const tn_fallbacks[];

/// Opens the window in the process of a parent program and shows the first page of a fax file: the start of the
/// stand-alone program with Api left set, so that signals, standard input, the main loop and the life of the process
/// stay the parent's. Register with `tn_assign_callback_func` to hear what happens in the window.
///
/// The first call decides on the display; a later one loads its file into the window that exists, popped down or not,
/// or builds a new one if the form has been destroyed. Scale and names of an earlier call are forgotten, the
/// orientation stays.
///
/// @param display    the parent's, in its application context, with Motif's classes or not; null makes a context,
///                   `tn_context`, and opens a display of its own, as "tolvane" of class "Tolvane"
/// @param argc,argv  as a command line: the program's name, scale switches, -p, -s, the file name. When a display is
///                   opened here, Xt takes its own options out of the vector
/// @return 0 shown, also if its first page rang the bell; 1, after a message on standard error, when there is no
///         display, no usable file name, no such file, or the file is no fax: no window is up then
int tn_open_view(Display *display, int argc, char **argv);

/// Makes `tn_context` with the fallback resources and opens the display that the arguments or the environment name.
/// @return null, after a warning, when it cannot be opened
Display *open_display(int *argc, char **argv);

/// From the open display to the first page: the arguments, the shells, the form, the popup, the load.
/// @return 0, or 1 as in `tn_open_view`
int open_window(Display *display, int argc, char **argv);

}  // namespace tolvane
