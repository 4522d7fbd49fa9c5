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
#include <span>
#include <utility>

#include "support/handle.h"
#include "t4/bit_window.h"
#include "t4/change_list.h"
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
/// last bit of a code that is acted on. The window serves from code to code: how long a code is cannot be foreseen, and
/// after a wrong guess the next one is at hand.
struct Bits {
  const uint8_t *data;
  uint64_t end;           ///< bits of the data
  uint64_t position = 0;  ///< bits taken
  uint64_t window = 0;    ///< the bits that come next, the first one in bit 0
  uint64_t ready = 0;     ///< how many of them `window` holds

  uint64_t left() const { return end - position; }
};

/// Walks from `node` to the next leaf, near the end of the data, where there are no eight bytes to be read at once.
const DecNode *next_leaf_to_end(Bits &in, const DecNode *node) {
  while (in.position < in.end) {
    node = node->link[in.data[in.position / 8] >> in.position % 8 & 1];
    in.position++;
    if (node->value != DEC_INNER) return in.position < in.end ? node : nullptr;
  }
  return nullptr;
}

/// Walks from `node` to the next leaf, one link and one comparison per bit; null when the data are used up.
[[gnu::always_inline]] inline const DecNode *next_leaf(Bits &in, const DecNode *node) {
  constexpr uint64_t STRIDE = 16;  // the longest code has 13 bits, only fill makes more
  for (;;) {
    if (in.ready < STRIDE) {
      if (in.position + 64 >= in.end) return next_leaf_to_end(in, node);
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

/// Words of 64 pixels of a line of `size` bytes.
constexpr size_t words_of(uint32_t size) {
  return (size_t{size} + 7) / 8;
}

/// The line being decoded and the one above it, the reference line.
struct Lines {
  int32_t width;     ///< pixels
  uint32_t size;     ///< bytes
  uint64_t *pixels;  ///< room for a line that is given; null if nobody asks for lines
  ChangeList current, reference;
  const int32_t *b1 = nullptr;  ///< in the list of the reference line, where the search for b1 begins
  int32_t a0 = -1;
  bool black = false;  ///< the colour
};

/// Paints a line from its finished list: from each element on, the pixels of its word turn round, and all the words
/// behind it.
inline const uint8_t *paint(const Lines &lines, const ChangeList &line) {
  const std::span<uint64_t> words(lines.pixels, words_of(lines.size));
  std::ranges::fill(words, 0);
  for (const int32_t *change = line.first(); change < line.end(); ++change)
    words[static_cast<uint32_t>(*change) / 64] ^= ~UINT64_C(0) >> *change % 64;
  uint64_t before = 0;  // the last pixel before the word, 64 times
  for (uint64_t &word : words) {
    word ^= before;
    before = -(word & 1);
    store_window(reinterpret_cast<uint8_t *>(&word), word);
  }
  return reinterpret_cast<const uint8_t *>(lines.pixels);
}

inline void give_line(const Lines &lines, const ChangeList &line, const LineCallbacks &to) {
  if (to.found_line != nullptr) to.found_line(paint(lines, line), lines.size);
  if (to.found_eol != nullptr) to.found_eol();
}

/// White padding up to the end of the line.
inline void give_padding(const Lines &lines, const LineCallbacks &to) {
  if (lines.a0 < lines.width && to.found_run != nullptr) to.found_run(lines.width - lines.a0);
}

/// Begins a white line in place of the current one.
inline void clear_line(Lines &lines) {
  lines.current.clear();
  lines.b1 = lines.reference.first();
  lines.a0 = -1;
  lines.black = false;
}

/// Ends the current line where it stands. What no run has reached is white.
inline void end_line(Lines &lines) {
  if (lines.black) lines.current.change_at(lines.a0);
  lines.current.finish(static_cast<int32_t>(8 * lines.size));
}

/// Makes the current line, which has ended, the reference line, and begins a white one.
inline void next_line(Lines &lines) {
  std::swap(lines.current, lines.reference);
  clear_line(lines);
}

/// Gives the pixels from a0 to `end` the current colour; `end` becomes a0.
[[gnu::always_inline]] inline void run_to(Lines &lines, int32_t end, found_run_fn found_run) {
  const int32_t run = end - lines.a0;
  if (found_run != nullptr) found_run(lines.black ? -run : run);
  lines.a0 = end;
}

/// The same, and the colour changes there.
[[gnu::always_inline]] inline void run_to_change(Lines &lines, int32_t end, found_run_fn found_run) {
  run_to(lines, end, found_run);
  lines.current.change_at(end);
  lines.black = !lines.black;
}

/// A run of `run` pixels by its own code. 0 if it leaves the line.
[[gnu::always_inline]] inline int take_run(Lines &lines, int32_t run, found_run_fn found_run) {
  lines.a0 = std::max(lines.a0, 0);
  if (run > lines.width - lines.a0) return 0;
  run_to_change(lines, lines.a0 + run, found_run);
  return 1;
}

/// Pass mode and vertical mode. 0 if the changing element is left of a0 or outside the line.
[[gnu::always_inline]] inline int take_mode(Lines &lines, int32_t mode, found_run_fn found_run) {
  const bool full = lines.a0 >= static_cast<int32_t>(8 * lines.size);  // there is no element right of a0
  const int32_t *const b1 = full ? lines.reference.end() : find_b1(lines.b1, lines.a0);
  const int32_t end = mode == PASS ? b1[1] : b1[0] + vertical_offset[mode];
  const int32_t start = std::max(lines.a0, 0);
  if (mode == PASS) lines.a0 = start;  // the line has begun, even if it fails here
  if (end < start || end > lines.width) return 0;
  lines.a0 = start;
  if (mode == PASS) {
    run_to(lines, end, found_run);
    lines.b1 = b1;
  } else {
    run_to_change(lines, end, found_run);
    lines.b1 = turn_b1(b1, end);
  }
  return 1;
}

inline const DecNode *run_tree(const Lines &lines) {
  return lines.black ? blacktree.node : whitetree.node;
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
    const DecNode *leaf = in.left() > 8 ? next_leaf(in, run_tree(lines)) : nullptr;
    if (leaf == nullptr || in.left() < rest) {
      if (runs == 1) lines.b1 = turn_b1(lines.b1, lines.a0);  // two runs leave the colour as it was, one does not
      return Outcome::data_used_up;
    }
    const int32_t run = abs(leaf->value);
    sum = std::min(sum + run, ENDLESS);
    if (run > TERMINATING) continue;
    if (!take_run(lines, std::exchange(sum, 0), found_run)) return Outcome::damaged;
    runs++;
  }
  return Outcome::done;
}

/// What the two lines of a decode live in.
struct LineStore {
  Block<int32_t> elements;
  Block<uint64_t> pixels;
};

/// Makes `store` large enough for two white lines. 0 if there is no memory.
///
/// @param with_pixels  0 if nobody asks for lines
int allocate(LineStore &store, int32_t width, uint32_t size, bool with_pixels) {
  store.elements.reset(static_cast<int32_t *>(malloc(2 * ChangeList::room(width) * sizeof(int32_t))));
  if (with_pixels) store.pixels.reset(static_cast<uint64_t *>(malloc(words_of(size) * sizeof(uint64_t))));
  return store.elements != nullptr && (store.pixels != nullptr || !with_pixels);
}

/// The two lines in `store`, both white.
Lines lines_in(const LineStore &store, int32_t width, uint32_t size) {
  Lines lines{width, size, store.pixels.get(), ChangeList(store.elements.get()),
              ChangeList(store.elements.get() + ChangeList::room(width))};
  end_line(lines);
  next_line(lines);
  return lines;
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
    const DecNode *leaf = next_leaf(in, mr_mode_tree.node);
    if (leaf == nullptr) return {Outcome::data_used_up, nullptr};
    if (leaf->value > LAST_VERTICAL) return {Outcome::done, leaf};
    eols = 0;
    if (leaf->value == HORIZONTAL) {
      int32_t sum = 0;
      const Outcome outcome = take_horizontal(in, lines, sum, 8, found_run);
      if (outcome != Outcome::done) return {outcome, leaf};
    } else if (!take_mode(lines, leaf->value, found_run)) {
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
  clear_line(lines);
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
    end_line(lines);
    if (state.eols == 1 && to.found_line != nullptr) to.found_line(paint(lines, lines.current), lines.size);
    next_line(lines);
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
  end_line(lines);
  give_line(lines, lines.current, to);
}

/// Acts on the mode codes of MMR up to a leaf that is none, and gives the lines that they fill.
///
/// Once horizontal mode has used up the data, what is left of the last byte is read as mode codes.
Stop take_mmr_modes(Bits &in, Lines &lines, int &eols, const LineCallbacks &to) {
  for (;;) {
    const DecNode *leaf = next_leaf(in, mmr_mode_tree.node);
    if (leaf == nullptr) return {Outcome::data_used_up, nullptr};
    if (leaf->value > LAST_VERTICAL) return {Outcome::done, leaf};
    eols = 0;
    const int good = leaf->value == HORIZONTAL
                         ? take_horizontal(in, lines, mmr_runlen, 1, to.found_run) != Outcome::damaged
                         : take_mode(lines, leaf->value, to.found_run);
    if (!good) return {Outcome::damaged, leaf};
    if (lines.a0 >= lines.width) {
      end_line(lines);
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
  end_line(lines);
  give_line(lines, lines.current, to);
  return 1;
}

}  // namespace

int t4dec_MR(const uint8_t *data, uint32_t length, found_run_fn found_run, found_line_fn found_line,
             found_eol_fn found_eol) {
  if (data == nullptr || length == 0) return 0;
  if (found_run == nullptr && found_line == nullptr && found_eol == nullptr) return 1;
  const int32_t width = std::max(Pix_width, 0);
  const uint32_t size = (static_cast<uint32_t>(width) + 7) / 8;
  LineStore store;
  if (!allocate(store, width, size, found_line != nullptr)) return 0;
  report_lost_start(data, length);
  mr_decode({data, uint64_t{8} * length}, lines_in(store, width, size), {found_run, found_line, found_eol});
  return 1;
}

int t4dec_MMR(const uint8_t *data, uint32_t length, int32_t width, found_run_fn found_run, found_line_fn found_line,
              found_eol_fn found_eol) {
  width = std::max(width, 0);
  const uint32_t size = static_cast<uint32_t>(width) / 8;
  LineStore store;
  if (!allocate(store, width, size, found_line != nullptr)) return 0;
  return mmr_decode({data, uint64_t{8} * length}, lines_in(store, width, size), {found_run, found_line, found_eol});
}

}  // namespace tolvane
