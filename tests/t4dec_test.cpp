#include "t4/t4dec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>

#include "helpers/coded_page.h"
#include "helpers/encoded_page.h"

using namespace tolvane;

namespace {

struct Stream {
  const char *what;
  int32_t comp_type;
  const char *codes, *calls;
  int32_t width = 1728;
};

const Stream streams[] = {
    {"nothing before the first EOL", COMP_MH, "w5 b3 w20", "!6 =1"},
    {"no EOL after the last line", COMP_MH, "EOL w1728 w0", "+1728 [] / +1728 =1"},
    {"overflow repeats the last good line", COMP_MH, "EOL w0 b3 w1664 w61 EOL w5 b1 EOL w1664 w36 b29 w5 EOL w5 b1 EOL",
     "+1728 [] / 0 -3 +1725 [0-2] / +5 -1 !1 +1722 [5-5] / +1700 !0 +28 [0-2] / +5 -1 !1 +1722 [5-5] / =1"},
    {"make-up code and EOL", COMP_MH, "EOL w64 EOL w5 b2 EOL EOL", "+1728 [] / !0 +1728 [] / +1728 [] / =1"},
    {"bad code", COMP_MH, "EOL w5 b2 000000001 1111 EOL", "+1728 [] / +5 -2 !2 +1721 [5-6] / =1"},
    {"data end in a line", COMP_MH, "EOL w5 b3", "+1728 [] / +5 -3 !5 =1"},

    {"ten zeros are no EOL", COMP_MH, "0000000000 1 EOL w1728 w0 EOL", "!6 +1728 [] / +1728 [] / =1"},

    {"2-D line", COMP_MR, "E1 w5 b3 w1664 w56 E0 V0 VR2 V0 0000", "+5 -3 +1720 [5-7] / +5 -5 +1718 [5-9] / =1"},
    {"white is found at pixel 0 itself", COMP_MR, "E1 w2 b6 w1664 w56 E0 VL2 VR3 V0 0000",
     "+2 -6 +1720 [2-7] / 0 -3 +1725 [0-2] / =1"},
    {"bad line, then up to the next 1-D line", COMP_MR,
     "E1 w2 b1 w1664 w61 E0 H w64 w36 b1664 b36 V0 E0 V0 E0 V0 E1 w1728 w0 0000",
     "+2 -1 +1725 [2-2] / +100 !0 +1628 [2-2] / !3 !3 +1728 [] / =1"},
    {"two EOLs blank the reference line", COMP_MR, "E1 w5 b3 w1664 w56 E1 E0 V0 0000",
     "+5 -3 +1720 [5-7] / / +1728 [] / =1"},
    {"make-up code goes over an EOL", COMP_MR, "E1 w5 b64 E1 w3 b2 0000 0000",
     "+5 !1 [] / +67 -2 !5 +1659 [67-68] / =1"},
    {"no mode code", COMP_MR, "E1 w1728 w0 E0 0000001 V0 0000", "+1728 [] / !2 +1728 [] / =1"},
    {"six EOLs end the page", COMP_MR, "E1 w1728 w0 E1 E1 E1 E0 E1 E1 E1 w5 b3 E1", "+1728 [] / / / / / =1"},
    {"modes after a full line", COMP_MR, "E1 w1728 w0 E0 V0 V0 V0 P E0 V0 VR1 0000 0000",
     "+1728 [] / +1728 0 0 0 [] / +1728 !0 [] / =1"},
    {"last byte of horizontal mode is dropped", COMP_MR, "E1 w1728 w0 E0 H w5 b3", "+1728 [] / =1"},

    {"line of all modes", COMP_MMR, "H w5 b3 H w2 b10 V0 VL3 VR1 P V0 EOL EOL 0",
     "+5 -3 +2 -10 +1708 [5-7 10-19] / +2 -7 +11 +1708 [2-8] / [] / =1"},
    {"two changes at one pixel", COMP_MMR, "H w5 b0 V0 V0 EOL EOL 0", "+5 0 +1723 [] / +1728 [] / [] / =1"},
    {"first code fails", COMP_MMR, "V0 VR1 V0 V0", "+1728 [] / !4 =0"},
    {"EOFB in a line", COMP_MMR, "H w5 b3 EOL EOL 0", "+5 -3 !1 [5-7] / =1"},
    {"data end in a line", COMP_MMR, "H w5 b3 00000000", "+5 -3 !5 [5-7] / =1"},
    {"last byte of horizontal mode is read", COMP_MMR, "H w5 b3 V0", "+5 -3 +1720 [5-7] / [] / =1"},
    {"eight bits left for horizontal mode", COMP_MMR, "V0 V0 V0 V0 V0 H 11110000",
     "+1728 [] / +1728 [] / +1728 [] / +1728 [] / +1728 [] / +1728 [] / +1728 [] / +1728 [] / +1728 [] / [] / =1"},
    {"also between its runs", COMP_MMR, "H w5 b3 V0 H w2 V0 V0", "+5 -3 +1720 [5-7] / +2 -6 +1720 [2-7] / [] / =1"},

    {"make-up codes outlive the call", COMP_MMR, "H w64 00000000", "[] / =1"},
    {"and count in the next", COMP_MMR, "H w3 b2 V0 00000000", "+67 -2 +1659 [67-68] / [] / =1"},

    {"make-up codes before a failure", COMP_MMR, "H w64 00000000", "[] / =1"},
    {"which forgets them", COMP_MMR, "VR1 00000000", "!4 =0"},
    {"so that a run is as coded", COMP_MMR, "H w3 b2 V0 00000000", "+3 -2 +1723 [3-4] / [] / =1"},

    {"odd width is cut", COMP_MMR, "H w0 b20 V0 V0 EOL EOL 0", "0 -20 [0-15] / 0 -16 !1 [0-15] / =1", 20},

    {"unknown", 4, "EOL w5 EOL", "=0"},
};

constexpr std::pair<TiffCoding, int32_t> codings[] = {
    {TiffCoding::g3_1d, COMP_MH}, {TiffCoding::g3_2d, COMP_MR}, {TiffCoding::g4, COMP_MMR}};

// The lines as the decoder gives them: a white one first from MH, last from MMR, and MH keeps back its last.
std::vector<uint8_t> expected_lines(Picture picture, int32_t comp_type) {
  const std::vector<uint8_t> white(picture.stride());
  auto &pixels = picture.pixels;
  if (comp_type == COMP_MH) pixels.resize(pixels.size() - white.size());
  if (comp_type != COMP_MR)
    pixels.insert(comp_type == COMP_MH ? pixels.begin() : pixels.end(), white.begin(), white.end());
  return pixels;
}

// Rows of `lines` between the part equal from the top and the part equal from the bottom.
size_t spoilt_rows(const std::vector<uint8_t> &lines, const std::vector<uint8_t> &good) {
  const auto top = std::mismatch(lines.begin(), lines.end(), good.begin(), good.end()).first - lines.begin();
  const auto bottom = std::mismatch(lines.rbegin(), lines.rend(), good.rbegin(), good.rend()).first - lines.rbegin();
  return lines.size() / 216 -
         static_cast<size_t>(std::min<ptrdiff_t>(top / 216 + bottom / 216, std::ssize(lines) / 216));
}

}  // namespace

