#include "helpers/plain_picture.h"

#include <algorithm>

#include "helpers/coded_page.h"

void PlainPicture::paint(int32_t cy, int32_t x, int32_t count) {
  if (fine ? cy % 2 == 1 || cy > 6975 : cy > 3487) return;
  const int32_t d = divisor(), Xsize8 = 1728 / d / 8, Ysize8 = 6976 / d / 8;
  const auto f = [&](int32_t n) { return fine ? n : 2 * n; };
  const auto R = [&](int32_t k) { return reduced == 0 ? (k / 2) * Ysize8 : (Ysize8 / 2) * ((2 * k) / d); };
  const int32_t y = f(cy) / d;
  for (; count > 0; count--) {
    const int32_t a = 1727 - x;
    const int32_t c = orientation == 90 ? y : f(6976 - cy) / d;
    int32_t B = 0, s = 0;
    if (orientation == 0) B = y * Xsize8 + (x / d) / 8, s = (x / d) % 8;
    if (orientation == 180) B = (3488 - y) * Xsize8 + (a / d) / 8, s = (a / d) % 8;
    if (orientation == 90) B = c / 8 + R(a), s = c % 8;
    if (orientation == 270) B = c / 8 + R(x), s = c % 8;
    block.at(static_cast<size_t>(B)) |= static_cast<uint8_t>(0x80 >> s);
    x = x == 1727 ? 0 : x + 1;
  }
}

int32_t PlainPicture::paint_page(const std::string &coded, int32_t comp_type) {
  const std::vector<uint8_t> lines = decoded_lines({coded.begin(), coded.end()}, comp_type);
  const auto count = static_cast<int32_t>(lines.size() / 216);
  for (int32_t cy = 0; cy < count; cy++) {
    for (int32_t x = 0; x < 1728; x++) {
      if (lines[static_cast<size_t>(216 * cy + x / 8)] & 0x80 >> x % 8) paint(cy, x, 1);
    }
  }
  return count;
}

int32_t PlainPicture::rows(int32_t lines) const {
  return fine ? std::min(lines, 6976) / divisor() : 2 * std::min(lines, 3488) / divisor();
}

int32_t PlainPicture::width(int32_t lines) const {
  return zoom * (upright() ? 1728 / divisor() : rows(lines));
}

int32_t PlainPicture::height(int32_t lines) const {
  return zoom * (upright() ? rows(lines) : 1728 / divisor());
}

bool PlainPicture::black(int32_t lines, int32_t k, int32_t j) const {
  const int32_t d = divisor(), row_bytes = (upright() ? 1728 : 6976) / d / 8;
  const int32_t first_row = orientation == 180 ? 3488 - rows(lines) : 0;
  const int32_t offset = orientation == 270 ? 3488 - rows(lines) : 0;
  const int32_t bit = 8 * row_bytes * (first_row + k / zoom) + offset + j / zoom;
  return block.at(static_cast<size_t>(bit / 8)) & 0x80 >> bit % 8;
}
