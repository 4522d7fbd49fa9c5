// Enlarging by a whole factor, eight pixels at a time. The rows of the bitmap begin at any bit, those made here at a
// byte.
#include "view/enlarge.h"

#include <algorithm>
#include <array>

#include "view/view_state.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|enlarge|9|01|2|0|0|11/23/26|09:08:16";

// Eight pixels, each `zoom` times, for every value of a byte.
using Wide = std::array<uint8_t, MOST_ZOOM>;
std::array<Wide, 256> wide_bytes(int32_t zoom) {
  std::array<Wide, 256> table{};
  for (size_t value = 0; value < table.size(); ++value) {
    for (int32_t pixel = 0; pixel < 8 * zoom; ++pixel) {
      if (value & (0x80u >> (pixel / zoom)))
        table[value][static_cast<size_t>(pixel / 8)] |= static_cast<uint8_t>(0x80 >> (pixel % 8));
    }
  }
  return table;
}

// The eight pixels from bit number `bit` on; white after the end of the bitmap.
uint8_t byte_at(const uint8_t *bits, size_t bit) {
  const size_t byte = bit / 8, shift = bit % 8;
  const unsigned next = byte + 1 < BITMAP_SIZE ? bits[byte + 1] : 0;
  return static_cast<uint8_t>((unsigned{bits[byte]} << shift) | (next >> (8 - shift)));
}

}  // namespace

int32_t enlarged_row_bytes(const Extents &extents, int32_t zoom) {
  return (extents.Dx + 7) / 8 * zoom;
}

std::vector<uint8_t> enlarged(const uint8_t *bits, const Extents &extents, int32_t zoom) {
  const std::array<Wide, 256> table = wide_bytes(zoom);
  const int32_t row_bytes = enlarged_row_bytes(extents, zoom);
  std::vector<uint8_t> result(static_cast<size_t>(row_bytes) * static_cast<size_t>(extents.Dy * zoom));
  uint8_t *to = result.data();
  for (int32_t row = 0; row < extents.Dy; ++row) {
    const size_t start = picture_bit(extents, row);
    const uint8_t *const made = to;
    for (int32_t x = 0; x < extents.Dx; x += 8)
      to = std::copy_n(table[byte_at(bits, start + static_cast<size_t>(x))].begin(), zoom, to);
    for (int32_t copy = 1; copy < zoom; ++copy) to = std::copy_n(made, row_bytes, to);
  }
  return result;
}

}  // namespace tolvane
