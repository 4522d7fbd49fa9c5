// Lines of pixels looked at 64 at a time: the search for a changing element and the painting of a run, inlined into the
// loops that live by them. Everybody else uses bitmanip.h.
//
// With x holding a one for each pixel of a colour, `x & ~(x >> 1)` holds one for each start of a run.
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

/// The pixels from byte `at` on; what stands beyond the end of a padded line is not told.
template <Line kind>
inline uint64_t line_window(const uint8_t *line, uint32_t size, uint32_t at) {
  return kind == Line::padded ? load_window(line + at) : load_line_window(line, size, at);
}

/// A search for the first pixel right of a position that starts a run of a colour, as far as its first window tells.
struct RunSearch {
  uint64_t flip;    ///< what makes the pixels of the colour ones
  uint64_t pixels;  ///< the window, with ones for the colour
  uint64_t starts;  ///< ones where a run starts that would be an answer
  uint32_t at;      ///< byte of the line at which the window begins
};

/// Begins a search right of `position`, less than 8 * `size`; in a padded line `position` may be 8 * `size` too. A
/// position of 0 or below is the start of the line: pixel 0 counts, and what is left of it does not have the colour.
///
/// @param black  the colour: all ones for black, 0 for white
template <Line kind>
inline RunSearch begin_search(const uint8_t *line, uint32_t size, int32_t position, uint64_t black) {
  RunSearch search;
  search.flip = ~black;
  search.at = position > 0 ? static_cast<uint32_t>(position) / 8 : 0;
  search.pixels = line_window<kind>(line, size, search.at) ^ search.flip;
  const uint64_t allowed = ~UINT64_C(0) >> (position > 0 ? position % 8 + 1 : 0);
  search.starts = search.pixels & ~(search.pixels >> 1) & allowed;
  return search;
}

/// Ends the search, in the windows that follow if need be.
///
/// @return the pixel found, or 8 * `size`
template <Line kind>
inline int32_t finish_search(RunSearch search, const uint8_t *line, uint32_t size) {
  const int32_t width = static_cast<int32_t>(8 * size);
  while (search.starts == 0) {
    search.at += 8;
    if (search.at >= size) return width;
    const uint64_t before = search.pixels << 63;
    search.pixels = line_window<kind>(line, size, search.at) ^ search.flip;
    search.starts = search.pixels & ~(search.pixels >> 1 | before);
  }
  const int32_t found = static_cast<int32_t>(8 * search.at) + std::countl_zero(search.starts);
  return found < width ? found : width;
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
