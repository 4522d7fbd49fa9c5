#include "view/rasteriser.h"

#include "helpers/coded_page.h"
#include "helpers/fax_bytes.h"
#include "helpers/plain_picture.h"

#include "t4/t4dec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace tolvane;

namespace {

// A block with guards on both sides, so that a write outside it shows.
struct GuardedBlock {
  static constexpr size_t GUARD = 4096;
  static constexpr uint8_t UNTOUCHED = 0xa5;
  std::vector<uint8_t> bytes = std::vector<uint8_t>(BITMAP_SIZE + 2 * GUARD, UNTOUCHED);

  uint8_t *data() { return bytes.data() + GUARD; }
  void clear() { std::fill_n(data(), BITMAP_SIZE, uint8_t{0}); }
  bool guards_hold() const {
    const auto untouched = [](uint8_t byte) { return byte == UNTOUCHED; };
    return std::all_of(bytes.begin(), bytes.begin() + GUARD, untouched) &&
           std::all_of(bytes.end() - GUARD, bytes.end(), untouched);
  }
  bool holds(const std::vector<uint8_t> &picture) { return std::equal(picture.begin(), picture.end(), data()); }
};

void start(GuardedBlock &block, const PlainPicture &picture) {
  Reduced = picture.reduced;
  orientation = picture.orientation;
  High_res = picture.fine ? 3 : 0;
  const ScaleSizes sizes = scale_sizes(Reduced);
  start_picture(block.data(), sizes.Xsize, sizes.Ysize);
}

std::vector<PlainPicture> all_pictures() {
  std::vector<PlainPicture> pictures;
  for (int32_t reduced : {0, 1, 2}) {
    for (int32_t degrees : {0, 90, 180, 270}) {
      for (bool fine : {false, true}) pictures.push_back({reduced, degrees, fine});
    }
  }
  return pictures;
}

std::string name(const PlainPicture &p) {
  return "Reduced " + std::to_string(p.reduced) + ", " + std::to_string(p.orientation) + (p.fine ? ", fine" : "");
}

}  // namespace

TEST(Rasteriser, PutsThePixelWhereTheTableSays) {
  struct Row {
    PlainPicture settings;
    size_t byte;
    uint8_t mask;
  };
  const Row rows[] = {
      {{0, 0, false}, 1080, 0x20},    {{0, 0, true}, 540, 0x20},     {{1, 0, false}, 432, 0x40},
      {{0, 90, false}, 375397, 0x20}, {{1, 90, true}, 166460, 0x10}, {{2, 180, false}, 188135, 0x02},
      {{0, 270, true}, 1307, 0x10},   {{1, 270, false}, 1015, 0x08}, {{2, 270, false}, 653, 0x10},
  };
  for (const Row &row : rows) {
    GuardedBlock block;
    block.clear();
    start(block, row.settings);
    for (int line = 0; line < 10; line++) found_eol();
    found_run(5);
    found_run(-1);
    EXPECT_EQ(block.data()[row.byte], row.mask) << name(row.settings);
    block.data()[row.byte] = 0;
    EXPECT_TRUE(block.holds(row.settings.block)) << name(row.settings);
  }
}

// Every line that the bitmap holds and some beyond, with runs of all lengths, of no length and past the line's end.
TEST(Rasteriser, PaintsTheSameBitsAsThePlainRules) {
  std::mt19937 random(1728);
  for (PlainPicture &picture : all_pictures()) {
    GuardedBlock block;
    block.clear();
    start(block, picture);
    const int32_t lines = picture.fine ? 6980 : 3492;
    for (int32_t cy = 0; cy < lines; cy++) {
      for (int32_t x = 0; x < LINE_PIXELS;) {
        const auto run = static_cast<int32_t>(random() % 8 ? random() % 40 : random() % 1800);
        const bool is_black = random() % 2;
        found_run(is_black ? -run : run);
        if (is_black) picture.paint(cy, x, run);
        x += run;
      }
      found_eol();
    }
    EXPECT_EQ(picture_lines(), lines);
    EXPECT_TRUE(block.holds(picture.block)) << name(picture);
    EXPECT_TRUE(block.guards_hold()) << name(picture);
  }
}

TEST(Rasteriser, ShowsAWholePageAtEveryScaleAndOrientation) {
  const std::string coded = coded_chart("itu5", 1);
  for (PlainPicture &picture : all_pictures()) {
    GuardedBlock block;  // full of old bits
    start(block, picture);
    const ScaleSizes sizes = scale_sizes(Reduced);
    decode_picture(reinterpret_cast<const uint8_t *>(coded.data()), static_cast<uint32_t>(coded.size()), COMP_MMR,
                   block.data(), sizes.Xsize, sizes.Ysize);
    ASSERT_EQ(picture_lines(), picture.paint_page(coded, COMP_MMR));

    // A page that ends early or runs on past the bitmap has other extents over the same bits.
    for (int32_t lines : {0, 7, 2376, 10000}) {
      const Extents extents = page_extents(lines);
      ASSERT_EQ(extents.Dx, picture.width(lines));
      ASSERT_EQ(extents.Dy, picture.height(lines));
      std::vector<uint8_t> row(static_cast<size_t>(extents.Dx + 7) / 8, 0);
      for (int32_t k = 0; k < extents.Dy; k++) {
        copy_picture_row(block.data(), extents, k, row.data());
        for (int32_t j = 0; j < 8 * static_cast<int32_t>(row.size()); j++) {
          const bool black = row[static_cast<size_t>(j / 8)] & 0x80 >> j % 8;
          ASSERT_EQ(black, j < extents.Dx && picture.black(lines, k, j)) << name(picture) << ", " << k << ", " << j;
        }
      }
    }
    EXPECT_TRUE(block.guards_hold()) << name(picture);
  }
}

TEST(Rasteriser, BlanksTheBlockForAPageThatGivesNothing) {
  const std::vector<uint8_t> page = coded("EOL w0 b2 EOL 00000000");  // 5 bytes, and one
  struct Row {
    const char *what;
    uint32_t length;
    int32_t coding;
    int32_t lines;
    bool blank;
  };
  const Row rows[] = {
      {"no bytes", 0, COMP_MH, 0, true},           {"one byte", 1, COMP_MH, 0, true},
      {"uncompressed MMR", 4, COMP_UMMR, 0, true}, {"unknown coding", 4, -1, 0, true},
      {"the first EOL", 2, COMP_MH, 1, true},      {"an odd byte that would end the line", 5, COMP_MH, 1, false},
      {"both lines", 6, COMP_MH, 2, false},
  };
  GuardedBlock block;
  const PlainPicture upright{0, 0, false};
  for (const Row &row : rows) {
    start(block, upright);
    block.data()[BITMAP_SIZE - 1] = 0xff;
    decode_picture(row.length ? page.data() : nullptr, row.length, row.coding, block.data(), 864, 3488);
    EXPECT_EQ(picture_lines(), row.lines) << row.what;
    EXPECT_EQ(block.holds(upright.block), row.blank) << row.what;
  }
}
