// Black and white pictures with 8 pixels in a byte, fitted to lines without a detour through grey.
#pragma once

#include <cstdint>
#include <vector>

#include "formats/source_picture.h"

namespace tolvane {

/// Scales a black and white picture down or up the page and centres it in lines of LINE_BYTES bytes. The result is that
/// of averaging and halftoning it in grey.
///
/// @param page       at most FAX_WIDTH pixels wide, in `bits`
/// @param height     lines of the result
/// @param threshold  a grey below this is black
/// @param diffuse    whether grey becomes black and white by error diffusion
/// @param lines      receives the lines
/// @return false if only grey gives the result: rows are averaged for error diffusion, or too many at once
bool fit_packed(const SourcePicture &page, int32_t height, int32_t threshold, bool diffuse,
                std::vector<uint8_t> &lines);

}  // namespace tolvane
