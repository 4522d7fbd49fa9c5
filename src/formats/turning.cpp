// Packed rows are turned pixel by pixel, in the order of the result.
#include "formats/turning.h"

#include <cstddef>
#include <numeric>
#include <utility>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|turning|9|01|3|0|0|11/23/26|09:04:19";

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

Turn then(const Turn &first, const Turn &second) {
  // Exchanged rows and columns are mirrored the other way.
  const bool mirror = second.transpose ? first.flip : first.mirror, flip = second.transpose ? first.mirror : first.flip;
  return {first.transpose != second.transpose, mirror != second.mirror, flip != second.flip};
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
  const auto last_column = static_cast<size_t>(new_width) - 1, last_row = static_cast<size_t>(new_height) - 1;
  std::vector<uint8_t> turned(new_size * (last_row + 1));
  for (size_t row = 0; row <= last_row; ++row) {
    for (size_t column = 0; column <= last_column; ++column) {
      size_t x = turn.mirror ? last_column - column : column, y = turn.flip ? last_row - row : row;
      if (turn.transpose) std::swap(x, y);
      const uint32_t black = rows[y * old_size + x / 8] >> (7 - x % 8) & 1;
      uint8_t &target = turned[row * new_size + column / 8];
      target = static_cast<uint8_t>(target | black << (7 - column % 8));
    }
  }
  rows = std::move(turned);
  width = new_width;
  height = new_height;
}

}  // namespace tolvane
