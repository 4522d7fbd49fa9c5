// The real viewer run as a child, and what its window shows, read off the screen.
#pragma once

#include <string>
#include <vector>

#include "helpers/plain_picture.h"
#include "x11/display.h"

/// A fax file of `count` pages that can be told apart on the screen; its header promises `promised` pages. Fine
/// resolution, MMR.
std::string marked_document(int count, int promised);

/// What the window shows of a marked document: "PAGE SCALE% DEGREES PLACE", as in "2 75% 270 top". The place is "top",
/// "bottom" or "between". Empty if there is no such page to be seen.
std::string shown_in(Window shell);

/// The window that a page of `lines` lines is painted in: the part of this size that lies in a clip window. Those that
/// are scrolled away stand outside `clip`.
struct PageWindow {
  Window window = 0;  ///< 0 if there is none
  Area page, clip;
};
PageWindow find_page(Window shell, int width, int height);

/// Waits until the window shows the picture of a page of `lines` lines, every pixel of it that is not scrolled away.
/// @param marker  the row on which the marker of the reading steps stands, 0 for none
/// @return where the page stands then; no window if it never came to that
PageWindow page_shown(Window shell, const PlainPicture &picture, int32_t lines, int marker = 0);

class Viewer {
 public:
  /// Starts the program and waits for its window.
  explicit Viewer(const std::vector<std::string> &arguments, const std::vector<std::string> &environment = {},
                  const std::string &directory = {});

  Window window() const { return window_; }
  /// What the window shows, once that is `expected`, or in the end.
  std::string shows(const std::string &expected) const;
  /// The next `count` lines of standard output, each with its line feed.
  std::string replies(int count);
  /// Presses a key, or turns the wheel ("wheel up", "wheel down"), in the window; then as `shows`.
  std::string press(const std::string &key, const std::string &expected) const;

  ChildProcess program;

 private:
  Window window_;
};

extern const char *const VIEWER_PROGRAM;
