// What the controls of the window, the keys and the commands on standard input call: a new scale, a new orientation,
// the page before and after. The page cycle itself is in pagescope.
#pragma once

#include <cstdint>

#include <X11/Intrinsic.h>

namespace tolvane {

/// Shows the page at a scale of 100, 75 or 50 percent; does nothing if that is the current scale.
void view_size_cb(int32_t percent);

/// The toggle of a scale index (0 to SCALE_COUNT - 1).
Widget scale_toggle(int32_t index);

/// Sets the toggle of the current scale and clears the others; no callback fires.
void show_scale_on_toggles();

/// Shows the page at an orientation of 0, 90, 180 or 270 degrees. If the page cannot be read, the orientation has
/// changed all the same, and the old picture stays until the next page.
void rotate_view(int32_t degrees);

/// Show the previous and the next page; results of `random_page`.
int prev_page_cb();
int next_page_cb();

}  // namespace tolvane
