#include "x11/viewer.h"

#include <algorithm>
#include <sstream>

#include "helpers/fax_bytes.h"
#include "helpers/places.h"
#include "helpers/tiff_pages.h"

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

Area clip_of(Window window) {
  Window root, parent = 0, *children = nullptr;
  unsigned count;
  if (XQueryTree(screen(), window, &root, &parent, &children, &count) && children) XFree(children);
  return area_of(parent);
}

// 100 triangles, 15 pixels apart, 10 wide and 5 high, on the row `marker`.
bool in_marker(int x, int y, int marker) {
  const int from_top = y - (marker - 5), from_middle = x % 15 - 5;
  return x < 1500 && from_top >= 0 && from_top < 5 && -from_top <= from_middle && from_middle < from_top;
}

bool shows_every_pixel(const PageWindow &at, const PlainPicture &picture, int32_t lines, bool marker) {
  const int left = std::max(at.page.x, at.clip.x), top = std::max(at.page.y, at.clip.y);
  const int right = std::min(at.page.x + at.page.width, at.clip.x + at.clip.width);
  const int bottom = std::min(at.page.y + at.page.height, at.clip.y + at.clip.height);
  const std::vector<uint32_t> photo = photograph({left, top, right - left, bottom - top});
  size_t pixel = 0;
  for (int y = top - at.page.y; !photo.empty() && y < bottom - at.page.y; y++) {
    for (int x = left - at.page.x; x < right - at.page.x; x++, pixel++) {
      const uint32_t painted = picture.black(lines, y, x) ? 0x000000 : 0xffffff;
      // The marker is an exclusive or with black against white.
      if (photo[pixel] != (painted ^ (marker && in_marker(x, y, at.clip.height) ? 0xffffffu : 0u))) return false;
    }
  }
  return !photo.empty();
}

std::string place_of(const Area &page, const Area &clip) {
  const int hidden = clip.y - page.y;
  return hidden <= 0 ? "top" : hidden == page.height - clip.height ? "bottom" : "between";
}

}  // namespace

std::string marked_document(int count, int promised) {
  std::vector<std::string> pages;
  for (int i = 1; i <= count; ++i) pages.push_back(marked_page(i));
  return fax_bytes("RESOLUTION:1\nCOMPRESSION:3\n#PAGES:" + std::to_string(promised) + "\n", pages);
}

std::string shown_in(Window shell) {
  for (const Window part : parts_of(shell)) {
    const Area page = area_of(part), clip = clip_of(part);
    for (const int divisor : {2, 3, 4}) {
      const bool upright = page.width == WIDTH / divisor;
      const int rows = upright ? page.height : page.width, number = (rows * divisor - lines_of(0) + 50) / 100;
      if ((!upright && page.height != WIDTH / divisor) || number < 1 || rows != (lines_of(number) + 1) / divisor)
        continue;
      const auto probe = photograph(upright ? Area{page.x + page.width / 4, clip.y + clip.height / 2, 1, 1}
                                            : Area{clip.x + clip.width / 2, page.y + page.height / 4, 1, 1});
      if (probe.empty() || (probe[0] != 0 && probe[0] != 0xffffff)) return {};
      const char *degrees[] = {" 90 ", " 270 ", " 180 ", " 0 "}, *scales[] = {" 100%", " 75%", " 50%"};
      return std::to_string(number) + scales[divisor - 2] + degrees[2 * upright + (probe[0] == 0)] +
             place_of(page, clip);
    }
  }
  return {};
}

void expect_shown(const std::function<Window()> &shell, const std::string &shown) {
  std::string seen;
  EXPECT_TRUE(wait_until([&] { return (seen = shown_in(shell())) == shown; })) << seen << ", not " << shown;
}

PageWindow page_shown(Window shell, const PlainPicture &picture, int32_t lines, bool marker,
                      const std::function<bool(const PageWindow &)> &fits) {
  PageWindow at;
  const bool shown = wait_until([&] {
    for (const Window part : parts_of(shell)) {
      const Area area = area_of(part);
      if (area.width != picture.width(lines) || area.height != picture.height(lines)) continue;
      at = {part, area, clip_of(part)};
      return fits(at) && shows_every_pixel(at, picture, lines, marker);
    }
    return false;
  });
  return shown ? at : PageWindow();
}

void press_button(Window shell, size_t index) {
  std::vector<Area> buttons;
  const auto laid_out = [&] {
    buttons.clear();
    const Area window = area_of(shell);
    const int foot = window.y + window.height;
    for (const Window part : parts_of(shell)) {
      const Area area = area_of(part);
      if (area.x < window.x + 80 && area.width < 110 && area.height > 10 && area.height < 50 && area.y > foot - 125)
        buttons.push_back(area);
    }
    std::ranges::sort(buttons, {}, &Area::y);
    return index < buttons.size() && buttons.back().y + buttons.back().height < foot;
  };
  ASSERT_TRUE(wait_until(laid_out));
  click(buttons[index].x + buttons[index].width / 2, buttons[index].y + buttons[index].height / 2);
}

std::vector<std::string> viewer_command(const std::vector<std::string> &arguments) {
  wait_until([] { return find_window("TolVane", Milliseconds(0)) == 0; });
  std::vector<std::string> command{in_build("tolvane")};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

Viewer::Viewer(const std::vector<std::string> &arguments, const std::vector<std::string> &environment,
               const std::string &directory)
    : program(viewer_command(arguments), environment, directory), window(find_window("TolVane")) {
  EXPECT_NE(window, 0u) << "no window came up: " << program.errors();
}

void Viewer::expect(const std::string &shown) const {
  expect_shown([this] { return window; }, shown);
}

void Viewer::command(const std::string &words) {
  program.write(words + "\n");
  for (const char c : words + " ") EXPECT_TRUE(c != ' ' || program.read_line(PATIENCE) == "OK") << words;
}

std::string Viewer::replies(int count) {
  std::string lines;
  for (; count > 0; --count) lines += program.read_line(PATIENCE).value_or("nothing") + "\n";
  return lines;
}

void Viewer::press(const std::string &steps) const {
  std::istringstream words(steps);
  const Area area = area_of(window);
  const auto click_on_page = [&](unsigned button) { click(area.x + 300, area.y + 100, button); };
  click_on_page(2);  // takes the focus
  for (std::string key, shown, word; words >> key; shown.clear()) {
    SCOPED_TRACE(key);
    key.starts_with("wheel") ? click_on_page(key == "wheel_up" ? 4 : 5) : press_key(key);
    for (int i = 0; i < 4 && words >> word; i++) shown += (i ? " " : "") + word;
    expect(shown);
  }
}
