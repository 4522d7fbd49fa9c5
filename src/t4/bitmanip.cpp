// Runs of pixels in a line bitmap, for callers outside the inner loops.
//
// The rule for position 0 is no slip: pixel 0 is examined there, as at -1.

#include "t4/bitmanip.h"

#include <algorithm>

#include "t4/bit_window.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|bitmanip|9|01|2|0|0|11/23/26|05:15:39";
}

int bit_next_trans(const uint8_t *line, uint32_t size, int16_t position, int16_t *result, int colour) {
  const int looked_for = position < 0 ? 1 : (colour & 1) ^ 1;
  const uint32_t start = static_cast<uint32_t>(std::max<int16_t>(position, 0));
  // A pixel is found where it has the colour and the one before has not; at the start of the line none is before.
  uint64_t allowed = ~UINT64_C(0) >> (start % 8);
  if (position > 0) allowed >>= 1;
  uint64_t before = 0;
  int32_t found = static_cast<int32_t>(8 * size);
  for (uint32_t at = start / 8; at < size; at += 8) {
    const uint64_t window = load_line_window(line, size, at), pixels = looked_for ? window : ~window;
    const uint64_t starts = pixels & ~(pixels >> 1 | before << 63) & allowed;
    if (starts != 0) {
      found = std::min(found, static_cast<int32_t>(8 * at) + std::countl_zero(starts));
      break;
    }
    before = pixels;
    allowed = ~UINT64_C(0);
  }
  *result = static_cast<int16_t>(found);
  return looked_for;
}

void bit_fill_bits(uint8_t *line, int32_t start, uint32_t count, int colour) {
  if (colour == 0 || count == 0) return;
  const uint32_t first = static_cast<uint32_t>(std::max(start, 0));
  const uint32_t last = first + count - 1;
  const uint8_t head = static_cast<uint8_t>(0xFF >> first % 8);
  const uint8_t tail = static_cast<uint8_t>(0xFF00 >> (last % 8 + 1));
  if (first / 8 == last / 8) {
    line[first / 8] = static_cast<uint8_t>(line[first / 8] | (head & tail));
    return;
  }
  line[first / 8] = static_cast<uint8_t>(line[first / 8] | head);
  memset(line + first / 8 + 1, 0xFF, last / 8 - first / 8 - 1);
  line[last / 8] = static_cast<uint8_t>(line[last / 8] | tail);
}

void bit_flip_bits(uint8_t *buffer, int32_t count) {
  for (int32_t n = 0; n < count; n++) {
    uint32_t byte = buffer[n];
    byte = (byte & 0xF0) >> 4 | (byte & 0x0F) << 4;
    byte = (byte & 0xCC) >> 2 | (byte & 0x33) << 2;
    byte = (byte & 0xAA) >> 1 | (byte & 0x55) << 1;
    buffer[n] = static_cast<uint8_t>(byte);
  }
}

}  // namespace tolvane
