#include "view/rasteriser.h"

#include "helpers/coded_page.h"
#include "helpers/plain_picture.h"
#include "t4/t4dec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace tolvane;

namespace {

// A block with a margin on both sides, so that a write outside it shows, and a page started in it.
struct Block {
  static constexpr size_t MARGIN = 4096;
  std::vector<uint8_t> bytes = std::vector<uint8_t>(BITMAP_SIZE + 2 * MARGIN);
  uint8_t *const data = bytes.data() + MARGIN;

  explicit Block(const PlainPicture &picture) {
    Reduced = picture.reduced;
    orientation = picture.orientation;
    High_res = picture.fine ? 3 : 0;
    start_picture(data, scale_sizes(Reduced).Xsize, scale_sizes(Reduced).Ysize);
  }
  bool holds(const PlainPicture &picture) const {
    std::vector<uint8_t> expected(bytes.size());
    std::copy(picture.block.begin(), picture.block.end(), expected.begin() + MARGIN);
    return bytes == expected;
  }
};

}  // namespace

TEST(Rasteriser, PutsThePixelWhereTheTableSays) {
  struct {
    PlainPicture settings;
    size_t byte;
    uint8_t mask;
  } rows[] = {
      {{0, 0, false}, 1080, 0x20},    {{0, 0, true}, 540, 0x20},     {{1, 0, false}, 432, 0x40},
      {{0, 90, false}, 375397, 0x20}, {{1, 90, true}, 166460, 0x10}, {{2, 180, false}, 188135, 0x02},
      {{0, 270, true}, 1307, 0x10},   {{1, 270, false}, 1015, 0x08}, {{2, 270, false}, 653, 0x10},
  };
  for (auto &[settings, byte, mask] : rows) {
    Block block(settings);
    for (int line = 0; line < 10; line++) found_eol();
    found_run(5);
    found_run(-1);
    settings.block[byte] = mask;
    EXPECT_TRUE(block.holds(settings)) << byte;
  }
}

// Every line that the bitmap holds and some beyond, with runs of all lengths, of no length and past the line's end.
TEST(Rasteriser, PaintsAndShowsTheSameBitsAsThePlainRules) {
  std::mt19937 random(1728);
  for (int setting = 0; setting < 24; setting++) {
    PlainPicture picture{setting / 8, setting / 2 % 4 * 90, setting % 2 == 1};
    Block block(picture);
    const int32_t lines = picture.fine ? 6980 : 3492;
    for (int32_t cy = 0; cy < lines; cy++, found_eol()) {
      for (int32_t x = 0; x < LINE_PIXELS;) {
        const auto run = static_cast<int32_t>(random() % 8 ? random() % 40 : random() % 1800);
        const bool black = random() % 2;
        found_run(black ? -run : run);
        if (black) picture.paint(cy, x, run);
        x += run;
      }
    }
    EXPECT_EQ(picture_lines(), lines);
    EXPECT_TRUE(block.holds(picture)) << setting;

    for (int32_t length : {0, 7, 2376, 10000}) {
      const Extents extents = page_extents(length);
      ASSERT_EQ(extents.Dx, picture.width(length));
      ASSERT_EQ(extents.Dy, picture.height(length));
      std::vector<uint8_t> row(static_cast<size_t>(extents.Dx + 7) / 8);
      for (int32_t k = 0; k < extents.Dy; k += 97) {
        copy_picture_row(block.data, extents, k, row.data());
        for (int32_t j = 0; j < 8 * static_cast<int32_t>(row.size()); j++) {
          const bool black = row[static_cast<size_t>(j / 8)] & 0x80 >> j % 8;
          ASSERT_EQ(black, j < extents.Dx && picture.black(length, k, j)) << setting << ", " << k << ", " << j;
        }
      }
    }
  }
}

TEST(Rasteriser, ClearsTheBlockAndDropsAnOddByte) {
  const std::vector<uint8_t> page = coded("EOL w0 b2 EOL 00000000");  // 5 bytes, and one
  const struct {
    uint32_t length;
    int32_t coding, lines;
    bool blank;
  } rows[] = {{0, COMP_MH, 0, true}, {1, COMP_MH, 0, true},  {4, COMP_UMMR, 0, true}, {4, -1, 0, true},
              {2, COMP_MH, 1, true}, {5, COMP_MH, 1, false}, {6, COMP_MH, 2, false}};
  for (const auto &row : rows) {
    const PlainPicture upright{0, 0, false};
    Block block(upright);
    std::fill_n(block.data, BITMAP_SIZE, uint8_t{0xff});
    decode_picture(row.length ? page.data() : nullptr, row.length, row.coding, block.data, 864, 3488);
    EXPECT_EQ(picture_lines(), row.lines) << row.length;
    EXPECT_EQ(block.holds(upright), row.blank) << row.length;
  }
}
