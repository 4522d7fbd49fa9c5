// Pictures as they are read, before they become lines of a fax.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "formats/metadata.h"
#include "io/report.h"

namespace tolvane {

constexpr int32_t FAX_WIDTH = 1728;           ///< pixels of a line
constexpr size_t LINE_BYTES = FAX_WIDTH / 8;  ///< bytes of a line bitmap: pixel 0 is bit 7 of byte 0, 1 is black

/// A picture as it was read, with the rows from the top: in grey, or black and white. One of `grey` and `bits` is
/// empty.
struct SourcePicture {
  int32_t width = 0;
  int32_t height = 0;
  double x_dpi = 0;  ///< 0 in both: unknown
  double y_dpi = 0;
  std::vector<uint8_t> grey = {};  ///< one byte per pixel, 0 black to 255 white, no padding
  std::vector<uint8_t> bits = {};  ///< `row_bytes` bytes per row; pixel 0 is bit 7 of byte 0, 1 is black

  HeaderValues header = {};  ///< what the file says about itself; with its first page only

  /// If set, finishes the picture, in any thread: pixels, and the size when it is turned. DONE; DAMAGED or FAILED after
  /// messages.
  std::function<Status(SourcePicture &page)> load = {};

  size_t row_bytes() const { return (static_cast<size_t>(width) + 7) / 8; }
};

}  // namespace tolvane
