// What every coding shares: its number, the width of a line, and the callbacks through which a decoded page leaves.
#pragma once

#include <cstdint>

namespace tolvane {

// The codings of a page, by the compression code of the file header.
constexpr int32_t COMP_MH = 0;    ///< ITU-T T.4 one-dimensional, EOL before lines, no tag bit
constexpr int32_t COMP_MR = 1;    ///< T.4 two-dimensional, EOL and tag bit before every line
constexpr int32_t COMP_UMMR = 2;  ///< uncompressed MMR: there is no decoder
constexpr int32_t COMP_MMR = 3;   ///< ITU-T T.6

constexpr int32_t LINE_PIXELS = 1728;  ///< pixels of a fax line (ITU-T T.4, 2.1)
constexpr int32_t EOL_ZEROS = 11;      ///< zeros of an EOL, before its one (T.4, 4.1.2)

// The callbacks of t4dec.h and t4dec_2d.h. Users of the codec core have `LineSink`, with a place for their own data.

/// Receives a run of pixels of the line being decoded: above 0 white, below 0 black, 0 a run of no pixels and no
/// colour. Runs of one line sum to at most the line width, and two runs of one colour may follow each other.
using found_run_fn = void (*)(int32_t run);

/// Receives a finished line bitmap of `size` bytes: pixel 0 is bit 7 of byte 0, 1 is black. Valid only during the call.
using found_line_fn = void (*)(const uint8_t *line, uint32_t size);

/// The line is over, whether or not it was good. The number of calls is the number of lines of the page.
using found_eol_fn = void (*)();

/// Pixels of a line in the decodes of t4dec.h, one value for the process: a multiple of 8, initially LINE_PIXELS.
extern int32_t Pix_width;

/// Sets `Pix_width` for the decodes that follow.
void t4dec_set_pixel_width(int32_t width);

}  // namespace tolvane
