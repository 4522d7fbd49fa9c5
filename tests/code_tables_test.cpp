// The codes here are the test's own copy of ITU-T T.4 tables 2, 3a and 3b.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>

#include "t4/dectbls.h"
#include "t4/enctbls.h"

using namespace tolvane;

namespace {

constexpr const char *white =
    "00110101 000111 0111 1000 1011 1100 1110 1111 10011 10100 00111 01000 001000 000011 110100 110101 101010 "
    "101011 0100111 0001100 0001000 0010111 0000011 0000100 0101000 0101011 0010011 0100100 0011000 00000010 "
    "00000011 00011010 00011011 00010010 00010011 00010100 00010101 00010110 00010111 00101000 00101001 00101010 "
    "00101011 00101100 00101101 00000100 00000101 00001010 00001011 01010010 01010011 01010100 01010101 00100100 "
    "00100101 01011000 01011001 01011010 01011011 01001010 01001011 00110010 00110011 00110100 11011 10010 "
    "010111 0110111 00110110 00110111 01100100 01100101 01101000 01100111 011001100 011001101 011010010 "
    "011010011 011010100 011010101 011010110 011010111 011011000 011011001 011011010 011011011 010011000 "
    "010011001 010011010 011000 010011011 00000001000 00000001100 00000001101 000000010010 000000010011 "
    "000000010100 000000010101 000000010110 000000010111 000000011100 000000011101 000000011110 000000011111 "
    "000000000001";
constexpr const char *black =
    "0000110111 010 11 10 011 0011 0010 00011 000101 000100 0000100 0000101 0000111 00000100 00000111 000011000 "
    "0000010111 0000011000 0000001000 00001100111 00001101000 00001101100 00000110111 00000101000 00000010111 "
    "00000011000 000011001010 000011001011 000011001100 000011001101 000001101000 000001101001 000001101010 "
    "000001101011 000011010010 000011010011 000011010100 000011010101 000011010110 000011010111 000001101100 "
    "000001101101 000011011010 000011011011 000001010100 000001010101 000001010110 000001010111 000001100100 "
    "000001100101 000001010010 000001010011 000000100100 000000110111 000000111000 000000100111 000000101000 "
    "000001011000 000001011001 000000101011 000000101100 000001011010 000001100110 000001100111 0000001111 "
    "000011001000 000011001001 000001011011 000000110011 000000110100 000000110101 0000001101100 0000001101101 "
    "0000001001010 0000001001011 0000001001100 0000001001101 0000001110010 0000001110011 0000001110100 "
    "0000001110101 0000001110110 0000001110111 0000001010010 0000001010011 0000001010100 0000001010101 "
    "0000001011010 0000001011011 0000001100100 0000001100101 00000001000 00000001100 00000001101 000000010010 "
    "000000010011 000000010100 000000010101 000000010110 000000010111 000000011100 000000011101 000000011110 "
    "000000011111 000000000001";
constexpr const char *modes = "0001 001 1 010 000010 0000010 011 000011 0000011 0000000000011 0000000000010";

std::vector<std::string> split_codes(const std::string &list) {
  std::istringstream in(list);
  return {std::istream_iterator<std::string>(in), {}};
}

/// Walks `bits` from `node`; the walk of a code must meet no leaf before its last bit.
const DecNode *walk(const DecNode *node, const std::string &bits) {
  for (size_t n = 0; n < bits.size(); n++) {
    EXPECT_TRUE(n == 0 || node->value == DEC_INNER) << bits << " has a leaf after bit " << n;
    node = node->link[bits[n] - '0'];
  }
  return node;
}

struct Colour {
  const char *codes;
  int32_t sign;
  const DecTree<213> &own, &other;
  const std::array<EncCode, EncTabSize> &encoder;
};
const Colour colours[] = {{white, 1, whitetree, blacktree, encwhite}, {black, -1, blacktree, whitetree, encblack}};

}  // namespace

