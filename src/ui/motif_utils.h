// One-line access to Motif widgets, and a few services of its own: a modal question, a walk over a widget tree that
// goes through pulldown menus, a list selection kept across a rebuild, a wait for the screen, a clock cursor. One
// thread; the texts that come back stand in static buffers until the next call of the same helper.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

/// Stores what the other helpers work with; called once, before any of them.
///
/// @param display   the application's display
/// @param context   its application context, served while `AskUser` and `wait_for_screen_update` wait
/// @param toplevel  the application shell: parent of the question dialog, context of colour conversion
void register_motif_utils_variables(Display *display, XtAppContext context, Widget toplevel);

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

/// Lists: positions count from 1, and 0 in a result means that there is none.

/// Appends an item to an `XmList`.
void add_item_to_list(Widget list, const char *text);

/// The text of the item at `pos`, cut to 999 bytes at a character boundary.
/// @return a static buffer, overwritten by the next call; null if there is no such item or it has no text under
///         `XmFONTLIST_DEFAULT_TAG`
char *get_list_item(Widget list, int pos);

/// How many items an `XmList` has, and how many of them are selected.
int get_list_numb_items(Widget list);
int numb_selected_items(Widget list);

/// Selects every item, whatever the selection policy, which stays as it was; no callback fires.
void select_all_items(Widget list);

/// Empty the selection, and the list; no callback fires.
void deselect_all_items(Widget list);
void remove_all_items_from_list(Widget list);

/// Selects the item at `pos`, or the last one if `pos` is greater.
/// @param notify  non-zero fires the selection callback
void select_list_position(Widget list, int pos, int notify);

/// Selects the first item whose text equals `text`; items without text are passed over.
/// @param notify  non-zero fires the selection callback
/// @return the item's position, 0 if none matches
int select_list_item(Widget list, const char *text, int notify);

/// @return the position of the topmost visible item
int get_list_top_item(Widget list);

/// Scrolls so that the item at `pos` stands at the top; 0 or less means the first.
void set_list_top_item(Widget list, int pos);

/// @return 0 if nothing is selected
int get_first_selected_position(Widget list);

/// The text of the first selected item.
///
/// @param buffer  the caller's, large enough for any text of the list; empty if nothing is selected or the item has no
///                text under `XmFONTLIST_DEFAULT_TAG`
/// @return the item's position, 0 if nothing is selected
int get_selected_item(Widget list, char *buffer);

/// Remembers the positions selected in the list. One memory serves the process: a second save replaces the first.
void save_selected_items(Widget list);

/// Deselects all, then selects the positions saved, whatever the selection policy; no callback fires. A save is good
/// for one restore.
void restore_selected_items(Widget list);

/// The question dialog, built by the first `AskUser` and kept; null until then.
extern Widget question_popup;

/// Callback of the dialog's buttons.
/// @param client_data  an `int` that becomes 1 for the OK button, 0 for the cancel button and is left by any other
///                     reason
void response(Widget w, XtPointer client_data, XtPointer call_data);

/// Puts a question in a modal dialog and serves events until it is answered, so that callbacks of the rest of the
/// program can run inside this call.
///
/// @param question  a newline breaks the line
/// @return 1 for yes; 0 for no, which is also the answer if the window manager closes the dialog
int AskUser(const char *question, const char *yes_label, const char *no_label);

/// Calls `function(widget, data)` for `w`, its descendants and the pulldown menus of cascade buttons, parents first.
/// @return 0
int apply_to_widget_tree(Widget w, void (*function)(Widget, int), int data);

/// The first widget called `name` on the walk of `apply_to_widget_tree`, or null.
Widget search_widget_by_name(Widget w, const char *name);

/// Makes a widget answer the user's input, or not, with all that is in it.
void sensitize(Widget w, int sensitive);

/// Rings the bell of the display, at once and as loud as it goes.
void bell();

/// Sends the server what is still in the output buffer.
void flush_display();

/// Waits for that long (0 does not sleep), then serves the events that are pending.
void wait_for_screen_update(unsigned milliseconds);

/// @param colour  a colour name or "#rrggbb"
/// @return the pixel, or all bits set if there is no such colour; the toolkit then prints its conversion warning
Pixel color_to_pixel(const char *colour);

/// Sets the background to `color_to_pixel(colour)`, also when that has all bits set.
void set_background(Widget w, const char *colour);

/// Scrolls an `XmScrolledWindow` to its right end and tells the scroll bar's clients as a user's click would.
void scroll_to_far_right(Widget w);

/// Makes a clock cursor, which becomes the one of `show_clock_cursor`.
Cursor make_clock_cursor();

/// Shows the clock cursor on the widget, at once; without effect before it is realised.
void show_clock_cursor(Widget w);

/// Gives the widget back the cursor of its parent, at once.
void restore_cursor(Widget w);

/// Presses a push button through the server: its callbacks run later, from the event loop. The widget's `XmNuserData`
/// becomes `state`.
/// @param state  the modifier state of the event, and the button's logical state from now on
void simulate_button_click(Widget w, int state);

/// Presses the button if its logical state is not `state`.
void set_push_button_state(Widget w, int state);

/// @return the state last simulated, 0 for a button never pressed from inside
int push_button_state(Widget w);

}  // namespace tolvane
