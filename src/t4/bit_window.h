// Lines of pixels, 64 at a time, inlined into the loops that live by them. Everybody else uses bitmanip.h.
#pragma once

#include <string.h>

#include <bit>
#include <cstdint>

namespace tolvane {

/// The 64 pixels at `bytes`, the first one in the highest bit.
inline uint64_t load_window(const uint8_t *bytes) {
  uint64_t window;
  memcpy(&window, bytes, sizeof window);
  if constexpr (std::endian::native == std::endian::little) window = __builtin_bswap64(window);
  return window;
}

inline void store_window(uint8_t *bytes, uint64_t window) {
  if constexpr (std::endian::native == std::endian::little) window = __builtin_bswap64(window);
  memcpy(bytes, &window, sizeof window);
}

/// The pixels from byte `at` on of a line of `size` bytes, white beyond its end; reads nothing outside the line.
inline uint64_t load_line_window(const uint8_t *line, uint32_t size, uint32_t at) {
  if (size >= sizeof(uint64_t)) {
    const uint32_t from = at < size - 8 ? at : size - 8;
    return load_window(line + from) << (8 * (at - from));
  }
  uint8_t copy[sizeof(uint64_t)] = {};
  memcpy(copy, line + at, size - at);
  return load_window(copy);
}

/// Bytes that a padded line owns past its end, for windows that begin inside it.
constexpr uint32_t LINE_PADDING = 8;

/// Makes `count` pixels, at least one, from `start` on of a padded line black.
inline void paint_black(uint8_t *line, int32_t start, int32_t count) {
  uint8_t *bytes = line + start / 8;
  const int32_t skipped = start % 8;
  count += skipped;
  uint64_t head = ~UINT64_C(0) >> skipped;
  for (; count > 64; count -= 64, bytes += 8, head = ~UINT64_C(0)) store_window(bytes, load_window(bytes) | head);
  store_window(bytes, load_window(bytes) | (head & ~UINT64_C(0) << (64 - count)));
}

}  // namespace tolvane
