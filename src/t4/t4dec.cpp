// The choice of the coding, and MH. MR and MMR are in t4dec_2d, the trees that all of them walk in dectbls.
//
// MH never sets its walker back: the links of a leaf lead into the tree of the next code, so one pointer is the whole
// state of the parse.

#include "t4/t4dec.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "t4/bit_window.h"
#include "t4/dectbls.h"
#include "t4/t4dec_2d.h"

namespace tolvane {

uint32_t Debug = 0;

namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|t4dec|9|01|1|0|0|11/22/26|21:10:00";

/// The line that MH is assembling. It outlives the decode, so that a last EOL can still be fed.
struct MhLine {
  int32_t pos = 0;            ///< pixels of the line so far
  int err = 0;                ///< the line was given up: ignore everything up to the next EOL
  uint32_t bufsize = 0;       ///< bytes of a line in `buf`, 0 for none
  int32_t cooked_runlen = 0;  ///< the make-up code that waits for its terminating code, 0 for none
  uint8_t *buf = nullptr;     ///< owned: the line and the last good one, padded
  uint8_t *current = nullptr;
  uint8_t *last_good = nullptr;
  int told = 1;  ///< no damage of this line is left to tell; nothing before the first EOL is damage
};

MhLine mh;

/// Sees to it that the lines have the size that `Pix_width` asks for.
int have_line_buffer() {
  const uint32_t size = (static_cast<uint32_t>(std::max(Pix_width, 0)) + 7) / 8;
  if (mh.bufsize != 0 && mh.bufsize == size) return 1;
  const size_t bytes = 2 * size_t{size} + LINE_PADDING;
  uint8_t *buf = static_cast<uint8_t *>(realloc(mh.buf, bytes));
  if (buf == nullptr) {
    fprintf(stderr, "putrunlen: allocation error, %d\n", errno);
    free(mh.buf);
    mh.buf = nullptr;
    mh.bufsize = 0;
    return 0;
  }
  memset(buf, 0, bytes);
  mh.buf = mh.current = buf;
  mh.last_good = buf + size;
  mh.bufsize = size;
  return 1;
}

void tell(MhLine &line, Damage kind) {
  if (!line.told) report_damage(kind);
  line.told = 1;
}

void start_line(MhLine &line) {
  line.pos = 0;
  line.cooked_runlen = 0;
  memset(line.current, 0, line.bufsize);
}

void end_line(MhLine &line, int32_t width, const LineCallbacks &to) {
  if (line.pos >= width) {
    std::swap(line.current, line.last_good);
    if (to.found_line != nullptr) to.found_line(line.last_good, line.bufsize);
  } else {
    if (line.pos > 0) tell(line, Damage::short_line);
    if (to.found_run != nullptr) to.found_run(width - line.pos);
    if (to.found_line != nullptr) to.found_line(line.current, line.bufsize);
  }
  if (to.found_eol != nullptr) to.found_eol();
  start_line(line);
  line.told = 0;
}

/// A run consumer sees the good part and white after it, a line consumer the last good line again.
void give_up_line(MhLine &line, int32_t width, const LineCallbacks &to) {
  tell(line, Damage::overflow);
  if (line.pos < width && to.found_run != nullptr) to.found_run(width - line.pos);
  if (to.found_line != nullptr) to.found_line(line.last_good, line.bufsize);
  if (to.found_eol != nullptr) to.found_eol();
  start_line(line);
  line.err = 1;
}

/// Takes leaves in the order in which they were reached. Works on a copy of the state, so that it can stay in
/// registers. Paints whether or not anybody asks for lines here: the EOL that ends the line may come from another call.
void take_leaves(const DecNode *const *first, const DecNode *const *last, const LineCallbacks &to) {
  while (first != last && !have_line_buffer()) first++;
  const int32_t width = Pix_width;
  MhLine line = mh;
  for (; first != last; first++) {
    const int32_t token = (*first)->value;
    if (line.err) {
      line.err = token != DEC_EOL;
      if (!line.err) line.told = 0;
    } else if (abs(token) <= 63) {
      const int32_t run = line.cooked_runlen + token;
      if (abs(run) > width - line.pos) {
        give_up_line(line, width, to);
        continue;
      }
      if (run < 0) paint_black(line.current, line.pos, -run);
      line.pos += abs(run);
      line.cooked_runlen = 0;
      if (to.found_run != nullptr) to.found_run(run);
    } else if (line.cooked_runlen != 0) {
      give_up_line(line, width, to);
    } else if (abs(token) != DEC_EOL) {
      line.cooked_runlen = token;
    } else {
      if (*first == &eoltree.node[EOLTREE_LEAF]) tell(line, Damage::invalid_code);
      end_line(line, width, to);
    }
  }
  mh = line;
}

/// Whether the walk has met a bad code and looks for the next EOL.
int hunting(const DecNode *node) {
  return std::any_of(std::begin(eoltree.node), std::end(eoltree.node),
                     [node](const DecNode &other) { return &other == node; });
}

constexpr size_t BLOCK = 64;  ///< bytes walked before their leaves are acted on

/// Walks `count` bytes from `node` on, eight steps each, and adds the leaves reached to `leaves`. A leaf is written
/// down at every step and counted only if it is one, so that no branch has to be guessed for it.
///
/// @return the node reached
const DecNode *walk_block(const DecNode *node, const uint8_t *data, size_t count, const DecNode **&leaves) {
  for (const uint8_t *end = data + count; data != end; data++) {
    uint32_t byte = *data;
#pragma GCC unroll 8
    for (int bit = 0; bit < 8; bit++, byte >>= 1) {
      node = node->link[byte & 1];
      *leaves = node;
      leaves += node->value != DEC_INNER;
    }
  }
  return node;
}

}  // namespace

