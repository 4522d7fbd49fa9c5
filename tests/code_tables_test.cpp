// The shapes of the trees, and that they and the encoder's tables hold the same codes. The codes themselves are held
// against libtiff, in the tests of encoder and decoder.
#include <gtest/gtest.h>

#include "t4/dectbls.h"
#include "t4/enctbls.h"

using namespace tolvane;

namespace {

std::string bits_of(const EncCode &entry) {
  std::string bits;
  for (uint32_t bit = 0; bit < entry.length; bit++) bits += entry.code >> bit & 1 ? '1' : '0';
  return bits;
}

std::string zeros_and_one(size_t zeros) {
  return std::string(zeros, '0') + "1";
}

/// Walks `bits` from `node`; the walk of a code must meet no leaf before its last bit.
const DecNode *walk(const DecNode *node, const std::string &bits) {
  for (size_t n = 0; n < bits.size(); n++) {
    EXPECT_TRUE(n == 0 || node->value == DEC_INNER) << bits << " has a leaf after bit " << n;
    node = node->link[bits[n] - '0'];
  }
  return node;
}

}  // namespace

TEST(CodeTables, RunTreesHoldTheEncodersCodesFillAndBadCodes) {
  const struct {
    int32_t sign;
    const DecTree<213> &own, &other;
    const std::array<EncCode, EncTabSize> &encoder;
  } colours[] = {{1, whitetree, blacktree, encwhite}, {-1, blacktree, whitetree, encblack}};
  for (const auto &[sign, own, other, encoder] : colours) {
    for (int32_t n = 0; n < EncTabSize; n++) {
      const DecNode *leaf = walk(own.node, bits_of(encoder[static_cast<size_t>(n)]));
      EXPECT_EQ(leaf->value, n == 104 ? DEC_EOL : sign * (n < 64 ? n : 64 * (n - 63)));
      const auto &next = n == 104 ? whitetree : n < 64 ? other : own;
      EXPECT_TRUE(leaf->link[0] == &next.node[1] && leaf->link[1] == &next.node[2]) << n;
    }
    for (const size_t zeros : {8, 9, 10}) EXPECT_EQ(walk(own.node, zeros_and_one(zeros)), eoltree.node) << zeros;
    EXPECT_EQ(walk(own.node, zeros_and_one(500))->value, DEC_EOL);
  }
  for (const char *bits : {"1", "01", "00000000001", "111101"}) EXPECT_EQ(walk(eoltree.node, bits), eoltree.node);
  for (const std::string &bits : {"01" + zeros_and_one(11), zeros_and_one(40)})
    EXPECT_EQ(walk(eoltree.node, bits), &eoltree.node[EOLTREE_LEAF]);
}

TEST(CodeTables, ModeTreesHoldTheEncodersCodes) {
  for (int32_t n = 0; n < Enc2DSize; n++) {
    const std::string code = bits_of(enc2D[static_cast<size_t>(n)]);
    EXPECT_EQ(walk(dec2d_tree.node, code)->value, n);
    EXPECT_EQ(walk(mr_mode_tree.node, code)->value, n);
    EXPECT_EQ(walk(mmr_mode_tree.node, code.substr(0, 12))->value, n < 9 ? n : 10);
  }
  for (size_t zeros = 6; zeros <= 10; zeros++) {
    EXPECT_EQ(walk(dec2d_tree.node, zeros_and_one(zeros)), dec2d_tree.node) << zeros;
    EXPECT_EQ(walk(mmr_mode_tree.node, zeros_and_one(zeros))->value, DEC2D_NO_CODE) << zeros;
  }
  EXPECT_EQ(walk(dec2d_tree.node, zeros_and_one(30)), &dec2d_tree.node[DEC2D_TAG_NODE]);
}
