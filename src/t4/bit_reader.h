// Coded data bit by bit, and the walk from bit to bit through the decoder's trees.
#pragma once

#include <string.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "dectbls.h"

namespace tolvane {

/// The coded data by bit position. A code counts only if a bit is left after it: the last bit of the data is never the
/// last bit of a code that is acted on. The window serves from code to code: how long a code is cannot be foreseen, and
/// after a wrong guess the next one is at hand.
struct BitReader {
  const uint8_t *data;
  uint64_t whole;         ///< bits of the data
  uint64_t end;           ///< bits of the data and of the fill after them
  uint64_t position = 0;  ///< bits taken
  uint64_t window = 0;    ///< the bits that come next, the first one in bit 0
  uint64_t ready = 0;     ///< how many of them `window` holds

  /// @param fill  bytes of zeros to read after the data
  BitReader(std::span<const uint8_t> bytes, uint64_t fill)
      : data(bytes.data()), whole(8 * uint64_t{bytes.size()}), end(whole + 8 * fill) {}

  uint64_t left() const { return end - position; }
};

/// Walks from `node` to the next leaf, near the end of the data, where eight bytes cannot be read at once.
inline const DecNode *next_leaf_to_end(BitReader &in, const DecNode *node) {
  while (in.position < in.end) {
    node = node->link[in.position < in.whole ? in.data[in.position / 8] >> in.position % 8 & 1 : 0];
    in.position++;
    if (node->value != DEC_INNER) return in.position < in.end ? node : nullptr;
  }
  return nullptr;
}

/// Walks from `node` to the next leaf, one link and one comparison per bit; null when the data are used up.
[[gnu::always_inline]] inline const DecNode *next_leaf(BitReader &in, const DecNode *node) {
  constexpr uint64_t STRIDE = 16;  // the longest code has 13 bits, only fill makes more
  for (;;) {
    if (in.ready < STRIDE) {
      if (in.position + 64 >= in.whole) return next_leaf_to_end(in, node);
      memcpy(&in.window, in.data + in.position / 8, sizeof in.window);
      if constexpr (std::endian::native == std::endian::big) in.window = __builtin_bswap64(in.window);
      in.window >>= in.position % 8;
      in.ready = 64 - in.position % 8;
    }
#pragma GCC unroll 16
    for (uint64_t taken = 1; taken <= STRIDE; taken++) {
      node = node->link[in.window & 1];
      in.window >>= 1;
      if (node->value != DEC_INNER) {
        in.position += taken;
        in.ready -= taken;
        return node;
      }
    }
    in.position += STRIDE;
    in.ready -= STRIDE;
  }
}

}  // namespace tolvane
