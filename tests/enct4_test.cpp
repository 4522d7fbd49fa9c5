#include "t4/enct4.h"

#include <gtest/gtest.h>

#include <random>

#include "helpers/encoded_page.h"
#include "t4/line.h"

using namespace tolvane;

namespace {

template <int32_t comp_type, int32_t resolution>
int32_t g3(getdata_fn get, putdata_fn put) {
  return encode_g3_fax(get, put, comp_type, resolution);
}

struct Case {
  const char *what;
  int32_t (*coder)(getdata_fn, putdata_fn);
  std::vector<Batch> batches;
  int32_t result;
  std::vector<uint16_t> words;
  std::string message = "";
  int refused_put = 0;
};

bool same_as_libtiff(const Picture &page) {
  std::vector<uint8_t> theirs = libtiff_encode(page, TiffCoding::g4);
  theirs.resize((theirs.size() + 1) / 2 * 2);
  return encoded_page(page, COMP_MMR) == std::string(theirs.begin(), theirs.end());
}

bool libtiff_reads(const Picture &page, int32_t comp_type, TiffCoding coding) {
  const std::string data = encoded_page(page, comp_type);
  return libtiff_decode({data.begin(), data.end()}, coding, page.width, page.height) == page;
}

}  // namespace

TEST(Encoder, GivesTheWordsAndResultsWorkedOutByHand) {
  const auto white = [](int32_t lines) { return Batch{std::string(static_cast<size_t>(216 * lines), 0), lines, 216}; };
  const Batch black_start{'\x80' + std::string(215, 0), 1, 216}, narrow{"", 1, 1};
  const Batch dots{std::string(216 * 50, '\x55'), 50, 216};
  const std::string changed_size = "enct4_MMR: Line size changed for MMR encoding. Can't do that!\n";
  // In MR a white line is 0x5800, 0x2B36 with an EOL of tag 1 and 0x2800, V(0), with one of tag 0.
  const std::vector<uint16_t> fine = {0x5800, 0x2B36, 0x2800, 0x2800, 0x2800, 0x5800, 0x2B36, 0x2800};
  for (const Case &c : std::vector<Case>{
           {"MH, white", g3<0, 1>, {white(1)}, -7, {0x2800, 0x159B}},
           {"MH, pixel 0 black", g3<0, 1>, {black_start}, -7, {0xC800, 0x832A, 0x0005}},
           {"MH, 8 white pixels, then the rest", g3<0, 1>, {narrow}, -7, {0x9800, 0x4D0D}},
           {"MR, fine, three batches", g3<1, 1>, {white(2), white(0), white(4)}, -7, fine},
           {"MR, not fine", g3<1, 3>, {white(4)}, -7, {0x5800, 0x2B36, 0x2800, 0x5800, 0x2B36, 0x2800}},
           {"MMR, white", enct4_MMR, {white(1)}, -7, {0x1001, 0x0100}},
           {"MH, refused", g3<0, 1>, {dots}, -3, {}, "", 1},
           {"MH, last word refused", g3<0, 1>, {white(1)}, -7, {0x2800}, "", 2},
           {"no such coding", g3<2, 1>, {white(1)}, 1, {}},
           {"MMR, other size", g3<3, 1>, {white(1), narrow}, 1, {}, changed_size},
       }) {
    SCOPED_TRACE(c.what);
    testing::internal::CaptureStdout();
    const Encoded encoded = encode_batches(c.coder, c.batches, c.refused_put);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.message);
    EXPECT_EQ(encoded.result, c.result);
    EXPECT_EQ(encoded.words, c.words);
  }
}

TEST(Encoder, AgreesWithLibtiffButForLinesThatStartBlackUnderWhite) {
  std::vector<Picture> pages;
  // The margin: libtiff has no room for a first white run of 0 and 1728 runs after it.
  for (uint32_t run = 1; run <= 65; run++)
    pages.push_back(drawn(1728, 8, [&](uint32_t x, uint32_t y) { return (x + y * y) / run % 2 == 0 && x < 1726; }));
  pages.push_back(drawn(2560, 41, [](uint32_t x, uint32_t y) { return x < 64 * y; }));  // all make-up codes
  std::mt19937 random(7);
  for (const uint32_t rarity : {2u, 3u, 9u, 60u})
    pages.push_back(drawn(1728, 60, [&](uint32_t, uint32_t) { return random() % rarity == 0; }));
  for (const char *chart : {"itu1", "itu4", "itu5", "itu7"}) pages.push_back(load_chart(chart));

  int differing = 0;
  for (const Picture &page : pages) {
    const int differing_before = differing;
    for (uint32_t y = 0; y + 1 < page.height; y++) {
      if (same_as_libtiff(rows_of(page, y, 2))) continue;
      EXPECT_TRUE(*page.row(y + 1) & 0x80 && !(*page.row(y) & 0x80)) << "row " << y + 1;
      differing++;
    }
    EXPECT_TRUE(libtiff_reads(page, COMP_MH, TiffCoding::g3_1d));
    if (differing > differing_before) continue;
    EXPECT_TRUE(libtiff_reads(page, COMP_MR, TiffCoding::g3_2d));
    EXPECT_TRUE(libtiff_reads(page, COMP_MMR, TiffCoding::g4));
  }
  EXPECT_EQ(differing, 34) << "of 10290 pairs of rows";
}
