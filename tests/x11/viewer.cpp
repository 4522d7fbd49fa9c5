#include "x11/viewer.h"

#include <algorithm>
#include <cstdlib>

#include "helpers/fax_bytes.h"
#include "helpers/tiff_pages.h"

#include <X11/extensions/XTest.h>

const char *const VIEWER_PROGRAM = TOLVANE_BUILD_DIR "/tolvane";

namespace {

constexpr uint32_t WIDTH = 1728, HEIGHT = 2200;
// The mark of a page, in pixels of the fax: a wide stripe and a narrow one behind it, over the whole length. The wide
// one begins where the page's number says.
constexpr uint32_t FIRST_MARK = 600, MARK_STEP = 100, WIDE = 60, GAP = 20, NARROW = 20;

Picture marked_page(uint32_t number) {
  Picture picture{WIDTH, HEIGHT, std::vector<uint8_t>(size_t{WIDTH / 8} * HEIGHT)};
  const uint32_t start = FIRST_MARK + MARK_STEP * number;
  for (uint32_t y = 0; y < HEIGHT; ++y) {
    for (uint32_t x = start; x < start + WIDE + GAP + NARROW; ++x) {
      if (x < start + WIDE || x >= start + WIDE + GAP) picture.pixels[y * picture.stride() + x / 8] |= 0x80 >> x % 8;
    }
  }
  return picture;
}

struct PageWindow {
  Area page, clip;  // the drawing area, of which the clip window shows a part
  int divisor = 0;  // fax pixels to one on the screen; 0 if there is no page
  bool upright = true;
};

PageWindow find_page(Window shell) {
  for (Window part : parts_of(shell)) {
    const Area area = area_of(part);
    for (int divisor : {2, 3, 4}) {
      const int across = static_cast<int>(WIDTH) / divisor, down = static_cast<int>(HEIGHT) / divisor;
      const bool upright = area.width == across && area.height == down;
      if (!upright && !(area.width == down && area.height == across)) continue;
      Window root, parent, *children = nullptr;
      unsigned count;
      if (!XQueryTree(screen(), part, &root, &parent, &children, &count)) return {};
      if (children) XFree(children);
      return {area, area_of(parent), divisor, upright};
    }
  }
  return {};
}

struct Run {
  int start, length;
};

// The black runs of a line of pixels across the stripes, in the page's own coordinates.
std::vector<Run> runs_across(const PageWindow &at) {
  const int left = std::max(at.page.x, at.clip.x), top = std::max(at.page.y, at.clip.y);
  const int right = std::min(at.page.x + at.page.width, at.clip.x + at.clip.width);
  const int bottom = std::min(at.page.y + at.page.height, at.clip.y + at.clip.height);
  const Photo photo = at.upright ? photograph(Area{left, (top + bottom) / 2, right - left, 1})
                                 : photograph(Area{(left + right) / 2, top, 1, bottom - top});
  const int origin = at.upright ? left - at.page.x : top - at.page.y;
  std::vector<Run> runs;
  for (size_t i = 0; i < photo.rgb.size(); ++i) {
    if (photo.rgb[i] != 0) continue;
    const int position = origin + static_cast<int>(i);
    if (runs.empty() || runs.back().start + runs.back().length != position) runs.push_back({position, 0});
    ++runs.back().length;
  }
  return runs;
}

std::string place_of(const PageWindow &at) {
  const int hidden = at.clip.y - at.page.y;
  if (hidden <= 0) return "top";
  return hidden == at.page.height - at.clip.height ? "bottom" : std::to_string(hidden);
}

}  // namespace

std::string marked_document(int count, int promised) {
  std::vector<std::string> pages;
  for (int i = 1; i <= count; ++i) {
    const auto coded = libtiff_encode(marked_page(static_cast<uint32_t>(i)), TiffCoding::g4);
    pages.emplace_back(coded.begin(), coded.end());
  }
  return fax_bytes("RESOLUTION:1\nCOMPRESSION:3\n#PAGES:" + std::to_string(promised) + "\n", pages);
}

std::string shown_in(Window shell) {
  const PageWindow at = find_page(shell);
  if (at.divisor == 0) return {};
  const std::vector<Run> runs = runs_across(at);
  if (runs.size() != 2) return {};
  const bool forward = runs[0].length > runs[1].length;
  const int extent = at.upright ? at.page.width : at.page.height;
  const int start = forward ? runs[0].start : extent - runs[1].start - runs[1].length;
  const int page = (start * at.divisor - static_cast<int>(FIRST_MARK - MARK_STEP / 2)) / static_cast<int>(MARK_STEP);
  const char *scales[] = {"100%", "75%", "50%"};
  const char *degrees = at.upright ? (forward ? " 0 " : " 180 ") : (forward ? " 270 " : " 90 ");
  return std::to_string(page) + " " + scales[at.divisor - 2] + degrees + place_of(at);
}

Viewer::Viewer(const std::vector<std::string> &arguments, const std::vector<std::string> &environment,
               const std::string &directory)
    : program(
          [&] {
            std::vector<std::string> command{VIEWER_PROGRAM};
            command.insert(command.end(), arguments.begin(), arguments.end());
            return command;
          }(),
          environment, directory),
      window_(find_window("TolVane")) {
  EXPECT_NE(window_, 0u) << "no window came up: " << program.errors();
}

std::string Viewer::shows(const std::string &expected) const {
  std::string seen;
  wait_until([&] { return (seen = shown_in(window_)) == expected; }, Milliseconds(3000));
  return seen;
}

std::string Viewer::replies(int count) {
  std::string lines;
  for (; count > 0; --count) lines += program.read_line().value_or("nothing") + "\n";
  return lines;
}

void Viewer::point() const {
  const Area area = area_of(window_);
  XTestFakeMotionEvent(screen(), -1, area.x + 300, area.y + 100, CurrentTime);
  XSync(screen(), False);
}
