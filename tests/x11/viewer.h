// The real viewer run as a child, and what its window shows, read off the screen.
#pragma once

#include <string>
#include <vector>

#include "x11/display.h"

/// A fax file of `count` pages that can be told apart on the screen; its header promises `promised` pages. 1728 x 2200,
/// fine resolution, MMR.
std::string marked_document(int count, int promised);

/// What the window shows of a marked document: "PAGE SCALE% DEGREES PLACE", as in "2 75% 270 top". The place is "top",
/// "bottom" or the rows that are scrolled away. Empty if there is no such page to be seen.
std::string shown_in(Window shell);

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
  /// Puts the pointer, and with it the keys, on the window.
  void point() const;

  ChildProcess program;

 private:
  Window window_;
};

extern const char *const VIEWER_PROGRAM;
