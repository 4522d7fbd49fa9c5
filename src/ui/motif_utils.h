// One-line access to labels, text fields, sliders and buttons, and a few services of the display: the bell, a clock
// cursor, a wait for the screen. For one thread; the texts returned are in static buffers and valid until the next call
// of the same helper.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// Stores what the other helpers work with; call once, before any of them.
///
/// @param display   the application's display
/// @param context   its application context, processed while `AskUser` and `wait_for_screen_update` wait
/// @param toplevel  the application shell: parent of the question dialog, context of colour conversion
void register_motif_utils_variables(Display *display, XtAppContext context, Widget toplevel);

/// The context and the shell that were stored; null before.
XtAppContext motif_utils_context();
Widget motif_utils_shell();

/// Sets the value of an `XmTextField` and puts the insertion position at its end.
void set_textfield(Widget w, const char *text);

/// The value of an `XmTextField` or `XmText`, cut to 199 bytes at a character boundary.
/// @return a static buffer, overwritten by the next call
char *get_textfield(Widget w);

/// Gives an `XmLabel`, or a widget derived from it, a plain text without line breaks.
void set_label(Widget w, const char *text);

/// Sets the value of an `XmScale`; no callback fires.
void set_scale_value(Widget w, int value);

/// The value of an `XmScale`.
int get_scale_value(Widget w);

/// Sets or clears an `XmToggleButton`; no callback fires.
void set_button(Widget w, int state);

/// Sets or clears an `XmToggleButton`; its `XmNvalueChangedCallback` fires.
void set_button_and_notify(Widget w, int state);

/// @return 1 if the `XmToggleButton` is set, else 0 (0 also for the third state, `XmINDETERMINATE`)
int button_is_set(Widget w);

/// The widget name of an option menu's last choice, cut to 99 bytes at a character boundary; empty without a choice.
/// @return a static buffer, overwritten by the next call
char *get_menu_choice(Widget w);

/// Enables or disables user input for a widget and its descendants.
void sensitize(Widget w, int sensitive);

/// Rings the bell of the display at full volume, immediately.
void bell();

/// Sends the contents of the output buffer to the server.
void flush_display();

/// Sleeps for that time (0 does not sleep), then processes pending events, timers and inputs.
void wait_for_screen_update(unsigned milliseconds);

/// @param colour  a colour name or "#rrggbb"
/// @return the pixel, or all bits set if there is no such colour; the toolkit then prints its conversion warning
Pixel color_to_pixel(const char *colour);

/// Sets the background to `color_to_pixel(colour)`, also when that has all bits set.
void set_background(Widget w, const char *colour);

/// Scrolls an `XmScrolledWindow` to its right end and calls the callbacks of the scroll bar, as a click does.
void scroll_to_far_right(Widget w);

/// Creates the clock cursor that `show_clock_cursor` uses.
Cursor make_clock_cursor();

/// Creates it unless it exists: an animated cursor of a desktop's theme takes milliseconds to load.
void load_clock_cursor();

/// Shows the clock cursor on the widget immediately; no effect on a widget without a window.
void show_clock_cursor(Widget w);

/// Restores the cursor of the parent for the widget, immediately.
void restore_cursor(Widget w);

/// Presses a push button through the server: its callbacks run later, in the event loop. `XmNuserData` of the widget is
/// set to `state`.
/// @param state  the modifier state of the event, and the new logical state of the button
void simulate_button_click(Widget w, int state);

/// Presses the button if its logical state is not `state`.
void set_push_button_state(Widget w, int state);

/// @return the last state simulated; 0 for a button never pressed by the program
int push_button_state(Widget w);

}  // namespace tolvane
