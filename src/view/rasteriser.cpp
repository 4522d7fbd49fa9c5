// Paints runs into the bitmap while the page is decoded; scale and rotation are nowhere else. Where the picture then
// lies in the bitmap is told by the extents of view_state. The addresses look as if they could be tidied: at 180 and
// 270 degrees the page ends one row or column past 3487, and below 100% at 90 and 270 every row holds two half rows.
// The extents count on both.
#include "view/rasteriser.h"

#include "t4/bit_window.h"
#include "t4/line.h"
#include "t4/t4dec.h"

#include <algorithm>
#include <cstring>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|rasteriser|9|01|1|0|0|11/22/26|21:20:00";

// All that a run needs and that does not change within a page.
struct Page {
  uint8_t *Bitmap;
  int32_t Xsize8, Ysize8;
  int32_t divisor;
  int32_t orientation;
  int32_t High_res;
  bool upright;     // a fax line is a picture row, not a column
  int32_t stride;   // bytes from one picture pixel of a column to the next
  int32_t last_cy;  // the last line that the bitmap holds
  // Where each fax pixel of a line falls: the pixel of the row, or the step down the column. Rises or falls by at most
  // one from pixel to pixel, so that a run covers everything between the places of its two ends.
  uint16_t place[LINE_PIXELS];
};

// Where the line in hand is painted.
struct Line {
  bool painted;   // a refused line moves nothing, not even cx
  uint8_t *base;  // first byte of the row, or of the column
  uint8_t mask;   // the column's bit
};

Page page;
Line line;
int32_t cx, cy;  // fax pixel and line reached

void place_pixels() {
  const bool mirrored = page.orientation == 90 || page.orientation == 180;
  for (int32_t x = 0; x < LINE_PIXELS; x++) {
    const int32_t k = mirrored ? LINE_PIXELS - 1 - x : x;
    // In a column a fax pixel is a half row (2 k / divisor of them) below 100%, and half a whole row at 100%.
    const int32_t place = page.upright || page.divisor == 2 ? k / page.divisor : 2 * k / page.divisor;
    page.place[x] = static_cast<uint16_t>(place);
  }
}

int32_t in_fine_lines(int32_t lines) {
  return page.High_res ? lines : 2 * lines;
}

void start_line() {
  line.painted = cy <= page.last_cy && !(page.High_res && cy % 2 == 1);
  if (!line.painted) return;
  const int32_t y = in_fine_lines(cy) / page.divisor;
  if (page.upright) {
    line.base = page.Bitmap + (page.orientation == 0 ? y : FULL_ROWS - y) * page.Xsize8;
  } else {
    const int32_t column = page.orientation == 90 ? y : in_fine_lines(2 * FULL_ROWS - cy) / page.divisor;
    line.base = page.Bitmap + column / 8;
    line.mask = static_cast<uint8_t>(0x80 >> column % 8);
  }
}

// Paints the fax pixels from `first` to `last`, both counted in.
void paint(int32_t first, int32_t last) {
  const auto [from, to] = std::minmax(page.place[first], page.place[last]);
  if (page.upright) {
    paint_black(line.base, from, to - from + 1);  // the block goes on far behind the last row
    return;
  }
  uint8_t *byte = line.base + from * page.stride;
  for (int32_t left = to - from; left >= 0; left--, byte += page.stride) *byte |= line.mask;
}

}  // namespace

void start_picture(uint8_t *block, int32_t Xsize, int32_t Ysize) {
  page.Bitmap = block;
  page.Xsize8 = Xsize / 8;
  page.Ysize8 = Ysize / 8;
  page.divisor = scale_sizes(Reduced).divisor;
  page.orientation = orientation;
  page.High_res = High_res;
  page.upright = orientation == 0 || orientation == 180;
  page.stride = page.divisor == 2 ? page.Ysize8 : page.Ysize8 / 2;
  page.last_cy = (High_res ? 2 * FULL_ROWS : FULL_ROWS) - 1;
  if (!page.upright && orientation != 90 && orientation != 270) page.last_cy = -1;  // no such picture
  place_pixels();
  cx = 0;
  cy = 0;
  start_line();
}

void found_run(int32_t run) {
  if (!line.painted) return;
  if (run >= 0) {
    cx += run;
    return;
  }
  const int32_t first = cx % LINE_PIXELS;
  const int32_t end = first - run;
  cx -= run;
  paint(first, std::min(end, LINE_PIXELS) - 1);
  // The decoder's lines end at 1728. What went beyond would go on at the head of the line.
  if (end > LINE_PIXELS) paint(0, std::min(end - LINE_PIXELS, LINE_PIXELS) - 1);
}

void found_eol() {
  cx = 0;
  cy++;
  start_line();
}

int32_t picture_lines() {
  return cy;
}

void decode_picture(const uint8_t *data, uint32_t length, int32_t comp_type, uint8_t *block, int32_t Xsize,
                    int32_t Ysize) {
  std::memset(block, 0, BITMAP_SIZE);
  start_picture(block, Xsize, Ysize);
  const uint32_t even = length - length % 2;
  if (even > 0) t4dec(data, even, comp_type, found_run, nullptr, found_eol);
}

void copy_picture_row(const uint8_t *block, const Extents &extents, int32_t row, uint8_t *pixels) {
  const size_t first = picture_bit(extents, row);
  const size_t size = static_cast<size_t>(extents.Dx + 7) / 8;
  const uint8_t *from = block + first / 8;
  const size_t shift = first % 8;
  for (size_t i = 0; i < size; i++) {
    const uint32_t two_bytes = static_cast<uint32_t>(from[i]) << 8 | from[i + 1];
    pixels[i] = static_cast<uint8_t>(two_bytes >> (8 - shift));
  }
  if (extents.Dx % 8 != 0) pixels[size - 1] &= static_cast<uint8_t>(0xff << (8 - extents.Dx % 8));
}

}  // namespace tolvane
