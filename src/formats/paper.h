// Pages on paper of a common size, so that what prints or shows them cuts and scales nothing.
#pragma once

#include <string>

#include "formats/page_picture.h"

namespace tolvane {

/// A size of paper, upright, in inches.
struct Paper {
  const char *name;
  double width, length;
};

constexpr Paper PAPERS[] = {{"a4", 210 / 25.4, 297 / 25.4}, {"letter", 8.5, 11}, {"legal", 8.5, 14}};

/// Puts an upright page on paper: white lines are added at its end. Nothing is cut: a page that is longer keeps its
/// length.
///
/// @return what a message says of a page that is longer by more than a millimetre; else empty
std::string fit_length(const Paper &paper, PagePicture &picture);

/// Sets the size of an upright page to that of the paper. The sides of a fax line, which is wider than some paper, are
/// left outside if they are white; else the page keeps its width.
///
/// @return what a message says of a page that keeps its width because of black pixels; else empty
std::string set_page_size(const Paper &paper, PagePicture &picture);

}  // namespace tolvane
