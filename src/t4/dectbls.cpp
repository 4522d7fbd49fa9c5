// The decoder's trees; the run trees are made from the code lists at compile time.
//
// The trees point into one another, so that a walk goes from one to the next by itself. What looks like an omission is
// meant: a run tree has no node for 8, 9 or 10 zeros and a one, and this is its one way to answer a bad code.

#include "t4/dectbls.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "t4/codes.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|dectbls|9|01|2|0|0|11/23/26|06:28:52";

constexpr size_t RUN_NODES = 213;
using RunTree = DecTree<RUN_NODES>;
constexpr size_t MODE_NODES = 27;
using ModeTree = DecTree<MODE_NODES + 1>;

// Codes by prefix, in the order they were added. Child 0 is none, since no node leads to the root.
struct Trie {
  std::array<std::array<size_t, 2>, RUN_NODES> child = {};
  std::array<int32_t, RUN_NODES> value = {};
  size_t nodes = 1;

  constexpr Trie() { value.fill(DEC_INNER); }

  constexpr void add(const char *code, int32_t code_value) {
    size_t node = 0;
    for (; *code != '\0'; code++) {
      size_t &next = child[node][*code == '1'];
      if (next == 0) next = nodes++;
      node = next;
    }
    value[node] = code_value;
  }
};

// @param sign  1 for white runs, -1 for black ones
constexpr Trie run_trie(const RunCodes &codes, int32_t sign) {
  Trie trie;
  int32_t run = 0;
  for (const char *code : codes.terminating) trie.add(code, sign * run++);
  for (const char *code : codes.make_up) trie.add(code, sign * run), run += 64;
  for (const char *code : EXTENDED_CODES) trie.add(code, sign * run), run += 64;
  trie.add(EOL_CODE, DEC_EOL);
  return trie;
}

// The tree whose root gives a leaf its links: a terminating code ends a run, a make-up code does not.
constexpr const RunTree &tree_after(int32_t value, const RunTree &own, const RunTree &other) {
  if (value == DEC_EOL) return whitetree;
  return value > -64 && value < 64 ? other : own;
}

// Numbers the nodes breadth-first, and links what is missing: a zero after 11 zeros is one more fill bit, a one after
// 8 to 10 zeros is a bad code.
constexpr RunTree run_tree(const Trie &trie, const RunTree &own, const RunTree &other) {
  std::array<size_t, RUN_NODES> order = {};
  RunTree tree = {};
  size_t numbered = 1;
  for (size_t n = 0; n < RUN_NODES; n++) {
    DecNode &node = tree.node[n];
    node.value = trie.value[order[n]];
    for (size_t bit = 0; bit < 2; bit++) {
      if (node.value != DEC_INNER) {
        node.link[bit] = tree_after(node.value, own, other).node + 1 + bit;
      } else if (const size_t child = trie.child[order[n]][bit]; child != 0) {
        node.link[bit] = own.node + numbered;
        order[numbered++] = child;
      } else {
        node.link[bit] = bit == 0 ? own.node + n : eoltree.node;
      }
    }
  }
  return tree;
}

constexpr DecTree<13> eol_chain() {
  DecTree<13> tree = {};
  for (size_t n = 0; n < 12; n++) tree.node[n] = {{eoltree.node + n + 1, eoltree.node}, DEC_INNER};
  tree.node[11] = {{eoltree.node + 11, eoltree.node + 12}, DEC_INNER};
  tree.node[EOLTREE_LEAF] = {{whitetree.node + 1, whitetree.node + 2}, DEC_EOL};
  return tree;
}

// The tree that the decoders walk, from dec2d_tree, which must be complete.
constexpr ModeTree working_tree(const ModeTree &self, const DecTree<MODE_NODES> &stored) {
  ModeTree tree = {};
  for (size_t n = 0; n < MODE_NODES; n++) {
    tree.node[n].value = stored.node[n].value;
    for (size_t bit = 0; bit < 2 && stored.node[n].value == DEC_INNER; bit++) {
      const DecNode *to = stored.node[n].link[bit];
      tree.node[n].link[bit] = self.node + (to == stored.node ? MODE_NODES : static_cast<size_t>(to - stored.node));
    }
  }
  tree.node[DEC2D_TAG_NODE].value = DEC_EOL;
  tree.node[MODE_NODES].value = DEC2D_NO_CODE;
  return tree;
}

