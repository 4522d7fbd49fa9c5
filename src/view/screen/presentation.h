// The bitmap on the screen and the window around it: painting, the size of the window at each scale, the marker line.
#pragma once

#include <cstdint>

namespace tolvane {

struct Extents;

/// Stores the extents of a new page, clears the window and sets the size of the shell. Paints nothing.
void set_up_view(const Extents &extents);

/// The extents of the view; all 0 until a page has been set up.
const Extents &shown_extents();

/// Paints the picture in pixels of `factor` times `factor` from the next page on, 1 (the default) to 4. The bitmap
/// stays as it is. The window is larger by as much, but no larger than the screen.
void set_zoom(int32_t factor);

/// Clears the window of `drawing_area` and sets the size of the shell.
void prepare_window();

/// Sets the size of the shell for the current scale: the size chosen by the user if there is one; else 940 x 717 at
/// 100%; else that of the picture with the controls beside it. Without a picture the shell keeps its size.
void set_window_size();

/// Records a size of the shell, in pixels, from a ConfigureNotify event. A size that the program did not ask for is the
/// choice of the user and is kept for the current scale from then on.
void save_window_size(int32_t width, int32_t height);

/// Whether an event with this serial number was sent before the program last changed the size of the shell.
bool is_outdated(unsigned long serial);

/// Asks window managers for a least size of the shell at which no control covers another, given the buttons at the
/// bottom of the column. A size that a manager makes larger for it counts as the program's own.
void set_least_size();

/// The marker line: y of the row of triangles on the current page, 0 for none. Repainting draws it again; a new page
/// removes it.
extern int32_t last_page_pos;

/// Paints the picture, after every page and on every Expose. Maps the window of `drawing_area` and sets the size of the
/// widget to that of the picture. Does nothing without a bitmap; an empty picture (width or height 0) leaves the widget
/// unchanged.
void refresh_view();

/// Draws the marker line, a row of 100 triangles with their bases on the line `y` of `drawing_area`, by exclusive or: a
/// second call with the same `y` removes it.
void draw_line_of_triangles(int32_t y);

/// Scrolls to 25 pixels from the left edge of the picture, at 100% only and if the scroll bar can go that far.
void tn_center_fax();

}  // namespace tolvane
