// The operations of the controls. Each changes one setting of the view and runs the page cycle again; a page that
// cannot be read leaves the new setting in place and the old picture on the screen.
#include "view/screen/tolvane_cb.h"

#include <iterator>

#include "ui/motif_utils.h"
#include "ui/widgets.h"
#include "view/scales.h"
#include "view/screen/pagescope.h"
#include "view/screen/presentation.h"
#include "view/view_state.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|tolvane_cb|9|01|2|0|0|11/23/26|06:29:09";

const Widget *const SCALE_TOGGLES[] = {&scale_100, &scale_75, &scale_50};  // by scale index
static_assert(std::size(SCALE_TOGGLES) == SCALE_COUNT);

}  // namespace

void view_size_cb(int32_t percent) {
  const int32_t chosen = scale_of_percent(percent);
  if (chosen == Reduced) return;
  Reduced = chosen;
  random_page(-1);
  tn_center_fax();
}

Widget scale_toggle(int32_t index) {
  return *SCALE_TOGGLES[index];
}

void show_scale_on_toggles() {
  for (int32_t i = 0; i < SCALE_COUNT; i++) set_button(scale_toggle(i), i == Reduced);
}

void rotate_view(int32_t degrees) {
  orientation = degrees;
  random_page(-1);
}

int prev_page_cb() {
  return random_page(page_number);
}

int next_page_cb() {
  return random_page(page_number + 2);
}

}  // namespace tolvane
