// From the runs of a decoded page to the bits of the one bitmap, at the scale and orientation in force. No X here.
#pragma once

#include "view_state.h"

#include <cstddef>
#include <cstdint>

namespace tolvane {

/// Starts a page at line 0, pixel 0. `Reduced`, `orientation` and `High_res` are read now and hold for the page.
///
/// @param block   BITMAP_SIZE bytes, cleared; written by `found_run` until the next start
/// @param Xsize   picture width in pixels at that scale
/// @param Ysize   most picture rows at that scale; both as `scale_sizes` gives them
void start_picture(uint8_t *block, int32_t Xsize, int32_t Ysize);

/// Takes the next run of the line: 0 or above is white, below 0 black. Paints the pixels that the picture shows.
///
/// Of a fine page only the even lines are painted; lines that the bitmap cannot hold are not.
void found_run(int32_t run);

/// Ends the line. Every line counts, painted or not.
void found_eol();

/// @return the number of lines ended since the start of the page
int32_t picture_lines();

/// Clears the block, decodes one coded page and paints it; afterwards `picture_lines` counts its lines.
///
/// An odd last byte of `data` is not decoded. A page that decodes badly shows what came before the damage.
/// @param data       coded page, `length` bytes; may be null if `length` is 0
/// @param comp_type  coding of the page: 0 MH, 1 MR, 3 MMR; any other gives a blank page of 0 lines
/// @param block      as for `start_picture`, with `Xsize` and `Ysize`
void decode_picture(const uint8_t *data, uint32_t length, int32_t comp_type, uint8_t *block, int32_t Xsize,
                    int32_t Ysize);

/// Copies one row out of the bitmap as it is shown.
///
/// @param block    BITMAP_SIZE bytes
/// @param extents  of the page, from `page_extents`
/// @param row      0 to extents.Dy - 1
/// @param pixels   receives (extents.Dx + 7) / 8 bytes: 0x80 of the first is the leftmost pixel, 1 is black; the bits
///                 behind the last pixel are 0
void copy_picture_row(const uint8_t *block, const Extents &extents, int32_t row, uint8_t *pixels);

}  // namespace tolvane
