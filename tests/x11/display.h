// A display of the test program's own, and the hands and eyes of a user on it: finding windows, photographs, clicks and
// keys. Everything here looks at the server from outside, through a connection apart from the program's. The server
// starts before the first test, is exported as DISPLAY and goes with the program.
#pragma once

#include <gtest/gtest.h>  // before X, whose macros (Bool, None, Status) break it

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "helpers/child_process.h"

#include <X11/Intrinsic.h>

/// How long a test waits for what must come. Only a fault takes that long, however slow the machine.
constexpr Milliseconds PATIENCE(30000);

/// Asks `condition` again and again until it holds or the time is over.
bool wait_until(const std::function<bool()> &condition, Milliseconds timeout = PATIENCE);

/// The test's own connection.
Display *screen();

// The focus moves with clicks alone: a click that meets the manager moving it by itself can be lost.
inline const std::vector<std::string> MWM = {"mwm", "-xrm", "Mwm*startupKeyFocus: False", "-xrm",
                                             "Mwm*deiconifyKeyFocus: False"};

/// A window manager for as long as the object lives. Without one no window has frame or focus.
class WindowManager {
 public:
  explicit WindowManager(const std::vector<std::string> &command = MWM);
  ~WindowManager();

 private:
  ChildProcess manager_;
};

/// A rectangle in pixels of the screen.
struct Area {
  int x = 0, y = 0, width = 0, height = 0;
  bool operator==(const Area &) const = default;
};

/// The window with this title (WM_NAME), once it can be seen; 0 if it does not come in time.
Window find_window(const std::string &title, Milliseconds timeout = PATIENCE);

/// The parts of `window` that can be seen, from the bottom up, each followed by its own parts.
std::vector<Window> parts_of(Window window);

/// Where the window stands on the screen, without its border; all 0 if there is no such window any more.
Area area_of(Window window);
Area area_of(Widget widget);

bool is_viewable(Window window);

/// Asks for another size, as a user does who drags a corner of the window, and waits until the program has laid its
/// window out anew.
void resize_window(Window shell, int width, int height);
/// Whether the shell has this size and its form fills it: the program has heard of the size.
bool has_size(Window shell, int width, int height);

/// Asks the program to close the window, as a window manager does (WM_DELETE_WINDOW).
void close_window(Window window);

/// The pixels of an area of the screen, each 0xRRGGBB, row by row; none if a part of it lies outside the screen.
std::vector<uint32_t> photograph(const Area &area);

/// Presses a button of the mouse at a point of the screen, moves to the second point and lets go.
void drag(int from_x, int from_y, int to_x, int to_y, unsigned button = 1);
/// Clicks at a point of the screen, or at the middle of a widget.
void click(int x, int y, unsigned button = 1);
void click(Widget widget);

/// Presses and releases a key, by its X name ("Return", "space", "R"); a capital letter takes Shift with it. It goes to
/// the window that has the focus, or to the one under the pointer.
void press_key(const std::string &name);

/// Presses or releases the Control key.
void hold_control(bool pressed);

/// How often the bell has rung since the last call.
int bells_rung();
