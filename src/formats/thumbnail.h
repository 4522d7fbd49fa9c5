// Small pictures of pages, for those who look for one.
#pragma once

#include <cstdint>
#include <vector>

#include "formats/page_picture.h"

namespace tolvane {

/// A page in grey, in its proportions on paper. Each pixel is the average of those of the page that fall on it.
///
/// @param lines  one or more line bitmaps of LINE_BYTES
/// @param y_dpi  lines per inch
/// @param size   pixels of the longer side
PagePicture make_thumbnail(const std::vector<uint8_t> &lines, double y_dpi, int32_t size);

}  // namespace tolvane
