// Grey pictures that come row by row, and the turning of any picture.
#pragma once

#include <cstdint>
#include <vector>

#include "formats/source_picture.h"

namespace tolvane {

/// The rows of a black and white picture in grey: 0 for a black pixel, 255 for a white one. `page.bits` is taken.
row_source unpacked_rows(SourcePicture &page);

/// A grey picture in black and white: what is darker than the middle is black.
///
/// @param bits  receives (width + 7) / 8 bytes per row
/// @return that of the rows
Status pack_rows(const row_source &rows, int32_t width, std::vector<uint8_t> &bits);

/// The turn that the user wants, for a picture in grey or black and white.
///
/// @param degrees  to the right, or ROTATE_AUTO
/// @return that of the rows
Status find_turn(int32_t degrees, const SourcePicture &page, Turn &turn);

/// The rows of a grey picture as they are seen. A large picture that is turned is read several times, so that only a
/// part of it is held.
row_source seen_rows(const SourcePicture &page);

/// Turns a picture. Its resolution turns with it.
void turn_picture(SourcePicture &page, const Turn &turn);

}  // namespace tolvane
