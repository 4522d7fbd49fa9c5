// Pictures on their way into foreign formats.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "formats/metadata.h"

namespace tolvane {

/// A black and white picture, or one in grey for PNG.
struct PagePicture {
  int32_t width = 0;
  int32_t height = 0;  ///< 1 at least
  double x_dpi = 0;    ///< pixels an inch
  double y_dpi = 0;
  std::vector<uint8_t> rows = {};  ///< (width + 7) / 8 bytes a row; pixel 0 is bit 7 of byte 0, 1 is black
  std::vector<uint8_t> grey = {};  ///< instead of `rows`: one byte per pixel, 0 black to 255 white
  std::vector<uint8_t> code = {};  ///< of the rows, in a format that encodes them
  HeaderValues header = {};        ///< values that the format may have a place for
  int32_t bad_lines = 0;           ///< damaged lines, and the most of them in a row
  int32_t consecutive_bad_lines = 0;
  double page_width = 0;  ///< inches of the page that the picture is on, where a format has such; 0: as the picture
  double page_height = 0;

  size_t row_bytes() const { return (static_cast<size_t>(width) + 7) / 8; }
};

/// How a picture is coded in TIFF.
enum class TiffCoding : int32_t { g3, g4 };

}  // namespace tolvane
