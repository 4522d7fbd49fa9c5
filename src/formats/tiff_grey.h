// The pixels of grey and coloured TIFFs.
#pragma once

#include "formats/source_picture.h"
#include "formats/tiff_file.h"

namespace tolvane {

/// Passes on the rows of the picture that libtiff has in hand, in grey, in the order in which they are stored. They are
/// read some at a time, and transparent pixels become white.
///
/// @return false with the reason in `log.error`, also if the picture is stored in parts that are too large to be held
bool read_grey(TIFF *tiff, TiffLog &log, const row_sink &sink);

}  // namespace tolvane
