// A display of the test program's own, and the hands and eyes of a user on it: finding windows, photographs, clicks and
// keys. Everything here looks at the server from outside, through a connection apart from the program's.
#pragma once

#include <gtest/gtest.h>  // before X, whose macros (Bool, None, Status) it cannot bear

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "helpers/child_process.h"

#include <X11/Intrinsic.h>

/// Asks `condition` again and again until it holds or the time is over.
bool wait_until(const std::function<bool()> &condition, Milliseconds timeout = Milliseconds(10000));

/// The X server of the test program: started before the first test, exported as DISPLAY, gone with the program. The
/// screen is large enough to hold the longest page at full scale, so that a whole picture can be photographed.
class TestDisplay : public testing::Environment {
 public:
  static constexpr int SCREEN_WIDTH = 3800, SCREEN_HEIGHT = 3800;
  void SetUp() override;
  void TearDown() override;

 private:
  std::unique_ptr<ChildProcess> server_;
};

/// The test's own connection.
Display *screen();

/// A Motif window manager for as long as the object lives. Without one no window has frame or focus.
class WindowManager {
 public:
  WindowManager();
  ~WindowManager();

 private:
  ChildProcess mwm_;
};

/// A rectangle in pixels of the screen.
struct Area {
  int x = 0, y = 0, width = 0, height = 0;
  bool operator==(const Area &) const = default;
};

/// The window with this title (WM_NAME), once it can be seen; 0 if it does not come in time.
Window find_window(const std::string &title, Milliseconds timeout = Milliseconds(10000));

/// The parts of `window` that can be seen, from the bottom up, each followed by its own parts.
std::vector<Window> parts_of(Window window);

/// Where the window stands on the screen, without its border; all 0 if there is no such window any more.
Area area_of(Window window);
Area area_of(Widget widget);

bool is_viewable(Window window);

/// Asks for another size, as a user does who drags a corner of the window.
void resize_window(Window window, int width, int height);

/// Asks the program to close the window, as a window manager does (WM_DELETE_WINDOW).
void close_window(Window window);

/// What stands on the screen, each pixel 0xRRGGBB.
struct Photo {
  int width = 0, height = 0;
  std::vector<uint32_t> rgb;
  uint32_t at(int x, int y) const {
    return rgb[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
  }
  bool operator==(const Photo &) const = default;
};

/// A photograph of an area, cut to the screen.
Photo photograph(Area area);
inline Photo photograph(Window window) {
  return photograph(area_of(window));
}

/// Clicks with a button of the mouse at a point of the screen, or at the middle of a widget.
void click(int x, int y, unsigned button = 1);
void click(Widget widget);

void move_pointer(int x, int y);

/// The name of the cursor that the pointer shows now ("watch").
std::string cursor_name();

/// How often the bell has rung since the last call.
int bells_rung();

/// Presses the button, moves to the second point and lets go.
void drag(int from_x, int from_y, int to_x, int to_y, unsigned button = 1);

/// Presses and releases a key, by its X name ("Return", "space", "R"); a capital letter takes Shift with it. It goes to
/// the window that has the focus, or to the one under the pointer.
void press_key(const std::string &name);
