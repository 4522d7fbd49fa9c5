// Steps down and up the page. Changing the page is in pagescope. A chunk goes straight to the bottom or the top of the
// page, not by one view: only the scroll bar reaches the middle of a page of more than two views.
#include "view/screen/scrolling.h"

#include <algorithm>

#include "ui/motif_values.h"
#include "ui/widgets.h"
#include "view/screen/pagescope.h"
#include "view/screen/presentation.h"
#include "view/view_state.h"

#include <Xm/ScrollBar.h>
#include <Xm/ScrolledW.h>
#include <Xm/Xm.h>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|scrolling|9|01|2|0|0|11/23/26|06:29:09";

Widget view_vscrollbar;

// The state of the scroll bar. Its minimum is 0.
struct Bar {
  int value = 0, slider_size = 0, increment = 0, page_increment = 0, maximum = 0;

  int bottom() const { return maximum - slider_size; }
};

Bar read_bar(Widget widget = view_vscrollbar) {
  Bar bar;
  XmScrollBarGetValues(widget, &bar.value, &bar.slider_size, &bar.increment, &bar.page_increment);
  XtVaGetValues(widget, XmNmaximum, &bar.maximum, nullptr);
  return bar;
}

// With notification, so that the scrolled window moves the picture.
void move_to(const Bar &bar, int value) {
  XmScrollBarSetValues(view_vscrollbar, value, bar.slider_size, bar.increment, bar.page_increment, True);
}

// The same for either bar, as far as it can go.
void move_within(Widget widget, int value) {
  const Bar bar = read_bar(widget);
  const int reached = std::clamp(value, 0, std::max(bar.bottom(), 0));
  if (reached != bar.value)
    XmScrollBarSetValues(widget, reached, bar.slider_size, bar.increment, bar.page_increment, True);
}

Widget horizontal_bar() {
  return resource<Widget>(scrolled_window, XmNhorizontalScrollBar);
}

int pan_x, pan_y;  // the sums of pointer and bar, which a drag keeps

}  // namespace

void get_scrollbar_variables() {
  XtVaGetValues(scrolled_window, XmNverticalScrollBar, &view_vscrollbar, nullptr);
}

void view_scroll_to_pos(int to_bottom, int mark) {
  const Bar bar = read_bar();
  move_to(bar, to_bottom ? bar.bottom() : 0);
  if (mark && last_page_pos != 0) draw_line_of_triangles(last_page_pos);  // drawing it again removes it
  last_page_pos = 0;
  if (mark && to_bottom) {
    draw_line_of_triangles(bar.slider_size);
    last_page_pos = bar.slider_size;
  }
}

int chunk_scroll(int forward) {
  const Bar bar = read_bar();
  const bool within_page = forward ? bar.value < bar.bottom() : bar.value > 0;
  if (within_page) {
    view_scroll_to_pos(forward, 1);
    return 0;
  }
  const bool at_the_end = forward ? page_number + 1 >= Total_pages : page_number <= 0;
  if (at_the_end) return 0;
  random_page(forward ? page_number + 2 : page_number);  // page numbers from 1
  view_scroll_to_pos(!forward, 0);                       // backward enters the page at its bottom
  refresh_view();
  return forward ? 1 : -1;
}

void start_pan(int x, int y) {
  pan_x = x + read_bar(horizontal_bar()).value;
  pan_y = y + read_bar().value;
}

void pan_to(int x, int y) {
  move_within(horizontal_bar(), pan_x - x);
  move_within(view_vscrollbar, pan_y - y);
}

void scroll_to_middle(double across, double down) {
  const auto scroll = [](Widget widget, double fraction) {
    const Bar bar = read_bar(widget);
    move_within(widget, static_cast<int>(fraction * bar.maximum) - bar.slider_size / 2);
  };
  scroll(horizontal_bar(), across);
  scroll(view_vscrollbar, down);
}

void scroll_up() {
  const Bar bar = read_bar();
  move_to(bar, std::max(bar.value - bar.increment, 0));
}

void scroll_down() {
  const Bar bar = read_bar();
  move_to(bar, std::min(bar.value + bar.increment, bar.bottom()));
}

}  // namespace tolvane
