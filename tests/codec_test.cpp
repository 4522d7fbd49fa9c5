#include "t4/codec.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "helpers/encoded_page.h"
#include "helpers/tiff_pages.h"

using namespace tolvane;

namespace {

constexpr std::pair<TiffCoding, int32_t> CODINGS[] = {
    {TiffCoding::g3_1d, COMP_MH}, {TiffCoding::g3_2d, COMP_MR}, {TiffCoding::g4, COMP_MMR}};

std::vector<uint8_t> encoded(Encoder &encoder, const Picture &page, int32_t coding, CodeForm form) {
  std::vector<uint8_t> code;
  const CodeSink sink{&code, [](void *to, const uint8_t *bytes, size_t count) {
                        auto &bytes_of_page = *static_cast<std::vector<uint8_t> *>(to);
                        bytes_of_page.insert(bytes_of_page.end(), bytes, bytes + count);
                        return true;
                      }};
  EXPECT_EQ(encoder.begin(coding, 1, sink, form), EncodeResult::done);
  const auto size = static_cast<int32_t>(page.stride());
  for (uint32_t row = 0; row < page.height; row += 7)
    EXPECT_EQ(encoder.add(page.row(row), size, static_cast<int32_t>(std::min(7U, page.height - row))),
              EncodeResult::done);
  EXPECT_EQ(encoder.end(), EncodeResult::done);
  return code;
}

// The page without the white line that MH puts before it and MMR after it.
Picture decoded(Decoder &decoder, std::span<const uint8_t> code, int32_t coding, uint32_t width, CodeForm form) {
  Picture page{width, 0, {}};
  LineSink sink;
  sink.context = &page.pixels;
  sink.found_line = [](void *to, const uint8_t *line, uint32_t size) {
    auto &pixels = *static_cast<std::vector<uint8_t> *>(to);
    pixels.insert(pixels.end(), line, line + size);
  };
  EXPECT_EQ(decoder.decode(code, coding, static_cast<int32_t>(width), sink, {.form = form}), DecodeResult::done);
  decoder.end_line(sink);
  const auto size = static_cast<ptrdiff_t>(page.stride());
  if (coding == COMP_MH) page.pixels.erase(page.pixels.begin(), page.pixels.begin() + size);
  if (coding == COMP_MMR) page.pixels.erase(page.pixels.end() - size, page.pixels.end());
  page.height = static_cast<uint32_t>(page.pixels.size()) / page.stride();
  return page;
}

std::vector<Picture> charts_and_random_pages() {
  std::vector<Picture> pages;
  for (const char *chart : {"itu1", "itu4", "itu5", "itu7"}) pages.push_back(load_chart(chart));
  std::mt19937 random(5);
  for (const uint32_t rarity : {2u, 5u, 40u, 3000u})
    for (const uint32_t width : {8u, 56u, 1728u, 2560u}) {
      bool black = true;  // many lines start black, under white and under black
      pages.push_back(drawn(width, 60, [&](uint32_t, uint32_t) { return black ^= random() % rarity == 0; }));
    }
  return pages;
}

}  // namespace

TEST(Codec, WritesTheStandardFormAsLibtiffDoesAndReadsIt) {
  Encoder encoder;
  Decoder decoder;
  for (const Picture &page : charts_and_random_pages())
    for (const auto &[tiff, coding] : CODINGS) {
      SCOPED_TRACE(std::to_string(page.width) + " " + std::to_string(coding));
      const std::vector<uint8_t> code = encoded(encoder, page, coding, CodeForm::standard);
      EXPECT_TRUE(code == libtiff_encode(page, tiff));
      EXPECT_TRUE(decoded(decoder, code, coding, page.width, CodeForm::standard) == page);
    }
  const Picture wide = drawn(8000, 9, [](uint32_t x, uint32_t y) { return x > 900 * y; });
  EXPECT_TRUE(encoded(encoder, wide, COMP_MMR, CodeForm::standard) == libtiff_encode(wide, TiffCoding::g4));
}

TEST(Codec, WorksOnSeveralPagesAtOnce) {
  std::vector<Picture> pages;
  for (const char *chart : {"itu1", "itu4", "itu5", "itu7"}) pages.push_back(rows_of(load_chart(chart), 900, 150));
  std::vector<std::thread> threads;
  for (size_t first = 0; first < pages.size(); ++first)
    threads.emplace_back([&pages, first] {
      Encoder encoder;
      Decoder decoder;
      for (size_t n = 0; n < 3 * pages.size(); ++n) {
        const Picture &page = pages[(first + n) % pages.size()];
        const int32_t coding = CODINGS[n % 3].second;
        const CodeForm form = n % 2 ? CodeForm::stored : CodeForm::standard;
        EXPECT_TRUE(decoded(decoder, encoded(encoder, page, coding, form), coding, page.width, form) == page);
      }
    });
  for (std::thread &thread : threads) thread.join();
}

TEST(Codec, ReportsWhyAPageCannotBeEncoded) {
  const auto refuse = [](void *, const uint8_t *, size_t) { return false; };
  const std::vector<uint8_t> lines(432);
  Encoder encoder;
  EXPECT_EQ(encoder.begin(COMP_UMMR, 0, {nullptr, refuse}), EncodeResult::unknown_coding);
  for (const int32_t coding : {COMP_MH, COMP_MR, COMP_MMR}) {
    EXPECT_EQ(encoder.begin(coding, 0, {nullptr, refuse}), EncodeResult::done);
    EXPECT_EQ(encoder.add(lines.data(), MAX_LINE_BYTES + 1, 0), EncodeResult::line_size);
    EXPECT_EQ(encoder.add(lines.data(), 216, 2), EncodeResult::done);
    EXPECT_EQ(encoder.add(lines.data(), 215, 1), EncodeResult::line_size);
    EXPECT_EQ(encoder.end(), EncodeResult::refused);
  }
}
