// The real viewer run as a child, and what its window shows, read off the screen.
#pragma once

#include <string>
#include <vector>

#include "x11/display.h"
#include "helpers/plain_picture.h"

/// What starts the real program with these arguments, once the window of an earlier one has gone.
std::vector<std::string> viewer_command(const std::vector<std::string> &arguments);

/// A fax file of `count` pages that can be told apart on the screen; its header promises `promised` pages. Fine
/// resolution, MMR.
std::string marked_document(int count, int promised);

/// What the window shows of a marked document: "PAGE SCALE% DEGREES PLACE", as in "2 75% 270 top". The place is "top",
/// "bottom" or "between". Empty if there is no such page to be seen.
std::string shown_in(Window shell);
/// Expects that the window that `shell` finds comes to show this.
void expect_shown(const std::function<Window()> &shell, const std::string &shown);

/// The window that a page is painted in and the one that clips it. What is scrolled away stands outside `clip`.
struct PageWindow {
  Window window = 0;  ///< 0 if there is none
  Area page, clip;
};
/// Waits until the window shows the picture of a page of `lines` lines, every pixel of it that is not scrolled away.
/// @param marker  whether the marker of the reading steps stands where the view from the top of the page ended
/// @param fits    what is asked besides of where the page stands
/// @return where the page stands; no window if it never came to that
PageWindow page_shown(Window shell, const PlainPicture &picture, int32_t lines, bool marker,
                      const std::function<bool(const PageWindow &)> &fits);

/// Clicks on the button number `index` from the top among those at the foot of the viewer's column of controls, once
/// they stand where the window's size puts them.
void press_button(Window shell, size_t index);

class Viewer {
 public:
  /// Starts the program and waits for its window.
  explicit Viewer(const std::vector<std::string> &arguments, const std::vector<std::string> &environment = {},
                  const std::string &directory = {});

  /// Expects that the window comes to show this.
  void expect(const std::string &shown) const;
  /// Gives commands, one blank apart, in one write and expects an "OK" for each.
  void command(const std::string &words);
  /// The next `count` lines of standard output, each with its line feed.
  std::string replies(int count);
  /// Takes steps: each a key (or wheel_up, wheel_down) and the four words of what the window then shows.
  void press(const std::string &steps) const;

  ChildProcess program;
  Window window;
};
