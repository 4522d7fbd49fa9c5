// Pictures as they are read, before they become lines of a fax.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "formats/metadata.h"
#include "formats/turning.h"
#include "io/report.h"

namespace tolvane {

constexpr int32_t FAX_WIDTH = 1728;           ///< pixels of a line
constexpr size_t LINE_BYTES = FAX_WIDTH / 8;  ///< bytes of a line bitmap: pixel 0 is bit 7 of byte 0, 1 is black

/// Receives a row of grey: a byte per pixel, 0 black to 255 white.
using row_sink = std::function<void(const uint8_t *row)>;

/// Passes on all rows of a grey picture, from the top. May be called again, in any thread: a picture is not held as a
/// whole, since a small file can claim a large one. DONE; DAMAGED or FAILED after messages.
using row_source = std::function<Status(const row_sink &sink)>;

/// A picture as it was read, in grey or black and white: one of `grey` and `bits` is empty.
struct SourcePicture {
  int32_t width = 0;  ///< of this and the next three: as the picture is seen
  int32_t height = 0;
  double x_dpi = 0;  ///< 0 in both: unknown
  double y_dpi = 0;
  row_source grey = {};            ///< rows as they are stored
  std::vector<uint8_t> bits = {};  ///< `row_bytes` bytes per row from the top; pixel 0 is bit 7 of byte 0, 1 is black

  int32_t number = 1;  ///< of the page in its file, pages that could not be read counted

  Turn turn = {};  ///< from the stored rows of a grey picture to those that are seen

  bool rotated = false;  ///< it is turned as the user wants it, and `find_turn` finds no other turn

  HeaderValues header = {};  ///< what the file says about itself; with its first page only

  /// If set, makes `bits` or finishes the picture, in any thread, and turns it. DONE; DAMAGED or FAILED after
  /// messages.
  std::function<Status(SourcePicture &page)> load = {};

  size_t row_bytes() const { return (static_cast<size_t>(width) + 7) / 8; }
};

}  // namespace tolvane
