// Runs of pixels in a line bitmap: finding where one starts, setting one, and turning bytes round.
//
// A line bitmap is `size` bytes of 8 pixels each. Pixel n is bit 7 - n % 8 of byte n / 8; 1 is black, 0 is white.
#pragma once

#include <cstdint>

namespace tolvane {

/// Finds the next changing element of a line (ITU-T T.4, 4.2.1.1).
///
/// The colour looked for is the opposite of `colour`, or black if `position` is below 0. What is found is the first
/// pixel right of `position` that starts a run of it. Position 0 counts as the start of a line, as -1 does: pixel 0
/// itself is examined, and if it has the colour looked for, it is the answer. That departs from T.4 for a line that
/// starts black under a line that starts white. The walk of encoder and decoder (change_list.h) follows the same rule,
/// and so they agree.
///
/// @param line      `size` bytes, at most 4095; nothing past them is read
/// @param position  pixel to start at, -1 for the imaginary white pixel before the first
/// @param result    the pixel found, or 8 * `size` if there is none
/// @param colour    colour of the pixel at `position`: 0 white, 1 black
/// @return the colour looked for, also when there is no such pixel
int bit_next_trans(const uint8_t *line, uint32_t size, int16_t position, int16_t *result, int colour);

/// Sets `count` pixels from `start` on to black and leaves every other bit alone. If `colour` is 0 nothing is done:
/// white is what a cleared line already is.
///
/// @param line   long enough for `start + count` pixels: there is no bounds check
/// @param start  first pixel; below 0 counts as 0
void bit_fill_bits(uint8_t *line, int32_t start, uint32_t count, int colour);

/// Reverses the order of the bits within each of `count` bytes, in place.
void bit_flip_bits(uint8_t *buffer, int32_t count);

}  // namespace tolvane
