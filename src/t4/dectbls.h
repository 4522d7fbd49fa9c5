// The same codes as the decoder takes them: four trees that are walked one link per bit.
//
// The shape of the trees answers what a decoder would otherwise have to ask: fill bits are a link that leads back to
// its own node, a code that does not exist leads to the search for the next EOL, and the links of a leaf are those of
// the root that applies to the next code. So the walker has no dead end, and the run trees need no variable for the
// colour.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tolvane {

/// A prefix of a code, or a whole code.
struct DecNode {
  const DecNode *link[2];  ///< where a 0 bit and where a 1 bit leads
  int32_t value;           ///< DEC_INNER, DEC_EOL, a run (below 0 black) or, in `dec2d_tree`, a mode token 0 to 10
};

/// A tree of `size` nodes; `node[0]` is the root.
template <size_t size>
struct DecTree {
  DecNode node[size];
};

constexpr int32_t DEC_INNER = 12000;  ///< the walk goes on; every other value is a leaf
constexpr int32_t DEC_EOL = 9999;     ///< an EOL has been seen

/// Run codes of one colour (ITU-T T.4, tables 2, 3a and 3b). Nodes are numbered breadth-first, the child for a 0 bit
/// before the child for a 1 bit; node 0 is the root.
extern const DecTree<213> whitetree;
extern const DecTree<213> blacktree;

/// Finds 11 zeros and a one at any bit position; node 0 is the start.
extern const DecTree<13> eoltree;

constexpr size_t EOLTREE_LEAF = 12;  ///< the only leaf of `eoltree`

/// Mode codes (T.4, 4.2.1.3), with an EOL and its tag bit. Leaves have no links: the 2-D decoders set the walker back
/// themselves. The values: 0 pass, 1 horizontal, 2 V(0), 3 to 5 VL(1) to VL(3), 6 to 8 VR(1) to VR(3), 9 EOL with tag 1
/// (next line 1-D), 10 EOL with tag 0 (next line 2-D).
extern const DecTree<27> dec2d_tree;

constexpr size_t DEC2D_TAG_NODE = 24;  ///< the node of `dec2d_tree` after an EOL: the next bit is the tag

/// `dec2d_tree` as the decoders walk it, with the same numbers. DEC2D_TAG_NODE is a leaf of the value DEC_EOL: MR goes
/// on from there in `dec2d_tree`, MMR has no tag. Bits that are no mode code lead to one leaf more, of the value
/// DEC2D_NO_CODE, and not to the root, so that they can be reported.
extern const DecTree<28> mode_tree;

constexpr int32_t DEC2D_NO_CODE = 11;

}  // namespace tolvane
