// MR and MMR. MH and the choice between the codings are in t4dec.
//
// Unlike MH, these two set the walker back to the root of the tree that applies after each token. They look alike, but
// differ in what follows damage: MR waits for the next line coded one-dimensionally, MMR has no way back.

#include "t4/t4dec_2d.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <bit>
#include <utility>

#include "support/handle.h"
#include "t4/bit_window.h"
#include "t4/damage.h"
#include "t4/dectbls.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|t4dec_2d|9|01|1|0|0|11/22/26|21:20:00";

constexpr int32_t PASS = 0;
constexpr int32_t HORIZONTAL = 1;
constexpr int32_t LAST_VERTICAL = 8;
constexpr int32_t EOL_TAG_1 = 9;
constexpr int32_t EOL_TAG_0 = 10;

/// a1 - b1 by mode token: V(0), VL(1) to VL(3), VR(1) to VR(3).
constexpr int32_t vertical_offset[LAST_VERTICAL + 1] = {0, 0, 0, -1, -2, -3, 1, 2, 3};

constexpr int32_t TERMINATING = 63;         ///< the longest run of a terminating code
constexpr int32_t ENDLESS = 1 << 20;        ///< a sum of make-up codes that overflows any line
constexpr int RTC_EOLS = 6, EOFB_EOLS = 2;  ///< EOLs in a row that end a page

/// The coded data by bit position. A code counts only if a bit is left after it: the last bit of the data is never the
/// last bit of a code that is acted on.
struct Bits {
  const uint8_t *data;
  uint64_t end;           ///< bits of the data
  uint64_t last_window;   ///< bit position of the last 8 bytes that can be read at once
  uint8_t *tail;          ///< where the last bytes of the data move to, with zeros after them: TAIL bytes of zeros
  uint64_t position = 0;  ///< bits taken

  uint64_t left() const { return end - position; }
};
constexpr size_t TAIL = 16;

/// At least 57 bits from the present position on, or all that there are and then zeros.
[[gnu::always_inline]] inline uint64_t window(Bits &in) {
  if (in.position > in.last_window) [[unlikely]] {
    memcpy(in.tail, in.data + in.last_window / 8, 8);
    in = {in.tail, in.end - in.last_window, 64, in.tail, in.position - in.last_window};
  }
  uint64_t bits;
  memcpy(&bits, in.data + in.position / 8, sizeof bits);
  if constexpr (std::endian::native == std::endian::big) bits = __builtin_bswap64(bits);
  return bits >> in.position % 8;
}

/// Walks from `node` to the next leaf, one link and one comparison per bit; null when the data are used up.
[[gnu::always_inline]] inline const DecNode *next_leaf(Bits &in, const DecNode *node) {
  constexpr uint64_t STRIDE = 16;  // the longest code has 13 bits, only fill makes more
  for (; in.position < in.end; in.position += STRIDE) {
    uint64_t bits = window(in);
#pragma GCC unroll 16
    for (uint64_t taken = 1; taken <= STRIDE; taken++, bits >>= 1) {
      node = node->link[bits & 1];
      if (node->value != DEC_INNER) {
        in.position += taken;
        return in.position < in.end ? node : nullptr;
      }
    }
  }
  return nullptr;
}

/// The line being decoded and the one above it.
struct Lines {
  int32_t width;  ///< pixels
  uint32_t size;  ///< bytes
  uint8_t *current, *reference;
  int32_t a0 = -1;
  uint64_t black = 0;  ///< the colour: all ones for black, 0 for white
};

/// b1 as far as the first window of the reference line tells. It is begun before the code is walked: the two do not
/// wait for each other, and most codes ask for it.
[[gnu::always_inline]] inline RunSearch begin_b1(const Lines &lines) {
  return begin_search<Line::padded>(lines.reference, lines.size, lines.a0, ~lines.black);
}

inline void give_line(const Lines &lines, const uint8_t *line, const LineCallbacks &to) {
  if (to.found_line != nullptr) to.found_line(line, lines.size);
  if (to.found_eol != nullptr) to.found_eol();
}

/// White padding up to the end of the line.
inline void give_padding(const Lines &lines, const LineCallbacks &to) {
  if (lines.a0 < lines.width && to.found_run != nullptr) to.found_run(lines.width - lines.a0);
}

