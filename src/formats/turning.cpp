// One walk over the pixels serves grey and packed pictures: only the copying of a pixel differs.
#include "formats/turning.h"

#include <cstddef>
#include <numeric>
#include <utility>

#include "formats/packed_rows.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|turning|9|01|2|0|0|11/23/26|06:39:52";

// Calls `copy` for each pixel of the turned picture, with its place and the place that it comes from.
template <typename Copy>
void walk(int32_t width, int32_t height, const Turn &turn, const Copy &copy) {
  const auto columns = static_cast<size_t>(turn.transpose ? height : width);
  const auto rows = static_cast<size_t>(turn.transpose ? width : height);
  for (size_t row = 0; row < rows; ++row) {
    const size_t y = turn.flip ? rows - 1 - row : row;
    for (size_t column = 0; column < columns; ++column) {
      const size_t x = turn.mirror ? columns - 1 - column : column;
      if (turn.transpose) {
        copy(column, row, y, x);
      } else {
        copy(column, row, x, y);
      }
    }
  }
}

size_t row_bytes(int32_t width) {
  return (static_cast<size_t>(width) + 7) / 8;
}

// How much the numbers of black pixels of neighbouring stretches of rows differ: lines of text and the white between
// them make much of it along the text, and little across.
double unevenness(const std::vector<int32_t> &black) {
  constexpr size_t STRETCH = 8;  // rows: less than a line of text
  double sum = 0, before = 0;
  for (size_t i = 0; i + STRETCH <= black.size(); i += STRETCH) {
    const auto first = black.begin() + static_cast<ptrdiff_t>(i);
    const double here = std::accumulate(first, first + STRETCH, 0);
    if (i > 0) sum += (here - before) * (here - before);
    before = here;
  }
  return sum;
}

}  // namespace

Turn wanted_turn(int32_t degrees, const std::vector<uint8_t> &rows, int32_t width, int32_t height) {
  constexpr double CLEARLY = 2;  // times the unevenness of the other direction
  if (degrees != ROTATE_AUTO) return clockwise(degrees);
  std::vector<int32_t> across(static_cast<size_t>(height)), down(static_cast<size_t>(width));
  const size_t size = row_bytes(width);
  for (size_t y = 0; y < across.size(); ++y) {
    for (size_t x = 0; x < down.size(); ++x) {
      const int32_t black = rows[y * size + x / 8] >> (7 - x % 8) & 1;
      across[y] += black;
      down[x] += black;
    }
  }
  return unevenness(down) > CLEARLY * unevenness(across) ? clockwise(90) : Turn{};
}

Turn wanted_turn(int32_t degrees, const SourcePicture &page) {
  if (degrees != ROTATE_AUTO || page.grey.empty()) return wanted_turn(degrees, page.bits, page.width, page.height);
  return wanted_turn(degrees, packed(page.grey, page.width), page.width, page.height);
}

Turn upright(uint16_t orientation) {
  constexpr Turn TURNS[] = {
      {false, false, false}, {false, true, false}, {false, true, true}, {false, false, true},
      {true, false, false},  {true, true, false},  {true, true, true},  {true, false, true},
  };
  return orientation >= 1 && orientation <= 8 ? TURNS[orientation - 1] : TURNS[0];
}

Turn clockwise(int32_t degrees) {
  return {degrees == 90 || degrees == 270, degrees == 90 || degrees == 180, degrees == 180 || degrees == 270};
}

void turn_rows(std::vector<uint8_t> &rows, int32_t &width, int32_t &height, const Turn &turn) {
  const int32_t new_width = turn.transpose ? height : width, new_height = turn.transpose ? width : height;
  const size_t old_size = row_bytes(width), new_size = row_bytes(new_width);
  std::vector<uint8_t> turned(new_size * static_cast<size_t>(new_height));
  walk(width, height, turn, [&](size_t column, size_t row, size_t x, size_t y) {
    const uint32_t black = rows[y * old_size + x / 8] >> (7 - x % 8) & 1;
    uint8_t &target = turned[row * new_size + column / 8];
    target = static_cast<uint8_t>(target | black << (7 - column % 8));
  });
  rows = std::move(turned);
  width = new_width;
  height = new_height;
}

void turn_picture(SourcePicture &page, const Turn &turn) {
  if (turn.is_none()) return;
  if (page.grey.empty()) {
    turn_rows(page.bits, page.width, page.height, turn);
  } else {
    const auto old_width = static_cast<size_t>(page.width);
    const auto new_width = static_cast<size_t>(turn.transpose ? page.height : page.width);
    std::vector<uint8_t> turned(page.grey.size());
    walk(page.width, page.height, turn, [&](size_t column, size_t row, size_t x, size_t y) {
      turned[row * new_width + column] = page.grey[y * old_width + x];
    });
    page.grey = std::move(turned);
    if (turn.transpose) std::swap(page.width, page.height);
  }
  if (turn.transpose) std::swap(page.x_dpi, page.y_dpi);
}

}  // namespace tolvane
