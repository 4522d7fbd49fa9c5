// A fax page has no length of its own, and a line of 1728 pixels is 5 mm wider than A4 paper.
#include "formats/paper.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|paper|9|01|1|0|0|11/23/26|08:40:00";

constexpr double TOLERANCE = 1 / 25.4;  // inches that nobody misses

std::string too_large(const Paper &paper, double size, double limit, const char *what) {
  char text[200];
  snprintf(text, sizeof text, "%.1f inches %s, %s paper %.1f: it is kept whole", size, what, paper.name, limit);
  return text;
}

// Whether there are black pixels before the column `first` or from the column `end` on.
bool has_black_outside(const PagePicture &picture, int32_t first, int32_t end) {
  for (int32_t row = 0; row < picture.height; ++row) {
    const uint8_t *line = &picture.rows[static_cast<size_t>(row) * picture.row_bytes()];
    const auto black = [line](int32_t x) { return line[x / 8] << x % 8 & 0x80; };
    for (int32_t x = 0; x < first; ++x) {
      if (black(x)) return true;
    }
    for (int32_t x = end; x < picture.width; ++x) {
      if (black(x)) return true;
    }
  }
  return false;
}

}  // namespace

std::string fit_length(const Paper &paper, PagePicture &picture) {
  const double length = picture.height / picture.y_dpi;
  const auto lines = static_cast<int32_t>(std::floor(paper.length * picture.y_dpi));
  picture.height = std::max(picture.height, lines);
  picture.rows.resize(static_cast<size_t>(picture.height) * picture.row_bytes());
  return length > paper.length + TOLERANCE ? too_large(paper, length, paper.length, "long") : "";
}

std::string set_page_size(const Paper &paper, PagePicture &picture) {
  const double width = picture.width / picture.x_dpi;
  const auto outside = static_cast<int32_t>(std::ceil((width - paper.width) / 2 * picture.x_dpi));
  if (picture.height / picture.y_dpi <= paper.length) picture.page_height = paper.length;
  if (outside > 0 && has_black_outside(picture, outside, picture.width - outside))
    return too_large(paper, width, paper.width, "wide");
  picture.page_width = paper.width;
  return "";
}

}  // namespace tolvane
