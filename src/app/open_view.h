// Opening the window: the order of the start, for the stand-alone program and for a parent program, which calls
// `tn_open_view`.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// The fallback resources, terminated by a null entry.
extern const char *const tn_fallbacks[];

/// Opens the window in the process of a parent program and shows the first page of a fax file: the start of the
/// stand-alone program with Api left set, so that signals, standard input, the main loop and the end of the process are
/// left to the parent. Register a function with `tn_assign_callback_func` to be notified of events in the window.
///
/// The first call with a file that exists determines the display. A later call loads its file into the existing window,
/// popped down or not, or builds a new one if the form has been destroyed. Scale and names of an earlier call are
/// reset; the orientation stays.
///
/// @param display    a display of the parent, whose application context is used; null creates a context, `tn_context`,
///                   and opens a display as "tolvane" of class "Tolvane"
/// @param argc,argv  a command line: program name, scale switches, -p, -s, file name. If a display is opened here, Xt
///                   removes its own options from the vector
/// @return 0 shown, also if the first page could not be read; 1, after a message on standard error, if there is no
///         display, no usable file name or no such file, or the file is no fax: then no window is up
int tn_open_view(Display *display, int argc, char **argv);

/// Creates `tn_context` with the fallback resources and opens the display that the arguments or the environment name.
/// @return null, after a warning, if it cannot be opened
Display *open_display(int *argc, char **argv);

/// From the open display to the first page: arguments, shells, form, popup, load.
/// @return 0, or 1 as in `tn_open_view`
int open_window(Display *display, int argc, char **argv);

}  // namespace tolvane
