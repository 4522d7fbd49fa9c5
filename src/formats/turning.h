// Black and white pictures on their side, upside down or mirrored.
#pragma once

#include <cstdint>
#include <vector>

namespace tolvane {

/// How a picture is turned: rows and columns are exchanged first, then the picture is mirrored from left to right, then
/// from top to bottom.
struct Turn {
  bool transpose = false, mirror = false, flip = false;

  bool is_none() const { return !transpose && !mirror && !flip; }
};

/// One turn after another, as one.
Turn then(const Turn &first, const Turn &second);

/// The turn that shows a picture upright.
///
/// @param orientation  a value of the TIFF tag Orientation, 1 to 8; any other counts as 1
Turn upright(uint16_t orientation);

/// A turn to the right, by 0, 90, 180 or 270 degrees.
Turn clockwise(int32_t degrees);

constexpr int32_t ROTATE_AUTO = -1;  ///< in place of degrees: by 90 degrees if the text runs down or up the page

/// The turn that the user wants.
///
/// @param degrees  to the right, or ROTATE_AUTO
/// @param rows     the page in black and white, looked at for ROTATE_AUTO: (width + 7) / 8 bytes each, 1 is black
Turn wanted_turn(int32_t degrees, const std::vector<uint8_t> &rows, int32_t width, int32_t height);

/// Turns packed rows.
///
/// @param rows    (width + 7) / 8 bytes each; receives rows of the turned picture
/// @param width   pixels of a row; receives that of the turned picture
/// @param height  number of rows; receives that of the turned picture
void turn_rows(std::vector<uint8_t> &rows, int32_t &width, int32_t &height, const Turn &turn);

}  // namespace tolvane