constexpr DecNode mode(size_t zero, size_t one) {
  return {{dec2d_tree.node + zero, dec2d_tree.node + one}, DEC_INNER};
}
constexpr DecNode mode_leaf(int32_t value) {
  return {{nullptr, nullptr}, value};
}

constexpr size_t count_leaves(const RunTree &tree) {
  return static_cast<size_t>(std::count_if(std::begin(tree.node), std::end(tree.node),
                                           [](const DecNode &node) { return node.value != DEC_INNER; }));
}
constexpr bool is(const DecNode &node, const DecNode &zero, const DecNode &one, int32_t value) {
  return node.link[0] == &zero && node.link[1] == &one && node.value == value;
}

}  // namespace

constexpr RunTree whitetree = run_tree(run_trie(WHITE_CODES, 1), whitetree, blacktree);
constexpr RunTree blacktree = run_tree(run_trie(BLACK_CODES, -1), blacktree, whitetree);
constexpr DecTree<13> eoltree = eol_chain();

// The ones of nodes 18 to 22 lead back to the root: no such code is defined, the extension prefix 0000001 among them.
constexpr DecTree<MODE_NODES> dec2d_tree = {{
    mode(2, 1),     // root
    mode_leaf(2),   // 1: V(0)
    mode(6, 3),     // 0
    mode(5, 4),     // 01
    mode_leaf(6),   // 011: VR(1)
    mode_leaf(3),   // 010: VL(1)
    mode(8, 7),     // 00
    mode_leaf(1),   // 001: horizontal
    mode(10, 9),    // 000
    mode_leaf(0),   // 0001: pass
    mode(14, 11),   // 0000
    mode(13, 12),   // 00001
    mode_leaf(7),   // 000011: VR(2)
    mode_leaf(4),   // 000010: VL(2)
    mode(18, 15),   // 00000
    mode(17, 16),   // 000001
    mode_leaf(8),   // 0000011: VR(3)
    mode_leaf(5),   // 0000010: VL(3)
    mode(19, 0),    // 6 zeros
    mode(20, 0),    // 7 zeros
    mode(21, 0),    // 8 zeros
    mode(22, 0),    // 9 zeros
    mode(23, 0),    // 10 zeros
    mode(23, 24),   // 11 zeros or more: fill
    mode(26, 25),   // EOL: the tag is next
    mode_leaf(9),   // EOL, tag 1
    mode_leaf(10),  // EOL, tag 0
}};

constexpr ModeTree mode_tree = working_tree(mode_tree, dec2d_tree);

static_assert(count_leaves(whitetree) == 105 && count_leaves(blacktree) == 105);
static_assert(is(whitetree.node[0], whitetree.node[1], whitetree.node[2], DEC_INNER));
static_assert(is(whitetree.node[22], blacktree.node[1], blacktree.node[2], 2));
static_assert(is(whitetree.node[70], whitetree.node[1], whitetree.node[2], 192));
static_assert(is(whitetree.node[117], whitetree.node[169], eoltree.node[0], DEC_INNER));
static_assert(is(whitetree.node[193], whitetree.node[193], whitetree.node[202], DEC_INNER));
static_assert(is(whitetree.node[202], whitetree.node[1], whitetree.node[2], DEC_EOL) && whitetree.node[144].value == 0);
static_assert(is(blacktree.node[33], blacktree.node[43], eoltree.node[0], DEC_INNER));
static_assert(is(blacktree.node[85], blacktree.node[85], blacktree.node[128], DEC_INNER));
static_assert(is(blacktree.node[128], whitetree.node[1], whitetree.node[2], DEC_EOL));
static_assert(is(blacktree.node[84], whitetree.node[1], whitetree.node[2], 0));
static_assert(blacktree.node[43].link[0] == &blacktree.node[58] && blacktree.node[58].link[0] == &blacktree.node[85]);

}  // namespace tolvane
