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
      uint8_t &byte = picture.pixels[y * picture.stride() + x / 8];
      if (x < start + WIDE || x >= start + WIDE + GAP) byte = static_cast<uint8_t>(byte | 0x80 >> x % 8);
    }
  }
  return picture;
}

struct MarkedPage {
  PageWindow at;
  int divisor = 0;  // fax pixels to one on the screen; 0 if there is no page
  bool upright = true;
};

MarkedPage find_marked_page(Window shell) {
  for (int divisor : {2, 3, 4}) {
    const int across = static_cast<int>(WIDTH) / divisor, down = static_cast<int>(HEIGHT) / divisor;
    if (const PageWindow at = find_page(shell, across, down); at.window) return {at, divisor, true};
    if (const PageWindow at = find_page(shell, down, across); at.window) return {at, divisor, false};
  }
  return {};
}

Area overlap(const Area &a, const Area &b) {
  const int left = std::max(a.x, b.x), top = std::max(a.y, b.y);
  return {left, top, std::min(a.x + a.width, b.x + b.width) - left, std::min(a.y + a.height, b.y + b.height) - top};
}

// 100 triangles, 15 pixels apart, 10 wide and 5 high, on the row `marker`.
bool in_marker(int x, int y, int marker) {
  const int from_top = y - (marker - 5), from_middle = x % 15 - 5;
  return x < 1500 && from_top >= 0 && from_top < 5 && -from_top <= from_middle && from_middle < from_top;
}

bool shows_every_pixel(const PageWindow &at, const PlainPicture &picture, int32_t lines, int marker) {
  const Area visible = overlap(at.page, at.clip);
  const Photo photo = photograph(visible);
  if (photo.width != visible.width || photo.height != visible.height) return false;
  for (int i = 0; i < photo.height; i++) {
    for (int j = 0; j < photo.width; j++) {
      const int y = visible.y - at.page.y + i, x = visible.x - at.page.x + j;
      const uint32_t painted = picture.black(lines, y, x) ? 0x000000 : 0xffffff;
      // An exclusive or with 1.
      if (photo.at(j, i) != (painted ^ (marker > 0 && in_marker(x, y, marker) ? 1u : 0u))) return false;
    }
  }
  return true;
}

struct Run {
  int start, length;
};

// The black runs of a line of pixels across the stripes, in the page's own coordinates.
std::vector<Run> runs_across(const MarkedPage &marked) {
  const Area &page = marked.at.page, seen = overlap(page, marked.at.clip);
  const Photo photo = marked.upright ? photograph(Area{seen.x, seen.y + seen.height / 2, seen.width, 1})
                                     : photograph(Area{seen.x + seen.width / 2, seen.y, 1, seen.height});
  const int origin = marked.upright ? seen.x - page.x : seen.y - page.y;
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
  const MarkedPage marked = find_marked_page(shell);
  if (marked.divisor == 0) return {};
  const std::vector<Run> runs = runs_across(marked);
  if (runs.size() != 2) return {};
  const bool forward = runs[0].length > runs[1].length;
  const int extent = marked.upright ? marked.at.page.width : marked.at.page.height;
  const int start = forward ? runs[0].start : extent - runs[1].start - runs[1].length;
  const int page =
      (start * marked.divisor - static_cast<int>(FIRST_MARK - MARK_STEP / 2)) / static_cast<int>(MARK_STEP);
  const char *scales[] = {"100%", "75%", "50%"};
  const char *degrees = marked.upright ? (forward ? " 0 " : " 180 ") : (forward ? " 270 " : " 90 ");
  return std::to_string(page) + " " + scales[marked.divisor - 2] + degrees + place_of(marked.at);
}

PageWindow find_page(Window shell, int width, int height) {
  for (Window part : parts_of(shell)) {
    const Area area = area_of(part);
    if (area.width != width || area.height != height) continue;
    Window root, parent, *children = nullptr;
    unsigned count;
    if (!XQueryTree(screen(), part, &root, &parent, &children, &count)) return {};
    if (children) XFree(children);
    return {part, area, area_of(parent)};
  }
  return {};
}

PageWindow page_shown(Window shell, const PlainPicture &picture, int32_t lines, int marker) {
  PageWindow at;
  const bool shown = wait_until([&] {
    at = find_page(shell, picture.width(lines), picture.height(lines));
    return at.window && shows_every_pixel(at, picture, lines, marker);
  });
  return shown ? at : PageWindow();
}

Viewer::Viewer(const std::vector<std::string> &arguments, const std::vector<std::string> &environment,
               const std::string &directory)
    : program(
          [&] {
            // The window of a viewer that has just ended must not be taken for the new one's.
            wait_until([] { return find_window("TolVane", Milliseconds(0)) == 0; });
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
