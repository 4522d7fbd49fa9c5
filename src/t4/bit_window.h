// Lines of pixels looked at 64 at a time: the search for a changing element and the painting of a run, inlined into the
// loops that live by them. Everybody else uses bitmanip.h.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace tolvane {

/// The 64 pixels at `bytes`, the first one in the highest bit.
inline uint64_t load_window(const uint8_t *bytes) {
  uint64_t window;
  std::memcpy(&window, bytes, sizeof window);
  if constexpr (std::endian::native == std::endian::little) window = __builtin_bswap64(window);
  return window;
}

inline void store_window(uint8_t *bytes, uint64_t window) {
  if constexpr (std::endian::native == std::endian::little) window = __builtin_bswap64(window);
  std::memcpy(bytes, &window, sizeof window);
}

/// The pixels from byte `at` on of a line of `size` bytes, white beyond its end; reads nothing outside the line.
inline uint64_t load_line_window(const uint8_t *line, uint32_t size, uint32_t at) {
  if (size >= sizeof(uint64_t)) {
    const uint32_t from = at < size - 8 ? at : size - 8;
    return load_window(line + from) << (8 * (at - from));
  }
  uint8_t copy[sizeof(uint64_t)] = {};
  std::memcpy(copy, line + at, size - at);
  return load_window(copy);
}

/// Bytes that a padded line owns past its end, for windows that begin inside it.
constexpr uint32_t LINE_PADDING = 8;

/// A line of any caller, which ends where it ends, or a padded one.
enum class Line { exact, padded };

/// The first pixel right of `position` that starts a run of `colour`, or 8 * `size`. A `position` of 0 or below is the
/// start of the line: pixel 0 counts, and what is left of it does not have the colour.
///
/// With x holding a one for each pixel of the colour, `x & ~(x >> 1)` holds one for each start of a run.
template <Line kind>
inline int32_t find_run_start(const uint8_t *line, uint32_t size, int32_t position, int colour) {
  const int32_t width = static_cast<int32_t>(8 * size);
  if (position >= width - 1) return width;
  const uint64_t flip = colour != 0 ? 0 : ~UINT64_C(0);
  uint32_t at = position > 0 ? static_cast<uint32_t>(position) / 8 : 0;
  uint64_t allowed = ~UINT64_C(0) >> (position > 0 ? position % 8 + 1 : 0);
  uint64_t before = 0;
  do {
    const uint64_t window = kind == Line::padded ? load_window(line + at) : load_line_window(line, size, at);
    const uint64_t pixels = window ^ flip;
    const uint64_t starts = pixels & ~(pixels >> 1 | before) & allowed;
    if (starts != 0) {
      const int32_t found = static_cast<int32_t>(8 * at) + std::countl_zero(starts);
      return found < width ? found : width;
    }
    before = pixels << 63;
    allowed = ~UINT64_C(0);
    at += 8;
  } while (at < size);
  return width;
}

/// Makes `count` pixels from `start` on of a padded line black.
inline void paint_black(uint8_t *line, int32_t start, int32_t count) {
  if (count <= 0) return;
  uint8_t *bytes = line + start / 8;
  const int32_t skipped = start % 8;
  count += skipped;
  uint64_t head = ~UINT64_C(0) >> skipped;
  for (; count > 64; count -= 64, bytes += 8, head = ~UINT64_C(0)) store_window(bytes, load_window(bytes) | head);
  store_window(bytes, load_window(bytes) | (head & ~UINT64_C(0) << (64 - count)));
}

}  // namespace tolvane
