#include "view/rasteriser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "helpers/plain_picture.h"
#include "t4/line.h"

using namespace tolvane;

static constexpr size_t MARGIN = 4096;  // on both sides of the bitmap, to show a write outside it

// Every line that the bitmap holds and some beyond, with runs of all lengths, of no length and past the line's end.
TEST(Rasteriser, PaintsAndShowsTheSameBitsAsThePlainRules) {
  std::mt19937 random(1728);
  for (int setting = 0; setting < 24; setting++) {
    PlainPicture picture{setting / 8, setting / 2 % 4 * 90, setting % 2 == 1};
    std::vector<uint8_t> bytes(BITMAP_SIZE + 2 * MARGIN), expected = bytes;
    uint8_t *const block = bytes.data() + MARGIN;
    Reduced = picture.reduced;
    orientation = picture.orientation;
    High_res = picture.fine ? 3 : 0;
    start_picture(block, scale_sizes(Reduced).Xsize, scale_sizes(Reduced).Ysize);
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
    std::copy(picture.block.begin(), picture.block.end(), expected.begin() + MARGIN);
    EXPECT_TRUE(bytes == expected) << setting;

    for (int32_t length : {0, 7, 2376, 10000}) {
      const Extents extents = page_extents(length);
      ASSERT_EQ(extents.Dx, picture.width(length));
      ASSERT_EQ(extents.Dy, picture.height(length));
      std::vector<uint8_t> row(static_cast<size_t>(extents.Dx + 7) / 8);
      for (int32_t k = 0; k < extents.Dy; k += 97) {
        copy_picture_row(block, extents, k, row.data());
        for (int32_t j = 0; j < 8 * static_cast<int32_t>(row.size()); j++) {
          const bool black = row[static_cast<size_t>(j / 8)] & 0x80 >> j % 8;
          ASSERT_EQ(black, j < extents.Dx && picture.black(length, k, j)) << setting << ", " << k << ", " << j;
        }
      }
    }
  }
}
