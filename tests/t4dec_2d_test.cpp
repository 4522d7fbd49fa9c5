#include <gtest/gtest.h>

#include "helpers/coded_page.h"
#include "helpers/tiff_pages.h"
#include "t4/t4dec.h"

using namespace tolvane;

TEST(T4dec2d, ChartsGiveTheirPixels) {
  for (const char *name : {"itu1", "itu4", "itu5", "itu7"}) {
    const Picture chart = load_chart(name);
    const std::vector<uint8_t> white(chart.stride());
    std::vector<uint8_t> mmr_lines = chart.pixels;
    mmr_lines.insert(mmr_lines.end(), white.begin(), white.end());
    EXPECT_EQ(decoded_lines(libtiff_encode(chart, TiffCoding::g3_2d), COMP_MR), chart.pixels) << name;
    EXPECT_EQ(decoded_lines(libtiff_encode(chart, TiffCoding::g4), COMP_MMR), mmr_lines) << name;
  }
}
