// The picture in larger pixels, for displays on which one pixel is small. No X here.
#pragma once

#include <cstdint>
#include <vector>

namespace tolvane {

struct Extents;

constexpr int32_t MOST_ZOOM = 4;  ///< of `enlarged`

/// Bytes of a row of `enlarged`.
int32_t enlarged_row_bytes(const Extents &extents, int32_t zoom);

/// The picture with `zoom` times as many pixels across and down.
///
/// @param bits  the bitmap, BITMAP_SIZE bytes
/// @param zoom  1 to MOST_ZOOM
/// @return rows of `enlarged_row_bytes`, the leftmost pixel at 0x80; bits right of the picture have no meaning
std::vector<uint8_t> enlarged(const uint8_t *bits, const Extents &extents, int32_t zoom);

}  // namespace tolvane
