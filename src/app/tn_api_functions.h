// The interface for a parent program: event notification, the face of the window, hiding, raising and dismissing it.
// `tn_open_view` in open_view.h opens the window.
#pragma once

#include <cstdint>

namespace tolvane {

/// The event codes that the function of the parent receives. The viewer itself does nothing for 3 to 13.
enum TnEvent : int32_t {
  TN_WINDOW_GONE = 1,      ///< the form was destroyed, or the window was dismissed
  TN_WINDOW_MAPPED = 2,    ///< the shell was mapped, also when it was an icon
  TN_PREVIEW_SEND = 3,     ///< button "Send Fax"; the window stays up
  TN_PREVIEW_SAVE = 4,     ///< button "Save Fax"; the window is dismissed next
  TN_PREVIEW_DISCARD = 5,  ///< button "Discard Fax"; the window is dismissed next
  TN_PRINT = 6,            ///< from here on, the entries of the menu "Fax Options" in order
  TN_PRINT_PROPS = 7,
  TN_ATTACH = 8,
  TN_DELETE = 9,
  TN_RENAME = 10,
  TN_SEND_ORIGINAL = 11,
  TN_SEND_SELECTED = 12,
  TN_ROUTE = 13,
};

/// The faces of the window for `tn_configure_window`; any mode except the preview's selects the viewer.
enum TnFace : int32_t { TN_FACE_VIEWER = 1, TN_FACE_PREVIEW = 2 };

/// Called with the code of each event, inside the widget callback or event handler that caused it: it must return soon.
using tn_callback_func = void (*)(int32_t code);

/// Registers the function of the parent and replaces any earlier one; null for none.
void tn_assign_callback_func(tn_callback_func function);

/// Calls the registered function, if there is one, with an event code (TnEvent).
void notify_api_parent(int32_t code);

/// Selects one of the two faces of the window: `mode` 2 is the preview with send, save and discard, every other value
/// the viewer with the menu of fax operations. Does nothing without a window.
void tn_configure_window(int32_t mode);

/// @return 1 if the window exists and is viewable; 0 without a window, or if it is iconified or withdrawn
int tn_window_is_up();

/// Hides the picture until the next page is painted.
void tn_empty_view_window();

/// Stand-alone: ends the process with `status`. Embedded: pops the window down, frees the bitmap and sends
/// TN_WINDOW_GONE to the parent; the widgets are kept for the next `tn_open_view`.
void tn_dismiss_view_window(int32_t status);

/// Maps and raises the window, also if it was iconified or dismissed. After a dismissal it has no picture until the
/// next load.
void tn_raise_view_window();

}  // namespace tolvane
