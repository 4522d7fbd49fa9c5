#include "t4/bitmanip.h"

#include <gtest/gtest.h>

#include <random>

#include "t4/change_list.h"

using namespace tolvane;

// The rules of the search, pixel by pixel.
static int next_trans(const std::vector<uint8_t> &line, int position, int colour) {
  const int width = static_cast<int>(8 * line.size());
  const auto is_wanted = [&](int n) { return (line[static_cast<size_t>(n / 8)] >> (7 - n % 8) & 1) != colour; };
  if (position > 0 && position >= width - 1) return width;
  int n = std::max(position, 0);
  while (position > 0 && n < width && is_wanted(n)) n++;
  while (n < width && !is_wanted(n)) n++;
  return n;
}

TEST(Bitmanip, NextTransAgreesWithTheRulesPixelByPixel) {
  std::mt19937 random(4);
  for (int round = 0; round < 4000; round++) {
    // an exact heap block: a read past the line is seen by the address sanitizer
    std::vector<uint8_t> line(1 + random() % 30, round % 2 ? 0xFF : 0x00);
    for (size_t n = random() % 6; n > 0; n--)
      line[random() % line.size()] ^= static_cast<uint8_t>(round % 3 ? 1U << random() % 8 : random());
    const auto size = static_cast<uint32_t>(line.size());
    for (int16_t position = -1; position <= static_cast<int>(8 * size) + 1; position++)
      for (int colour = 0; colour <= (position < 0 ? 0 : 1); colour++) {
        int16_t found = -7;
        ASSERT_EQ(bit_next_trans(line.data(), size, position, &found, colour), 1 - colour);
        ASSERT_EQ(found, next_trans(line, position, colour)) << position << " " << colour << " " << size;
      }
  }
}

// The walk of encoder and decoder along the elements of a reference line, for every a0 and colour that it may come to.
TEST(Bitmanip, TheWalkAlongChangingElementsFindsWhatNextTransFinds) {
  std::mt19937 random(6);
  for (int round = 0; round < 2000; round++) {
    std::vector<uint8_t> line(1 + random() % 20, round % 2 ? 0xFF : 0x00);
    for (size_t n = random() % 12; n > 0; n--) line[random() % line.size()] ^= static_cast<uint8_t>(random());
    const auto size = static_cast<uint32_t>(line.size());
    const auto width = static_cast<int32_t>(8 * size);
    std::vector<int32_t> storage(ChangeList::room(width));
    ChangeList changes(storage.data());
    for (int32_t x = 0, colour = 0; x < width; x++)
      if ((line[static_cast<size_t>(x / 8)] >> (7 - x % 8) & 1) != colour) changes.change_at(x), colour ^= 1;
    changes.finish<CodeForm::stored>(width);

    const int32_t *b = changes.first();
    int colour = 0;
    for (int32_t a0 = -1; a0 < width; a0 += static_cast<int32_t>(random() % (round % 3 ? 3 : 20))) {
      int16_t b1 = 0, b2 = 0;
      bit_next_trans(line.data(), size, static_cast<int16_t>(a0), &b1, colour);
      bit_next_trans(line.data(), size, b1, &b2, 1 - colour);
      b = find_b1<CodeForm::stored>(b, a0);
      ASSERT_EQ(b[0], b1) << a0 << " " << colour;
      ASSERT_EQ(b[1], b2) << a0 << " " << colour;
      if (a0 < 0) a0 = 0;
      if (random() % 2) b = turn_b1(b, a0), colour ^= 1;
    }
  }
}

TEST(Bitmanip, FlipTurnsBytesRoundAndFillSetsBlackPixels) {
  uint8_t bytes[] = {0x01, 0xF0, 0x1D, 0x55, 0, 0};
  bit_flip_bits(bytes, 3);
  bit_fill_bits(bytes, -2, 3, 1), bit_fill_bits(bytes, 30, 11, 2), bit_fill_bits(bytes, 0, 48, 0);
  EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + 6), (std::vector<uint8_t>{0xE0, 0x0F, 0xB8, 0x57, 0xFF, 0x80}));
}
