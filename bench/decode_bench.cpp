// Decoding to lines: our decoders hand each line to a callback that puts it in its place, libtiff decodes the same page
// into the same place.
#include <string.h>

#include <algorithm>
#include <memory>

#include "bench.h"
#include "t4/t4dec.h"

namespace {

std::vector<uint8_t> pixels;
size_t filled;

void keep_line(const uint8_t *line, uint32_t size) {
  if (filled + size > pixels.size()) return;
  memcpy(pixels.data() + filled, line, size);
  filled += size;
}

struct Coding {
  const char *row;
  double target;
  TiffCoding tiff;
  int32_t comp_type;
};
const Coding codings[] = {{"decode MH", 0.90, TiffCoding::g3_1d, tolvane::COMP_MH},
                          {"decode MR", 0.95, TiffCoding::g3_2d, tolvane::COMP_MR},
                          {"decode MMR", 0.75, TiffCoding::g4, tolvane::COMP_MMR}};

void add() {
  for (const Chart &chart : charts()) pixels.resize(std::max(pixels.size(), chart.picture.pixels.size()));
  for (const Coding &coding : codings) {
    for (const Chart &chart : charts()) {
      const auto data = std::make_shared<std::vector<uint8_t>>(libtiff_encode(chart.picture, coding.tiff));
      const auto page = std::make_shared<TiffPage>(*data, coding.tiff, chart.picture.width, chart.picture.height);
      const auto ours = [data, comp_type = coding.comp_type] {
        filled = 0;
        tolvane::t4dec(data->data(), static_cast<uint32_t>(data->size()), comp_type, nullptr, keep_line, nullptr);
      };
      compare(coding.row, coding.target, chart.name, ours, [page] { page->decode(pixels.data(), pixels.size()); });
    }
  }
}

const Benchmarks decode(add);

}  // namespace
