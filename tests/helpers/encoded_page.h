// Pages through our own encoder, in memory, and pictures to feed it with.
#pragma once

#include <functional>

#include "helpers/tiff_pages.h"
#include "t4/enct4.h"

struct Batch {
  std::string lines;
  int32_t count, size;
};
struct Encoded {
  int32_t result;
  std::vector<uint16_t> words;
};

/// Runs an entry point of the encoder over the batches; the input ends with -7. Call `refused_put` of the output
/// callback gives -3.
Encoded encode_batches(const std::function<int32_t(tolvane::getdata_fn, tolvane::putdata_fn)> &coder,
                       std::vector<Batch> batches, int refused_put = 0);

/// The bytes of a page of fine resolution, as they stand in a fax file.
std::string encoded_page(const Picture &picture, int32_t comp_type);

/// `count` rows of a picture from row `first` on.
Picture rows_of(const Picture &picture, uint32_t first, uint32_t count);

/// A picture of `height` rows: row y has the pixel x black where `black(x, y)` says so.
template <typename Black>
Picture drawn(uint32_t width, uint32_t height, Black black) {
  Picture picture{width, height, std::vector<uint8_t>(width / 8 * height)};
  for (uint32_t y = 0; y < height; y++)
    for (uint32_t x = 0; x < width; x++)
      if (black(x, y)) picture.pixels[y * picture.stride() + x / 8] |= static_cast<uint8_t>(0x80 >> x % 8);
  return picture;
}