TEST(T4dec, CallsForHandMadeStreams) {
  for (const Stream &stream : streams)
    EXPECT_EQ(decoded(coded(stream.codes), stream.comp_type, stream.width), stream.calls)
        << stream.comp_type << " " << stream.what;
}

TEST(T4dec, GivesThePixelsOfChartsAndOfEveryRunLength) {
  std::vector<Picture> pages{drawn(2560, 2560, [](uint32_t x, uint32_t y) { return x > y; })};
  for (const char *chart : {"itu1", "itu4", "itu5", "itu7"}) pages.push_back(load_chart(chart));
  for (const Picture &page : pages)
    for (auto [tiff, comp_type] : codings)
      EXPECT_TRUE(decoded_lines(libtiff_encode(page, tiff), comp_type, static_cast<int32_t>(page.width)) ==
                  expected_lines(page, comp_type))
          << page.width << " " << comp_type;
}

TEST(T4dec, OneWrongBitCostsFewLines) {
  const Picture rows = every_row(load_chart("itu4"), 24);
  std::mt19937 random(9);
  for (int round = 0; round < 100; round++)
    for (auto [tiff, comp_type] : {codings[0], codings[1]}) {
      std::vector<uint8_t> data = libtiff_encode(rows, tiff);
      data[random() % data.size()] ^= static_cast<uint8_t>(1U << random() % 8);
      const std::vector<uint8_t> lines = decoded_lines(data, comp_type), good = expected_lines(rows, comp_type);
      EXPECT_LE(spoilt_rows(lines, good), 4U) << comp_type << " " << round;
      EXPECT_LE(good.size() - lines.size(), 5U * 216) << comp_type << " " << round;
    }
}

TEST(T4dec, GarbageKeepsTheContract) {
  static int32_t pixels_of_line, lines_of_page;
  const auto count_run = [](int32_t run) { pixels_of_line += std::abs(run); };
  const auto check_line = [](const uint8_t *, uint32_t size) {
    EXPECT_EQ(size, (static_cast<uint32_t>(Pix_width) + 7) / 8);
  };
  const auto check_eol = [] {
    EXPECT_LE(std::exchange(pixels_of_line, 0), Pix_width);
    lines_of_page++;
  };
  const Picture rows = every_row(load_chart("itu7"), 60);
  std::mt19937 random(11);
  for (auto [tiff, comp_type] : codings) {
    const std::vector<uint8_t> page = libtiff_encode(rows, tiff);
    for (int round = 0; round < 1000; round++) {
      std::vector<uint8_t> data(page.begin(), page.begin() + static_cast<ptrdiff_t>(random() % page.size()));
      if (round % 2 == 0) data.resize(random() % 40);
      for (size_t n = random() % 9; n > 0 && !data.empty(); n--)
        data[random() % data.size()] = static_cast<uint8_t>(random());
      data.shrink_to_fit();
      t4dec_set_pixel_width(round % 3 ? 1728 : static_cast<int32_t>(8 * (1 + random() % 30)));
      pixels_of_line = lines_of_page = 0;
      const auto length = static_cast<uint32_t>(data.size());
      EXPECT_TRUE(t4dec(data.data(), length, comp_type, count_run, check_line, check_eol) == 1 || comp_type != COMP_MH);
      EXPECT_LE(lines_of_page, static_cast<int32_t>(8 * length) + 1);
    }
  }
}