/// Makes the current line the reference line, and begins a white one.
inline void next_line(Lines &lines) {
  std::swap(lines.current, lines.reference);
  memset(lines.current, 0, lines.size);
  lines.a0 = -1;
  lines.black = 0;
}

/// Gives the pixels from a0 to `end` the current colour; `end` becomes a0.
[[gnu::always_inline]] inline void run_to(Lines &lines, int32_t end, found_run_fn found_run) {
  const int32_t run = end - lines.a0;
  if (lines.black != 0) paint_black(lines.current, lines.a0, run);
  if (found_run != nullptr) found_run(lines.black != 0 ? -run : run);
  lines.a0 = end;
}

/// A run of `run` pixels by its own code. 0 if it leaves the line.
[[gnu::always_inline]] inline int take_run(Lines &lines, int32_t run, found_run_fn found_run) {
  lines.a0 = std::max(lines.a0, 0);
  if (run > lines.width - lines.a0) return 0;
  run_to(lines, lines.a0 + run, found_run);
  lines.black = ~lines.black;
  return 1;
}

/// Pass mode and vertical mode. 0 if the changing element is left of a0 or outside the line.
[[gnu::always_inline]] inline int take_mode(const RunSearch &b1_search, Lines &lines, int32_t mode,
                                            found_run_fn found_run) {
  const int32_t b1 = finish_search<Line::padded>(b1_search, lines.reference, lines.size);
  if (mode == PASS) {
    const RunSearch b2_search = begin_search<Line::padded>(lines.reference, lines.size, b1, lines.black);
    const int32_t b2 = finish_search<Line::padded>(b2_search, lines.reference, lines.size);
    lines.a0 = std::max(lines.a0, 0);
    if (b2 < lines.a0 || b2 > lines.width) return 0;
    run_to(lines, b2, found_run);
    return 1;
  }
  const int32_t a1 = b1 + vertical_offset[mode];
  if (a1 < std::max(lines.a0, 0) || a1 > lines.width) return 0;
  lines.a0 = std::max(lines.a0, 0);
  run_to(lines, a1, found_run);
  lines.black = ~lines.black;
  return 1;
}

inline const DecNode *run_tree(const Lines &lines) {
  return lines.black != 0 ? blacktree.node : whitetree.node;
}

enum class Outcome { done, damaged, data_used_up };

/// Horizontal mode: two runs, each any number of make-up codes and a terminating code. An EOL counts as a make-up code.
/// A code that begins in the last byte of the data is not read.
///
/// @param sum   the make-up codes so far
/// @param rest  bits that a code must leave of the data, or it is not acted on
[[gnu::always_inline]] inline Outcome take_horizontal(Bits &in, Lines &lines, int32_t &sum, uint64_t rest,
                                                      found_run_fn found_run) {
  for (int runs = 0; runs < 2;) {
    if (in.left() <= 8) return Outcome::data_used_up;
    const DecNode *leaf = next_leaf(in, run_tree(lines));
    if (leaf == nullptr || in.left() < rest) return Outcome::data_used_up;
    const int32_t run = abs(leaf->value);
    sum = std::min(sum + run, ENDLESS);
    if (run > TERMINATING) continue;
    if (!take_run(lines, std::exchange(sum, 0), found_run)) return Outcome::damaged;
    runs++;
  }
  return Outcome::done;
}

/// The lines in `block`, which owns them, both white; null lines if there is no memory.
Lines new_lines(int32_t width, uint32_t size, Block<uint8_t> &block) {
  block.reset(static_cast<uint8_t *>(calloc(2, size_t{size} + LINE_PADDING)));
  if (block == nullptr) return {width, size, nullptr, nullptr};
  return {width, size, block.get(), block.get() + size + LINE_PADDING};
}

/// The data from their first bit on.
Bits new_bits(const uint8_t *data, uint32_t length, uint8_t (&tail)[TAIL]) {
  const uint64_t end = uint64_t{8} * length;
  if (length >= 8) return {data, end, end - 64, tail};
  if (length > 0) memcpy(tail, data, length);
  return {tail, end, 64, tail};
}

// The make-up codes that wait for a terminating code: on the 1-D lines of MR, and in the horizontal mode of MMR. They
// outlive the line and the call.
int32_t mr_runlen = 0;
int32_t mmr_runlen = 0;

/// Why a loop over codes has ended, and at which leaf if a leaf was the reason.
struct Stop {
  Outcome outcome;
  const DecNode *leaf;
};

