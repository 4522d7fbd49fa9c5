// MMR has no EOL between its lines: a line ends when its pixels are complete, and damage has no way back.

#include "t4/mmr_decoder.h"

#include <stdio.h>

#include "t4/dectbls.h"
#include "t4/mode_codes.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|mmr_decoder|9|01|2|0|0|11/23/26|05:32:35";

constexpr int EOFB_EOLS = 2;  // EOLs in a row that end a page

void report(const LineSink &to, Damage kind) {
  if (to.found_damage) to.found_damage(to.context, kind);
}

// Acts on mode codes up to a leaf that is none, and delivers the lines that they fill.
//
// Once horizontal mode has used up the data, what is left of the last byte is read as mode codes.
//
// @param eols  EOLs in a row, 0 after any code
template <CodeForm form>
CodesStop take_mode_codes(BitReader &in, LinePair<form> &lines, int32_t &make_up, int &eols) {
  for (;;) {
    const DecNode *leaf = next_leaf(in, mode_tree.node);
    if (!leaf) return {CodesEnd::no_data};
    if (leaf->value > LAST_VERTICAL) return {CodesEnd::other_leaf, leaf};
    eols = 0;
    const bool good = leaf->value == HORIZONTAL ? take_horizontal(in, lines, make_up, 1) != Horizontal::damaged
                                                : take_mode(lines, leaf->value, find_b1<form>(lines.b1, lines.a0));
    if (!good) return {CodesEnd::damaged};
    if (lines.a0 >= lines.width) {
      lines.end_line();
      lines.deliver(lines.current);
      lines.next_line();
    }
  }
}

template <CodeForm form>
bool decode(const LineStore &store, int32_t &make_up, std::span<const uint8_t> data, int32_t width,
            const LineSink &to) {
  BitReader in(data, 0);
  LinePair<form> lines(store, width, static_cast<uint32_t>(width) / 8, to);
  int eols = 0;
  while (eols < EOFB_EOLS) {
    const CodesStop stop = take_mode_codes(in, lines, make_up, eols);
    if (stop.why == CodesEnd::no_data) break;
    if (stop.why == CodesEnd::damaged) {
      make_up = 0;
      report(to, Damage::stopped);
      return false;
    }
    if (stop.leaf->value == DEC_EOL) {
      eols++;
    } else if (stop.leaf->value == DEC2D_NO_CODE) {
      report(to, Damage::invalid_code);
    } else {
      fprintf(stderr, "Bad tok: Can't happen!  runlen=%d\n", stop.leaf->value);
      eols = 0;
    }
  }
  if (lines.a0 >= 0) report(to, eols == EOFB_EOLS ? Damage::short_line : Damage::data_ends);
  lines.end_line();
  lines.deliver(lines.current);
  return true;
}

}  // namespace

bool decode_mmr(CodeForm form, const LineStore &store, int32_t &make_up, std::span<const uint8_t> data, int32_t width,
                const LineSink &to) {
  if (form == CodeForm::standard) return decode<CodeForm::standard>(store, make_up, data, width, to);
  return decode<CodeForm::stored>(store, make_up, data, width, to);
}

}  // namespace tolvane
