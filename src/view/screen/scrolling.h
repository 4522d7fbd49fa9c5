// Steps down and up the page by the vertical scroll bar, and the marker line that shows where the old view ended.
#pragma once

#include <cstdint>

namespace tolvane {

/// Stores the vertical scroll bar of `scrolled_window`. Called after the widgets are created, also for a new form.
void get_scrollbar_variables();

/// Scrolls to the top or the bottom of the page and updates the marker.
///
/// @param to_bottom  non-zero for the bottom
/// @param mark       non-zero within a page: draws the marker at the bottom, removes it at the top. Zero on a new page:
///                   only forgets the marker, since the new picture has replaced it
void view_scroll_to_pos(int to_bottom, int mark);

/// One reading step: to the bottom of the page, from there to the top of the next; backward to the top, from there to
/// the bottom of the previous page.
///
/// @param forward  non-zero for forward
/// @return 1 for a step to the next page, -1 to the previous, also if that page could not be read; else 0
int chunk_scroll(int forward);

/// Move the page with the pointer, in both directions: the start of a drag, and each later position on the screen.
void start_pan(int x, int y);
void pan_to(int x, int y);

/// Scrolls so that a place of the picture, as fractions of its width and height, is in the middle of the view as far as
/// the picture reaches.
void scroll_to_middle(double across, double down);

/// Move the view by one increment of the bar, within the page. The marker stays as it is.
void scroll_up();
void scroll_down();

}  // namespace tolvane