/// Acts on run codes up to an EOL: a line of MR coded one-dimensionally.
///
/// @param eols  EOLs in a row, 0 after any code
Stop take_run_codes(Bits &in, Lines &lines, int &eols, found_run_fn found_run) {
  while (const DecNode *leaf = next_leaf(in, run_tree(lines))) {
    if (leaf->value == DEC_EOL) return {Outcome::done, leaf};
    eols = 0;
    const int32_t run = abs(leaf->value);
    mr_runlen = std::min(mr_runlen + run, ENDLESS);
    if (run > TERMINATING) continue;
    if (!take_run(lines, std::exchange(mr_runlen, 0), found_run)) return {Outcome::damaged, leaf};
  }
  return {Outcome::data_used_up, nullptr};
}

/// Acts on the mode codes of MR up to a leaf that is none.
Stop take_mr_modes(Bits &in, Lines &lines, int &eols, found_run_fn found_run) {
  for (;;) {
    const RunSearch b1 = begin_b1(lines);
    const DecNode *leaf = next_leaf(in, mr_mode_tree.node);
    if (leaf == nullptr) return {Outcome::data_used_up, nullptr};
    if (leaf->value > LAST_VERTICAL) return {Outcome::done, leaf};
    eols = 0;
    if (leaf->value == HORIZONTAL) {
      int32_t sum = 0;
      const Outcome outcome = take_horizontal(in, lines, sum, 8, found_run);
      if (outcome != Outcome::done) return {outcome, leaf};
    } else if (!take_mode(b1, lines, leaf->value, found_run)) {
      return {Outcome::damaged, leaf};
    }
  }
}

/// How the line of an MR page is read that comes next; `hunting` for the EOL of the next 1-D line.
enum class LineKind { hunting, one_dimensional, two_dimensional };

/// Where the decode of an MR page stands, beside its lines.
struct MrState {
  LineKind kind = LineKind::hunting;
  int eols = 0;  ///< EOLs in a row
  int told = 0;  ///< damage of the line has been told
};

void tell(MrState &state, Damage kind) {
  if (!state.told) report_damage(kind);
  state.told = 1;
}

Stop take_mr_line(Bits &in, MrState &state, Lines &lines, found_run_fn found_run) {
  if (state.kind == LineKind::one_dimensional) return take_run_codes(in, lines, state.eols, found_run);
  if (state.kind == LineKind::two_dimensional) return take_mr_modes(in, lines, state.eols, found_run);
  const DecNode *leaf = next_leaf(in, eoltree.node);
  return {leaf != nullptr ? Outcome::done : Outcome::data_used_up, leaf};
}

/// The line is damaged: the one above is given in its place, and all up to the next EOL with tag 1 will be skipped.
void give_up_mr_line(MrState &state, Lines &lines, const LineCallbacks &to) {
  report_damage(Damage::overflow);
  if (lines.a0 >= 0) {
    give_padding(lines, to);
    give_line(lines, lines.reference, to);
  }
  memset(lines.current, 0, lines.size);
  lines.a0 = -1;
  lines.black = 0;
  state.kind = LineKind::hunting;
}

/// An EOL and its tag. 0 at the end of an RTC.
int take_mr_eol(MrState &state, Lines &lines, int32_t tag, const LineCallbacks &to) {
  if (state.kind == LineKind::hunting && tag == EOL_TAG_0) {
    report_damage(Damage::skipped_line);
    return 1;
  }
  if (++state.eols == RTC_EOLS) return 0;
  if (state.kind != LineKind::hunting) {
    if (lines.a0 >= 0 && lines.a0 < lines.width) tell(state, Damage::short_line);
    next_line(lines);
    if (state.eols == 1 && to.found_line != nullptr) to.found_line(lines.reference, lines.size);
    if (to.found_eol != nullptr) to.found_eol();
  }
  state.kind = tag == EOL_TAG_0 ? LineKind::two_dimensional : LineKind::one_dimensional;
  state.told = 0;
  return 1;
}

