// The interface of an embedding parent program: events out, the window's face, hiding, raising, dismissing. Opening the
// window is `tn_open_view` in open_view.h.
#pragma once

#include <cstdint>

namespace tolvane {

/// What happened in the window, as the parent's function is told. The viewer itself does nothing for 3 to 13.
enum TnEvent : int32_t {
  TN_WINDOW_GONE = 1,      ///< the form was destroyed, or the window dismissed
  TN_WINDOW_MAPPED = 2,    ///< the shell was mapped, also after an iconification
  TN_PREVIEW_SEND = 3,     ///< button "Send Fax"; the window stays up
  TN_PREVIEW_SAVE = 4,     ///< button "Save Fax"; the window is dismissed next
  TN_PREVIEW_DISCARD = 5,  ///< button "Discard Fax"; the window is dismissed next
  TN_PRINT = 6,            ///< the entries of the menu "Fax Options", in their order
  TN_PRINT_PROPS = 7,
  TN_ATTACH = 8,
  TN_DELETE = 9,
  TN_RENAME = 10,
  TN_SEND_ORIGINAL = 11,
  TN_SEND_SELECTED = 12,
  TN_ROUTE = 13,
};

/// The faces of the window that `tn_configure_window` knows; any mode but the preview's is the viewer.
enum TnFace : int32_t { TN_FACE_VIEWER = 1, TN_FACE_PREVIEW = 2 };

/// Called with the code of each event, inside the widget callback or event handler that caused it: it must be quick.
using tn_callback_func = void (*)(int32_t code);

/// Registers the parent's function in the place of any earlier one; null means that nobody listens.
void tn_assign_callback_func(tn_callback_func function);

/// Calls the registered function, if there is one, with an event code (TnEvent).
void notify_api_parent(int32_t code);

/// Gives the window one of its two faces: `mode` 2 is the preview with send, save and discard, every other value the
/// viewer with the menu of fax operations. Does nothing without a window.
void tn_configure_window(int32_t mode);

/// @return 1 when the window exists and can be seen; 0 without a window, or when it is iconified or withdrawn
int tn_window_is_up();

/// Makes the picture disappear; the next page that is painted brings it back.
void tn_empty_view_window();

/// Stand-alone: ends the process with `status`. Embedded: pops the window down, frees the bitmap and tells the parent
/// TN_WINDOW_GONE; the widgets stay, for the next `tn_open_view`.
void tn_dismiss_view_window(int32_t status);

/// Brings the window up and to the front, out of an icon or a dismissal too. After a dismissal there is no picture in
/// it until the next load.
void tn_raise_view_window();

}  // namespace tolvane
