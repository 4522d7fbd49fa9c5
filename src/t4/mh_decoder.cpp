// From leaves to lines. What a newcomer gets wrong: an EOL ends a line and begins none, so that the first one of a page
// gives a blank line and the line after the last one stays open.

#include "t4/mh_decoder.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "t4/bit_window.h"
#include "t4/lost_start.h"
#include "t4/mh_walk.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|mh_decoder|9|01|2|0|0|11/23/26|06:15:41";

constexpr int32_t LONGEST_TERMINATING = 63;

// Sees to it that the two lines have the size that `width` asks for.
bool reserve_lines(MhState &state, int32_t width) {
  const uint32_t size = (static_cast<uint32_t>(std::max(width, 0)) + 7) / 8;
  if (state.line.size != 0 && state.line.size == size) return true;
  state.line.size = 0;
  const size_t bytes = 2 * size_t{size} + LINE_PADDING;
  state.pixels.reset(new (std::nothrow) uint8_t[bytes]);
  if (!state.pixels) return false;
  memset(state.pixels.get(), 0, bytes);
  state.line.current = state.pixels.get();
  state.line.last_good = state.pixels.get() + size;
  state.line.size = size;
  return true;
}

void report(MhLine &line, Damage kind, const LineSink &to) {
  if (!line.reported && to.found_damage) to.found_damage(to.context, kind);
  line.reported = true;
}

void deliver(const MhLine &line, const uint8_t *pixels, const LineSink &to) {
  if (to.found_line && line.painted) to.found_line(to.context, pixels, line.size);
  if (to.found_eol) to.found_eol(to.context);
}

void deliver_padding(const MhLine &line, int32_t width, const LineSink &to) {
  if (line.pos < width && to.found_run) to.found_run(to.context, width - line.pos);
}

void start_line(MhLine &line) {
  line.pos = 0;
  line.make_up = 0;
  if (line.current_has_black) memset(line.current, 0, line.size);
  line.current_has_black = false;
}

// A run consumer gets the good part and white after it, a line consumer the last good line again.
void give_up_line(MhLine &line, int32_t width, const LineSink &to) {
  report(line, Damage::overflow, to);
  deliver_padding(line, width, to);
  deliver(line, line.last_good, to);
  start_line(line);
  line.given_up = true;
}

// A terminating code, with the make-up code before it.
[[gnu::always_inline]] inline void take_run(MhLine &line, int32_t token, int32_t width, const LineSink &to) {
  const int32_t run = line.make_up + token;
  const int32_t pixels = abs(run);
  if (pixels > width - line.pos) return give_up_line(line, width, to);
  if (run < 0 && line.painted) {
    paint_black(line.current, line.pos, pixels);
    line.current_has_black = true;
  }
  line.pos += pixels;
  line.make_up = 0;
  if (to.found_run) to.found_run(to.context, run);
}

// A second make-up code in a row, or an EOL after one, is damage.
[[gnu::always_inline]] inline void take_make_up(MhLine &line, int32_t token, int32_t width, const LineSink &to) {
  if (line.make_up != 0) return give_up_line(line, width, to);
  line.make_up = token;
}

void take_eol(MhLine &line, bool after_bad_code, int32_t width, const LineSink &to) {
  if (line.make_up != 0) return give_up_line(line, width, to);
  if (after_bad_code) report(line, Damage::invalid_code, to);
  if (line.pos >= width) {
    std::swap(line.current, line.last_good);
    std::swap(line.current_has_black, line.last_good_has_black);
    deliver(line, line.last_good, to);
  } else {
    if (line.pos > 0) report(line, Damage::short_line, to);
    deliver_padding(line, width, to);
    deliver(line, line.current, to);
  }
  start_line(line);
  line.reported = false;
}

// Whether the walk has met a bad code and looks for the next EOL.
bool looks_for_eol(const DecNode *node) {
  return std::any_of(std::begin(eoltree.node), std::end(eoltree.node),
                     [node](const DecNode &other) { return &other == node; });
}

}  // namespace

void start_mh_page(MhState &state, bool painted) {
  MhLine fresh;
  fresh.painted = painted;
  fresh.size = state.line.size;
  fresh.current = state.pixels.get();
  fresh.last_good = state.pixels.get() + fresh.size;
  if (fresh.size != 0) memset(fresh.current, 0, 2 * size_t{fresh.size});
  state.line = fresh;
  state.lost = 0;
}

// Works on a copy of the line, so that it can stay in registers.
void take_mh_leaves(MhState &state, const DecNode *const *first, const DecNode *const *last, int32_t width,
                    const LineSink &sink) {
  for (; first != last && !reserve_lines(state, width); first++) state.lost++;
  const LineSink to = sink;
  MhLine line = state.line;
  for (; first != last; first++) {
    const int32_t token = (*first)->value;
    if (line.given_up) {
      line.given_up = token != DEC_EOL;
      if (!line.given_up) line.reported = false;
    } else if (abs(token) <= LONGEST_TERMINATING) {
      take_run(line, token, width, to);
    } else if (abs(token) != DEC_EOL) {
      take_make_up(line, token, width, to);
    } else {
      take_eol(line, *first == &eoltree.node[EOLTREE_LEAF], width, to);
    }
  }
  state.line = line;
}

void decode_mh(MhState &state, std::span<const uint8_t> data, int32_t width, const LineSink &to) {
  report_lost_start(data, to);
  MhWalk walk(data);
  while (!walk.done()) {
    const std::span<const DecNode *const> leaves = walk.next();
    take_mh_leaves(state, leaves.data(), leaves.data() + leaves.size(), width, to);
  }
  MhLine &line = state.line;
  if (line.given_up) return;
  if (looks_for_eol(walk.node())) report(line, Damage::invalid_code, to);
  if (line.make_up != 0 || (line.pos > 0 && line.pos < width)) report(line, Damage::data_ends, to);
}

}  // namespace tolvane
