// The page cycle of the viewer: clear the bitmap, decode an MH page and rasterise it, at every scale and orientation.
// libtiff only decodes the same page.
#include <algorithm>
#include <memory>

#include "bench.h"
#include "t4/t4dec.h"
#include "view/rasteriser.h"

namespace {

using namespace tolvane;

std::vector<uint8_t> block(BITMAP_SIZE);
std::vector<uint8_t> pixels;

void run_cycle(const std::vector<uint8_t> &data, int32_t scale, int32_t degrees) {
  Reduced = scale;
  orientation = degrees;
  High_res = 1;
  const ScaleSizes sizes = scale_sizes(scale);
  decode_picture(data.data(), static_cast<uint32_t>(data.size()), COMP_MH, block.data(), sizes.Xsize, sizes.Ysize);
}

struct Page {
  std::string chart;
  std::vector<uint8_t> data;
  TiffPage tiff;
};

std::vector<std::shared_ptr<Page>> coded_charts() {
  std::vector<std::shared_ptr<Page>> pages;
  for (const auto &[name, picture] : charts()) {
    const std::vector<uint8_t> data = libtiff_encode(picture, TiffCoding::g3_1d);
    pages.push_back(
        std::make_shared<Page>(Page{name, data, TiffPage(data, TiffCoding::g3_1d, picture.width, picture.height)}));
    pixels.resize(std::max(pixels.size(), picture.pixels.size()));
  }
  return pages;
}

void add() {
  const char *const names[] = {"100%", "75%", "50%"};
  const auto pages = coded_charts();
  for (const int32_t scale : {0, 1, 2}) {
    for (const int32_t degrees : {0, 90, 180, 270}) {
      const std::string row = std::string("page cycle MH ") + names[scale] + ", " + std::to_string(degrees);
      const double target = degrees % 180 == 0 ? 1.0 : 1.2;
      for (const auto &page : pages) {
        compare(
            row, target, page->chart, [=] { run_cycle(page->data, scale, degrees); },
            [page] { page->tiff.decode(pixels.data(), pixels.size()); });
      }
    }
  }
}

const Benchmarks page_cycle(add);

}  // namespace
