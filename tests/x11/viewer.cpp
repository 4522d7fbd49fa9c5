#include "x11/viewer.h"

#include <algorithm>
#include <cstdlib>

#include "helpers/fax_bytes.h"
#include "helpers/tiff_pages.h"

#include <X11/extensions/XTest.h>

const char *const VIEWER_PROGRAM = TOLVANE_BUILD_DIR "/tolvane";

namespace {

// Of a marked document: page n has that many coded lines (the decoder counts one more), black on their left half.
constexpr int WIDTH = 1728;
constexpr int lines_of(int page) {
  return 2000 + 100 * page;
}

std::string marked_page(int number) {
  const auto rows = static_cast<uint32_t>(lines_of(number));
  Picture picture{WIDTH, rows, std::vector<uint8_t>(size_t{WIDTH / 8} * rows)};
  for (uint32_t y = 0; y < rows; ++y) std::fill_n(&picture.pixels[y * picture.stride() + 1], WIDTH / 16, uint8_t{0xff});
  const auto coded = libtiff_encode(picture, TiffCoding::g4);
  return {coded.begin(), coded.end()};
}

Window parent_of(Window window) {
  Window root, parent = 0, *children = nullptr;
  unsigned count;
  if (XQueryTree(screen(), window, &root, &parent, &children, &count) && children) XFree(children);
  return parent;
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

std::string place_of(const PageWindow &at) {
  const int hidden = at.clip.y - at.page.y;
  if (hidden <= 0) return "top";
  return hidden == at.page.height - at.clip.height ? "bottom" : "between";
}

}  // namespace

std::string marked_document(int count, int promised) {
  std::vector<std::string> pages;
  for (int i = 1; i <= count; ++i) pages.push_back(marked_page(i));
  return fax_bytes("RESOLUTION:1\nCOMPRESSION:3\n#PAGES:" + std::to_string(promised) + "\n", pages);
}

std::string shown_in(Window shell) {
  for (Window part : parts_of(shell)) {
    const Area page = area_of(part);
    for (int divisor : {2, 3, 4}) {
      const bool upright = page.width == WIDTH / divisor;
      const int rows = upright ? page.height : page.width, number = (rows * divisor - lines_of(0) + 50) / 100;
      if ((!upright && page.height != WIDTH / divisor) || number < 1 || rows != (lines_of(number) + 1) / divisor)
        continue;
      const Area clip = area_of(parent_of(part));
      const Photo probe = photograph(upright ? Area{page.x + page.width / 4, clip.y + clip.height / 2, 1, 1}
                                             : Area{clip.x + clip.width / 2, page.y + page.height / 4, 1, 1});
      if (probe.at(0, 0) != 0 && probe.at(0, 0) != 0xffffff) return {};
      const char *degrees[] = {" 90 ", " 270 ", " 180 ", " 0 "}, *scales[] = {" 100%", " 75%", " 50%"};
      return std::to_string(number) + scales[divisor - 2] + degrees[2 * upright + (probe.at(0, 0) == 0)] +
             place_of({part, page, clip});
    }
  }
  return {};
}

PageWindow find_page(Window shell, int width, int height) {
  for (Window part : parts_of(shell)) {
    const Area area = area_of(part);
    if (area.width != width || area.height != height) continue;
    return {part, area, area_of(parent_of(part))};
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

std::string Viewer::press(const std::string &key, const std::string &expected) const {
  const Area area = area_of(window_);
  const bool wheel = key.starts_with("wheel");
  XTestFakeMotionEvent(screen(), -1, area.x + 300, area.y + 100, CurrentTime);
  wheel ? click(area.x + 300, area.y + 100, key == "wheel up" ? 4 : 5) : press_key(key);
  return shows(expected);
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
