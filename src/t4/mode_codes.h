// What the two-dimensional decoders, MR and MMR, do with the mode codes and run codes of a line (ITU-T T.4, 4.2.1.3).
#pragma once

#include <stdlib.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "bit_reader.h"
#include "line_pair.h"

namespace tolvane {

// The values of the leaves of `dec2d_tree`.
constexpr int32_t PASS = 0;
constexpr int32_t HORIZONTAL = 1;
constexpr int32_t LAST_VERTICAL = 8;
constexpr int32_t EOL_TAG_1 = 9;
constexpr int32_t EOL_TAG_0 = 10;

/// a1 - b1 by mode token: V(0), VL(1) to VL(3), VR(1) to VR(3).
constexpr int32_t VERTICAL_OFFSET[LAST_VERTICAL + 1] = {0, 0, 0, -1, -2, -3, 1, 2, 3};

constexpr int32_t TERMINATING = 63;   ///< the longest run of a terminating code
constexpr int32_t ENDLESS = 1 << 20;  ///< a sum of make-up codes that overflows any line

/// Why a loop over the codes of a line has ended.
enum class CodesEnd : int32_t {
  other_leaf,  ///< at a leaf that is no code of a line: an EOL, or bits that are no code
  damaged,     ///< the codes leave the line
  no_data,     ///< the data are used up
};

/// Where a loop over the codes of a line has ended; `leaf` is set for `other_leaf`.
struct CodesStop {
  CodesEnd why;
  const DecNode *leaf = nullptr;
};

/// A run of `run` pixels by its own code. False if it leaves the line.
template <CodeForm form>
[[gnu::always_inline]] inline bool take_run(LinePair<form> &lines, int32_t run) {
  lines.a0 = std::max(lines.a0, 0);
  if (run > lines.width - lines.a0) return false;
  lines.run_to_change(lines.a0 + run);
  return true;
}

/// Pass mode and vertical mode. False if the changing element is left of a0 or outside the line.
///
/// @param b1  that of the line
template <CodeForm form>
[[gnu::always_inline]] inline bool take_mode(LinePair<form> &lines, int32_t mode, const int32_t *b1) {
  const int32_t end = mode == PASS ? b1[1] : b1[0] + VERTICAL_OFFSET[mode];
  const int32_t start = std::max(lines.a0, 0);
  if (mode == PASS) lines.a0 = start;  // the line has begun, even if it fails here
  if (end < start || end > lines.width) return false;
  lines.a0 = start;
  if (mode == PASS) {
    lines.run_to(end);
    lines.b1 = b1;
  } else {
    lines.run_to_change(end);
    lines.b1 = turn_b1(b1, end);
  }
  return true;
}

template <CodeForm form>
inline const DecNode *run_tree(const LinePair<form> &lines) {
  return lines.black ? blacktree.node : whitetree.node;
}

/// What has become of the two runs of horizontal mode.
enum class Horizontal : int32_t { done, damaged, no_data };

/// Horizontal mode: two runs, each any number of make-up codes and a terminating code. An EOL counts as a make-up code.
/// A code that begins in the last byte of the data is not read.
///
/// @param sum   the make-up codes so far
/// @param rest  bits that a code must leave of the data, or it is not acted on
template <CodeForm form>
[[gnu::always_inline]] inline Horizontal take_horizontal(BitReader &in, LinePair<form> &lines, int32_t &sum,
                                                         uint64_t rest) {
  for (int runs = 0; runs < 2;) {
    const DecNode *leaf = in.left() > 8 ? next_leaf(in, run_tree(lines)) : nullptr;
    if (!leaf || in.left() < rest) {
      if (runs == 1) lines.b1 = turn_b1(lines.b1, lines.a0);  // two runs leave the colour as it was, one does not
      return Horizontal::no_data;
    }
    const int32_t run = abs(leaf->value);
    sum = std::min(sum + run, ENDLESS);
    if (run > TERMINATING) continue;
    if (!take_run(lines, std::exchange(sum, 0))) return Horizontal::damaged;
    runs++;
  }
  return Horizontal::done;
}

}  // namespace tolvane
