// After each token the walker is set back to the root of the tree that applies: unlike MH, the two-dimensional codings
// do not use the links of a leaf. A damaged line costs all lines up to the next one that is coded one-dimensionally.

#include "t4/mr_decoder.h"

#include <stdio.h>

#include <algorithm>
#include <utility>

#include "t4/dectbls.h"
#include "t4/lost_start.h"
#include "t4/mode_codes.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|mr_decoder|9|01|2|0|0|11/23/26|05:32:35";

constexpr int RTC_EOLS = 6;  // EOLs in a row that end a page

// How the next line is read; `hunting` for the EOL of the next 1-D line.
enum class LineKind { hunting, one_dimensional, two_dimensional };

// The state of a decode, apart from its lines.
struct MrState {
  BitReader in;
  int32_t &make_up;
  LineKind kind = LineKind::hunting;
  int eols = 0;           // EOLs in a row
  bool reported = false;  // damage of the line has been reported
};

void report_damage(const LineSink &to, Damage kind) {
  if (to.found_damage) to.found_damage(to.context, kind);
}

// Reports the first damage of a line.
void report(MrState &state, const LineSink &to, Damage kind) {
  if (!state.reported) report_damage(to, kind);
  state.reported = true;
}

// Acts on run codes up to an EOL: a line coded one-dimensionally.
template <CodeForm form>
CodesStop take_run_codes(MrState &state, LinePair<form> &lines) {
  while (const DecNode *leaf = next_leaf(state.in, run_tree(lines))) {
    if (leaf->value == DEC_EOL) return {CodesEnd::other_leaf, leaf};
    state.eols = 0;
    const int32_t run = abs(leaf->value);
    state.make_up = std::min(state.make_up + run, ENDLESS);
    if (run > TERMINATING) continue;
    if (!take_run(lines, std::exchange(state.make_up, 0))) return {CodesEnd::damaged};
  }
  return {CodesEnd::no_data};
}

// Acts on mode codes up to a leaf that is none: a line coded two-dimensionally. A full line may go on until its EOL.
template <CodeForm form>
CodesStop take_mode_codes(MrState &state, LinePair<form> &lines) {
  for (;;) {
    const DecNode *leaf = next_leaf(state.in, mode_tree.node);
    if (!leaf) return {CodesEnd::no_data};
    if (leaf->value > LAST_VERTICAL) return {CodesEnd::other_leaf, leaf};
    state.eols = 0;
    if (leaf->value == HORIZONTAL) {
      int32_t sum = 0;
      const Horizontal result = take_horizontal(state.in, lines, sum, 8);
      if (result == Horizontal::no_data) return {CodesEnd::no_data};
      if (result == Horizontal::damaged) return {CodesEnd::damaged};
    } else {
      const bool full = lines.a0 >= static_cast<int32_t>(8 * lines.size);  // there is no element right of a0
      const int32_t *const b1 = full ? lines.reference.end() : find_b1<form>(lines.b1, lines.a0);
      if (!take_mode(lines, leaf->value, b1)) return {CodesEnd::damaged};
    }
  }
}

template <CodeForm form>
CodesStop take_line(MrState &state, LinePair<form> &lines) {
  if (state.kind == LineKind::one_dimensional) return take_run_codes(state, lines);
  if (state.kind == LineKind::two_dimensional) return take_mode_codes(state, lines);
  const DecNode *leaf = next_leaf(state.in, eoltree.node);
  return {leaf ? CodesEnd::other_leaf : CodesEnd::no_data, leaf};
}

// The line is damaged: the one above is delivered in its place, and all up to the next EOL with tag 1 will be skipped.
template <CodeForm form>
void give_up_line(MrState &state, LinePair<form> &lines) {
  report_damage(lines.to, Damage::overflow);
  if (lines.a0 >= 0) {
    lines.deliver_padding();
    lines.deliver(lines.reference);
  }
  lines.clear_line();
  state.kind = LineKind::hunting;
}

// An EOL and its tag. False at the end of an RTC.
template <CodeForm form>
bool take_eol(MrState &state, LinePair<form> &lines, int32_t tag) {
  if (state.kind == LineKind::hunting && tag == EOL_TAG_0) {
    report_damage(lines.to, Damage::skipped_line);
    return true;
  }
  if (++state.eols == RTC_EOLS) return false;
  if (state.kind != LineKind::hunting) {
    if (lines.a0 >= 0 && lines.a0 < lines.width) report(state, lines.to, Damage::short_line);
    lines.end_line();
    if (state.eols == 1) lines.deliver_pixels(lines.current);
    lines.next_line();
    lines.deliver_eol();
  }
  state.kind = tag == EOL_TAG_0 ? LineKind::two_dimensional : LineKind::one_dimensional;
  state.reported = false;
  return true;
}

// Decodes to the end of the data. False at the end of an RTC.
template <CodeForm form>
bool take_lines(MrState &state, LinePair<form> &lines) {
  for (;;) {
    const CodesStop stop = take_line(state, lines);
    if (stop.why == CodesEnd::no_data) return true;
    if (stop.why == CodesEnd::damaged) {
      give_up_line(state, lines);
    } else if (stop.leaf->value == DEC_EOL) {
      if (stop.leaf == &eoltree.node[EOLTREE_LEAF] && state.kind != LineKind::hunting)
        report(state, lines.to, Damage::invalid_code);
      const DecNode *tag = next_leaf(state.in, &dec2d_tree.node[DEC2D_TAG_NODE]);
      if (!tag) return true;
      if (!take_eol(state, lines, tag->value)) return false;
    } else if (stop.leaf->value == DEC2D_NO_CODE) {
      report(state, lines.to, Damage::invalid_code);
    } else {
      printf("Bad tok: Can't happen!  runlen=%d\n", stop.leaf->value);
      state.eols = 0;
    }
  }
}

template <CodeForm form>
void decode(const LineStore &store, int32_t &make_up, std::span<const uint8_t> data, uint64_t fill, int32_t width,
            const LineSink &to) {
  report_lost_start(data, to);
  MrState state{BitReader(data, fill), make_up};
  LinePair<form> lines(store, width, (static_cast<uint32_t>(width) + 7) / 8, to);
  if (!take_lines(state, lines) || lines.a0 < 0) return;
  if (lines.a0 < width) report(state, to, Damage::data_ends);
  lines.deliver_padding();
  lines.end_line();
  lines.deliver(lines.current);
}

}  // namespace

void decode_mr(CodeForm form, const LineStore &store, int32_t &make_up, std::span<const uint8_t> data, uint64_t fill,
               int32_t width, const LineSink &to) {
  if (form == CodeForm::standard) return decode<CodeForm::standard>(store, make_up, data, fill, width, to);
  return decode<CodeForm::stored>(store, make_up, data, fill, width, to);
}

}  // namespace tolvane