void mr_decode(Bits in, Lines lines, const LineCallbacks &to) {
  MrState state;
  for (;;) {
    const Stop stop = take_mr_line(in, state, lines, to.found_run);
    if (stop.outcome == Outcome::data_used_up) break;
    if (stop.outcome == Outcome::damaged) {
      give_up_mr_line(state, lines, to);
      continue;
    }
    const DecNode *leaf = stop.leaf;
    if (leaf->value == DEC_EOL) {
      if (leaf == &eoltree.node[EOLTREE_LEAF] && state.kind != LineKind::hunting) tell(state, Damage::invalid_code);
      leaf = next_leaf(in, &mr_mode_tree.node[DEC2D_TAG_NODE]);
      if (leaf == nullptr) break;
    }
    if (leaf->value == EOL_TAG_1 || leaf->value == EOL_TAG_0) {
      if (!take_mr_eol(state, lines, leaf->value, to)) return;
    } else if (leaf->value == DEC2D_NO_CODE) {
      tell(state, Damage::invalid_code);
    } else {
      printf("Bad tok: Can't happen!  runlen=%d\n", leaf->value);
      state.eols = 0;
    }
  }
  if (lines.a0 < 0) return;
  if (lines.a0 < lines.width) tell(state, Damage::data_ends);
  give_padding(lines, to);
  give_line(lines, lines.current, to);
}

/// Acts on the mode codes of MMR up to a leaf that is none, and gives the lines that they fill.
///
/// Once horizontal mode has used up the data, what is left of the last byte is read as mode codes.
Stop take_mmr_modes(Bits &in, Lines &lines, int &eols, const LineCallbacks &to) {
  for (;;) {
    const RunSearch b1 = begin_b1(lines);
    const DecNode *leaf = next_leaf(in, mmr_mode_tree.node);
    if (leaf == nullptr) return {Outcome::data_used_up, nullptr};
    if (leaf->value > LAST_VERTICAL) return {Outcome::done, leaf};
    eols = 0;
    const int good = leaf->value == HORIZONTAL
                         ? take_horizontal(in, lines, mmr_runlen, 1, to.found_run) != Outcome::damaged
                         : take_mode(b1, lines, leaf->value, to.found_run);
    if (!good) return {Outcome::damaged, leaf};
    if (lines.a0 >= lines.width) {
      give_line(lines, lines.current, to);
      next_line(lines);
    }
  }
}

int mmr_decode(Bits in, Lines lines, const LineCallbacks &to) {
  int eols = 0;
  while (eols < EOFB_EOLS) {
    const Stop stop = take_mmr_modes(in, lines, eols, to);
    if (stop.outcome == Outcome::data_used_up) break;
    if (stop.outcome == Outcome::damaged) {
      mmr_runlen = 0;
      report_damage(Damage::stopped);
      return 0;
    }
    if (stop.leaf->value == EOL_TAG_0) {
      eols++;
    } else if (stop.leaf->value == DEC2D_NO_CODE) {
      report_damage(Damage::invalid_code);
    } else {
      fprintf(stderr, "Bad tok: Can't happen!  runlen=%d\n", stop.leaf->value);
      eols = 0;
    }
  }
  if (lines.a0 >= 0) report_damage(eols == EOFB_EOLS ? Damage::short_line : Damage::data_ends);
  give_line(lines, lines.current, to);
  return 1;
}

}  // namespace

int t4dec_MR(const uint8_t *data, uint32_t length, found_run_fn found_run, found_line_fn found_line,
             found_eol_fn found_eol) {
  if (data == nullptr || length == 0) return 0;
  if (found_run == nullptr && found_line == nullptr && found_eol == nullptr) return 1;
  const int32_t width = std::max(Pix_width, 0);
  Block<uint8_t> block;
  const Lines lines = new_lines(width, (static_cast<uint32_t>(width) + 7) / 8, block);
  if (block == nullptr) return 0;
  uint8_t tail[TAIL] = {};
  report_lost_start(data, length);
  mr_decode(new_bits(data, length, tail), lines, {found_run, found_line, found_eol});
  return 1;
}

int t4dec_MMR(const uint8_t *data, uint32_t length, int32_t width, found_run_fn found_run, found_line_fn found_line,
              found_eol_fn found_eol) {
  Block<uint8_t> block;
  const Lines lines = new_lines(width, static_cast<uint32_t>(std::max(width, 0)) / 8, block);
  if (block == nullptr) return 0;
  uint8_t tail[TAIL] = {};
  return mmr_decode(new_bits(data, length, tail), lines, {found_run, found_line, found_eol});
}

}  // namespace tolvane
