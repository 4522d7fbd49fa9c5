// Encoding from lines in memory to code in memory; libtiff's file is open before the clock runs and writes nothing.
#include <string.h>
#include <tiffio.h>

#include <memory>

#include "bench.h"
#include "t4/enct4.h"
#include "t4/line.h"

namespace {

const Picture *page;
bool page_read;
std::vector<uint16_t> code(1 << 20);
size_t words;

int32_t get_page(const uint8_t **lines, int32_t *count) {
  if (page_read) return -1;
  page_read = true;
  *lines = page->pixels.data();
  *count = static_cast<int32_t>(page->height);
  return static_cast<int32_t>(page->stride());
}

int32_t put_words(const uint16_t *from, int32_t count) {
  if (words + static_cast<size_t>(count) > code.size()) return -1;
  memcpy(code.data() + words, from, 2 * static_cast<size_t>(count));
  words += static_cast<size_t>(count);
  return count;
}

using Tiff = std::shared_ptr<TIFF>;

Tiff open_nowhere(const Picture &picture, uint16_t compression, uint32_t options) {
  const auto read = [](thandle_t, void *, tmsize_t) -> tmsize_t { return 0; };
  const auto write = [](thandle_t, void *, tmsize_t size) { return size; };
  const auto seek = [](thandle_t, toff_t offset, int) { return offset; };
  const auto close = [](thandle_t) { return 0; };
  const auto size = [](thandle_t) -> toff_t { return 0; };
  const Tiff tiff(TIFFClientOpen("nowhere", "w", nullptr, read, write, seek, close, size, nullptr, nullptr), TIFFClose);
  TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, picture.width);
  TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, picture.height);
  TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, picture.height);
  TIFFSetField(tiff.get(), TIFFTAG_YRESOLUTION, 196.0);  // K is 4
  TIFFSetField(tiff.get(), TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, compression);
  if (options) TIFFSetField(tiff.get(), TIFFTAG_GROUP3OPTIONS, options);
  return tiff;
}

struct Coding {
  const char *row;
  double target;
  int32_t comp_type;
  uint16_t compression;
  uint32_t options;
};
constexpr Coding codings[] = {
    {"encode MH", 0.36, tolvane::COMP_MH, COMPRESSION_CCITTFAX3, 0},
    {"encode MR", 0.35, tolvane::COMP_MR, COMPRESSION_CCITTFAX3, GROUP3OPT_2DENCODING},
    {"encode MMR", 0.25, tolvane::COMP_MMR, COMPRESSION_CCITTFAX4, 0},
};

void add() {
  for (const Coding &coding : codings) {
    for (const Chart &chart : charts()) {
      const auto ours = [&picture = chart.picture, comp_type = coding.comp_type] {
        page = &picture;
        page_read = false;
        words = 0;
        tolvane::encode_g3_fax(get_page, put_words, comp_type, 1);
      };
      const auto libtiffs = [pixels = chart.picture.pixels,
                             tiff = open_nowhere(chart.picture, coding.compression, coding.options)]() mutable {
        TIFFWriteEncodedStrip(tiff.get(), 0, pixels.data(), static_cast<tmsize_t>(pixels.size()));
      };
      compare(coding.row, coding.target, chart.name, ours, libtiffs);
    }
  }
}

const Benchmarks encode(add);

}  // namespace