int t4dec(const uint8_t *data, uint32_t length, int32_t comp_type, found_run_fn found_run, found_line_fn found_line,
          found_eol_fn found_eol) {
  switch (comp_type) {
    case COMP_MH:
      return t4dec_MH(data, length, found_run, found_line, found_eol);
    case COMP_MR:
      return t4dec_MR(data, length, found_run, found_line, found_eol);
    case COMP_MMR:
      return t4dec_MMR(data, length, Pix_width, found_run, found_line, found_eol);
    default:
      return 0;
  }
}

int t4dec_MH(const uint8_t *data, uint32_t length, found_run_fn found_run, found_line_fn found_line,
             found_eol_fn found_eol) {
  const LineCallbacks to = {found_run, found_line, found_eol};
  putrunlen(1, 0, found_run, found_line, found_eol);
  report_lost_start(data, length);
  const DecNode *node = eoltree.node;
  while (length > 0) {
    const uint32_t count = std::min<uint32_t>(length, BLOCK);
    const DecNode *leaves[8 * BLOCK + 1];
    const DecNode **end = leaves;
    node = walk_block(node, data, count, end);
    take_leaves(leaves, end, to);
    data += count;
    length -= count;
  }
  if (!mh.err && hunting(node)) tell(mh, Damage::invalid_code);
  if (!mh.err && (mh.cooked_runlen != 0 || (mh.pos > 0 && mh.pos < Pix_width))) tell(mh, Damage::data_ends);
  return 1;
}

void putrunlen(int reset, int32_t run, found_run_fn found_run, found_line_fn found_line, found_eol_fn found_eol) {
  if (reset) {
    free(mh.buf);
    mh = MhLine();
    return;
  }
  const DecNode leaf = {{nullptr, nullptr}, run};
  const DecNode *const leaves[] = {&leaf};
  take_leaves(leaves, leaves + 1, {found_run, found_line, found_eol});
}

void t4dec_set_debug(const char *list) {
  char copy[256];
  snprintf(copy, sizeof copy, "%s", list);
  char *rest = copy;
  while (const char *number = strsep(&rest, ","))
    if (*number != '\0') Debug |= 1U << (static_cast<uint32_t>(atoi(number)) % 32);
}

}  // namespace tolvane
