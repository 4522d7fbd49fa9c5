// The steps of the start-up that the stand-alone program and an embedding parent share, and the parent's way in.
#pragma once

#include <cstddef>
#include <cstdint>

#include <X11/Intrinsic.h>

namespace tolvane {

constexpr size_t NAME_SIZE = 100;  ///< bytes of Printer_name and Server_name, the closing zero included

/// The one application context; an embedding parent that brought none runs its loop on it.
extern XtAppContext tn_context;
/// Argument of "-p", handed to the print program; may be empty.
extern char Printer_name[NAME_SIZE];
/// Argument of "-s", handed to the print program; stand-alone it is this host's name when the switch is absent.
extern char Server_name[NAME_SIZE];
/// The text given to `putenv`, which keeps the pointer: "XKEYSYMDB=" and a path.
extern char env_str[4096];
/// The fallback resources, closed by a null entry.
extern const char *const tn_fallbacks[];

/// Opens the window in the process of a parent program and shows the first page of a fax file: the start of the
/// stand-alone program with Api left set, so that signals, standard input and the main loop stay the parent's.
///
/// A window that exists is used again, popped down or not. After a failure no window is up.
///
/// @param context  the parent's application context; null makes an own one, `tn_context`, for the parent's loop
/// @param display  an open display of that context; null opens one as "tolvane", class "Tolvane"
/// @param argc,argv  as the command line: the program's name, scale switches, the file name. When a display is opened
///                 here, Xt takes its own options out of the vector
/// @return 0 shown (or its first page rang the bell); 1, after a message on standard error, when there is no display,
/// no
///         file of that name, or it is no fax
int tn_open_view(XtAppContext context, Display *display, int argc, char **argv);

/// Connects to the display named by the arguments or the environment and makes `tn_context` for it.
/// @return null, after a warning, when it cannot be opened
Display *open_display(int *argc, char **argv);

/// Everything between the display and the first page: the arguments, the shells, the form, the keys, the popup.
/// @return 0, or 1 when the arguments or the first load failed
int open_window(Display *display, int argc, char **argv);

/// Everything before the widgets exist: signals, environment, arguments, host name, key symbols, the file's existence.
/// @return 0; stand-alone a failure ends the process with 1, embedded it gives 1
int pre_create_init(int argc, char **argv);

/// Reads the command line, from index 1 on, into Reduced, Printer_name, Server_name and Fullpath_fax_filename. The last
/// file name wins; an argument that holds "-g" anywhere is dropped with the one behind it.
/// @return 0; a missing or too long name ends the process with 1, embedded it gives 1
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