TEST(CodeTables, EveryRunCodeIsInItsTreeAndItsTable) {
  for (const Colour &colour : colours) {
    const std::vector<std::string> codes = split_codes(colour.codes);
    ASSERT_EQ(codes.size(), 105U);
    for (size_t n = 0; n < codes.size(); n++) {
      const int32_t run = static_cast<int32_t>(n < 64 ? n : 64 * (n - 63));
      const DecNode *leaf = walk(colour.own.node, codes[n]);
      EXPECT_EQ(leaf->value, n == 104 ? DEC_EOL : colour.sign * run) << codes[n];
      const auto &next = n == 104 ? whitetree : n < 64 ? colour.other : colour.own;
      EXPECT_TRUE(leaf->link[0] == &next.node[1] && leaf->link[1] == &next.node[2]) << codes[n];

      const EncCode &entry = colour.encoder[n];
      ASSERT_EQ(entry.length, codes[n].size());
      for (uint32_t bit = 0; bit < entry.length; bit++)
        EXPECT_EQ(entry.code >> bit & 1, static_cast<uint32_t>(codes[n][bit] - '0')) << codes[n];
    }
  }
}

TEST(CodeTables, FillAndBadCodesAreLinks) {
  for (const Colour &colour : colours) {
    for (size_t zeros : {11, 12, 19, 500})
      EXPECT_EQ(walk(colour.own.node, std::string(zeros, '0') + "1")->value, DEC_EOL) << zeros;
    for (size_t zeros : {8, 9, 10})
      EXPECT_EQ(walk(colour.own.node, std::string(zeros, '0') + "1"), eoltree.node) << zeros;
  }
  for (const char *bits : {"1", "01", "00000000001", "111101"}) EXPECT_EQ(walk(eoltree.node, bits), eoltree.node);
  EXPECT_EQ(walk(eoltree.node, "01000000000001"), &eoltree.node[12]);
  EXPECT_EQ(walk(eoltree.node, std::string(40, '0') + "1"), &eoltree.node[12]);
}

TEST(CodeTables, NodesAreNumberedBreadthFirst) {
  for (const Colour &colour : colours) {
    std::vector<const DecNode *> met = {&colour.own.node[0]};
    for (size_t n = 0; n < met.size(); n++) {
      EXPECT_EQ(met[n], &colour.own.node[n]);
      if (met[n]->value != DEC_INNER) continue;
      for (const DecNode *child : met[n]->link)
        if (child != met[n] && child != eoltree.node) met.push_back(child);
    }
    EXPECT_EQ(met.size(), 213U);
  }
}

TEST(CodeTables, ModeCodes) {
  const std::vector<std::string> codes = split_codes(modes);
  for (size_t n = 0; n < codes.size(); n++) {
    EXPECT_EQ(walk(dec2d_tree.node, codes[n])->value, static_cast<int32_t>(n)) << codes[n];
    EXPECT_EQ(walk(mr_mode_tree.node, codes[n])->value, static_cast<int32_t>(n)) << codes[n];
    ASSERT_EQ(enc2D[n].length, codes[n].size());
    for (uint32_t bit = 0; bit < enc2D[n].length; bit++)
      EXPECT_EQ(enc2D[n].code >> bit & 1, static_cast<uint32_t>(codes[n][bit] - '0')) << codes[n];
    EXPECT_EQ(walk(mmr_mode_tree.node, codes[n].substr(0, 12))->value, static_cast<int32_t>(n < 9 ? n : 10))
        << codes[n];
  }
  for (size_t zeros = 6; zeros <= 10; zeros++) {
    EXPECT_EQ(walk(dec2d_tree.node, std::string(zeros, '0') + "1"), dec2d_tree.node) << zeros;
    EXPECT_EQ(walk(mmr_mode_tree.node, std::string(zeros, '0') + "1")->value, DEC2D_NO_CODE) << zeros;
  }
  EXPECT_EQ(walk(dec2d_tree.node, std::string(30, '0') + "1"), &dec2d_tree.node[DEC2D_TAG_NODE]);
  EXPECT_EQ(walk(mmr_mode_tree.node, std::string(11, '0') + "1")->value, 10);
}
