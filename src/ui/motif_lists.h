// Items and selections of an `XmList`, and a selection that is kept while the list is rebuilt. Positions count from 1;
// a result of 0 means that there is none.
#pragma once

#include <X11/Intrinsic.h>

namespace tolvane {

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

/// Clear the selection, and the list; no callback fires.
void deselect_all_items(Widget list);
void remove_all_items_from_list(Widget list);

/// Selects the item at `pos`, or the last one if `pos` is greater.
/// @param notify  non-zero fires the selection callback
void select_list_position(Widget list, int pos, int notify);

/// Selects the first item whose text equals `text`; items without text are skipped.
/// @param notify  non-zero fires the selection callback
/// @return the item's position, 0 if none matches
int select_list_item(Widget list, const char *text, int notify);

/// @return the position of the topmost visible item
int get_list_top_item(Widget list);

/// Scrolls so that the item at `pos` is at the top; 0 or less means the first.
void set_list_top_item(Widget list, int pos);

/// @return 0 if nothing is selected
int get_first_selected_position(Widget list);

/// The text of the first selected item.
///
/// @param buffer  large enough for any text of the list; set to the empty string if nothing is selected or the item has
///                no text under `XmFONTLIST_DEFAULT_TAG`
/// @return the item's position, 0 if nothing is selected
int get_selected_item(Widget list, char *buffer);

/// Saves the positions selected in the list. There is one saved selection per process: a second save replaces the
/// first.
void save_selected_items(Widget list);

/// Deselects all, then selects the saved positions, whatever the selection policy, and discards them; no callback
/// fires.
void restore_selected_items(Widget list);

}  // namespace tolvane
