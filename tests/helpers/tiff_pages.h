// Pages through libtiff, the independent half of every codec test: the charts' pixels, and coding to and from memory.
#pragma once

#include <tiffio.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// A black and white picture. Rows of `stride` bytes, pixel 0 is bit 7 of byte 0, 1 is black.
struct Picture {
  uint32_t width = 0;   ///< pixels, a multiple of 8
  uint32_t height = 0;  ///< rows
  std::vector<uint8_t> pixels;

  uint32_t stride() const { return width / 8; }
  const uint8_t *row(uint32_t n) const { return pixels.data() + size_t{n} * stride(); }
  bool operator==(const Picture &) const = default;
};

enum class TiffCoding { g3_1d, g3_2d, g4 };  ///< MH, MR (K = 4) and MMR, as libtiff names them

/// The pixels of the chart "itu1", "itu4", "itu5" or "itu7": 1728 x 2376.
Picture load_chart(const std::string &name);

/// The picture of every `step`-th row: 2 makes normal resolution of fine.
Picture every_row(const Picture &picture, uint32_t step);

/// The coded page that libtiff makes of the picture, first bit of a code in bit 0, EOL before every line in MH and MR,
/// no RTC.
std::vector<uint8_t> libtiff_encode(const Picture &picture, TiffCoding coding);

/// A page of coded data as libtiff has it open: what a benchmark decodes again and again.
class TiffPage {
 public:
  /// @param data  coded page, first bit of a code in bit 0
  TiffPage(const std::vector<uint8_t> &data, TiffCoding coding, uint32_t width, uint32_t height);

  /// Decodes the page into `picture`, whose pixels are `size` bytes; gives the bytes decoded, below 0 for an error.
  tmsize_t decode(uint8_t *pixels, size_t size) const {
    return TIFFReadEncodedStrip(tiff_.get(), 0, pixels, static_cast<tmsize_t>(size));
  }

 private:
  std::unique_ptr<TIFF, void (*)(TIFF *)> tiff_;
};

/// The picture that libtiff decodes; rows that it could not decode are white.
Picture libtiff_decode(const std::vector<uint8_t> &data, TiffCoding coding, uint32_t width, uint32_t height);
