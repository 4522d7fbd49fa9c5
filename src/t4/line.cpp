// The one width that all codings share; the callback types are in the header, the decoders that use both elsewhere.
// The width outlives a page: who sets another one for a decode sets it for all that follow.

#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|line|9|01|2|0|0|11/23/26|06:28:52";
}

int32_t Pix_width = LINE_PIXELS;

void t4dec_set_pixel_width(int32_t width) {
  Pix_width = width;
}

}  // namespace tolvane
