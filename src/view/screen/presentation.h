// The bitmap on the screen and the window around it: painting, the window's size at each scale, the marker line.
#pragma once

#include <cstdint>

namespace tolvane {

struct Extents;

/// Takes the extents of a new page, clears the window and sets the shell's size. Paints nothing.
void set_up_view(const Extents &extents);

/// The extents of the view: all 0 until a page has been set up.
const Extents &shown_extents();

/// Clears the window of `drawing_area` and sets the shell's size.
void prepare_window();

/// Gives the shell its size at the present scale: the user's if there is one, else 940 x 717 at 100%, else the
/// picture with the controls beside it. Without a picture at that scale the shell keeps its size.
void set_window_size();

/// Notes a size that the shell has got, in pixels, from a ConfigureNotify event. One that the program did not ask for
/// is the user's choice and holds for the present scale from now on.
void save_window_size(int32_t width, int32_t height);

/// y of the marker on the page that is shown, 0 for none. Repainting draws it again, a new page takes it away.
extern int32_t last_page_pos;

/// Paints the picture: after every page and on every Expose. Maps the window of `drawing_area` and gives the widget the
/// picture's size. Nothing happens without a bitmap, and an empty picture (width or height 0) leaves the widget as it
/// is.
void refresh_view();

/// Draws the marker of the reading steps, a row of 100 triangles standing on the line `y` of `drawing_area`, by
/// exclusive or: a second call with the same `y` takes it away.
void draw_line_of_triangles(int32_t y);

/// Moves the horizontal bar to 25 pixels from the picture's left edge, at 100% only and if the bar can go that far.
void tn_center_fax();

}  // namespace tolvane
