// The code of black and white pictures in foreign formats.
#pragma once

#include <cstdint>
#include <vector>

#include "formats/page_picture.h"

namespace tolvane {

/// Encodes a picture by the letter of ITU-T T.4 (one-dimensional) or T.6, first pixel in the highest bit, as TIFF and
/// PDF store it. G4 ends with EOFB, G3 without RTC. Safe in any number of threads.
///
/// @return empty on failure
std::vector<uint8_t> standard_code(const PagePicture &picture, TiffCoding coding);

}  // namespace tolvane
