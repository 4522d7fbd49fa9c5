// The shared state of the view and the arithmetic of its sizes. Painting is in the rasteriser. Note that `Ysize8` is
// the length of a bitmap row at 90 and 270 degrees, not a height.
#include "view/view_state.h"

#include <algorithm>
#include <cstring>

#include "t4/line.h"
#include "view/scales.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|view_state|9|01|2|0|0|11/23/26|06:29:09";
}

int32_t Api = 1;
int32_t Tn_trace_on;
char Fullpath_fax_filename[FAX_FILENAME_SIZE];

uint8_t *bitmap;
int32_t Reduced;
int32_t orientation;
int32_t High_res;
int32_t page_number;
int32_t Total_pages;

int set_fax_filename(const char *name) {
  const size_t length = strlen(name);
  if (length >= FAX_FILENAME_SIZE) return 0;
  memmove(Fullpath_fax_filename, name, length + 1);  // the name may be a part of the field itself
  return 1;
}

ScaleSizes scale_sizes(int32_t reduced) {
  const int32_t divisor = scale_at(reduced).divisor;
  const int32_t width = LINE_PIXELS / divisor;
  const int32_t height = 2 * FULL_ROWS / divisor;
  return {divisor, width, height, width / 8, height / 8};
}

Extents page_extents(int32_t lines, const Extents &present) {
  const ScaleSizes sizes = scale_sizes(Reduced);
  const int32_t kept = std::min(lines, High_res ? 2 * FULL_ROWS : FULL_ROWS);
  const int32_t rows = (High_res ? kept : 2 * kept) / sizes.divisor;
  // At every scale a page turned by 180 or 270 degrees ends at row or column 3488, from which the rasteriser counts.
  switch (orientation) {
    case 0:
      return {sizes.Xsize, rows, 0, sizes.Xsize8, 0};
    case 90:
      return {rows, sizes.Xsize, 0, sizes.Ysize8, 0};
    case 180:
      return {sizes.Xsize, rows, FULL_ROWS - rows, sizes.Xsize8, 0};
    case 270:
      return {rows, sizes.Xsize, 0, sizes.Ysize8, FULL_ROWS - rows};
    default:
      return present;
  }
}

size_t picture_bit(const Extents &extents, int32_t row) {
  return 8 * static_cast<size_t>(extents.Oy + row) * static_cast<size_t>(extents.Bpl) +
         static_cast<size_t>(extents.Offset);
}

}  // namespace tolvane
