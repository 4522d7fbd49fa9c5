// Paints runs into the bitmap while the page is decoded; scale and rotation are nowhere else. Where the picture then
// lies in the bitmap is in the extents of view_state. The addresses look as if they could be tidied: at 180 and
// 270 degrees the page ends one row or column past 3487, and below 100% at 90 and 270 every row holds two half rows.
// The extents count on both.
#include "view/rasteriser.h"

#include <string.h>

#include <algorithm>

#include "t4/bit_window.h"
#include "t4/decoder.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|rasteriser|9|01|3|0|0|11/23/26|09:28:42";

constexpr int32_t FRACTION_BITS = 16;  // of the factor that makes picture pixels of fax pixels

// numerator / divisor as such a factor, rounded up: exact in the products with every pixel of a line.
constexpr int32_t fraction(int32_t numerator, int32_t divisor) {
  return ((numerator << FRACTION_BITS) + divisor - 1) / divisor;
}

FaxPicture shown;

}  // namespace

FaxPicture::FaxPicture(uint8_t *block, const ScaleSizes &sizes, int32_t degrees, bool fine)
    : block_(block), sizes_(sizes), degrees_(degrees), fine_(fine), upright_(degrees == 0 || degrees == 180) {
  const bool mirrored = degrees == 90 || degrees == 180;
  // In a column a fax pixel is a half row (2 / divisor of them) below 100%, and half a whole row at 100%.
  const bool half_rows = !upright_ && sizes.divisor != 2;
  const int32_t pixel = fraction(half_rows ? 2 : 1, sizes.divisor);
  origin_ = mirrored ? (LINE_PIXELS - 1) * pixel : 0;
  step_ = mirrored ? -pixel : pixel;
  stride_ = half_rows ? sizes.Ysize8 / 2 : sizes.Ysize8;
  if (upright_ || degrees == 90 || degrees == 270) last_line_ = (fine ? 2 * FULL_ROWS : FULL_ROWS) - 1;
  start_line();
}

// The pixel of the row, or the step down the column. It rises or falls by at most one from fax pixel to fax pixel, so
// that a run covers everything between the places of its two ends.
int32_t FaxPicture::place_of(int32_t x) const {
  return (origin_ + step_ * x) >> FRACTION_BITS;
}

void FaxPicture::start_line() {
  painted_ = cy_ <= last_line_ && !(fine_ && cy_ % 2 == 1);
  if (!painted_) return;
  const int32_t y = in_fine_lines(cy_) / sizes_.divisor;
  if (upright_) {
    base_ = block_ + (degrees_ == 0 ? y : FULL_ROWS - y) * sizes_.Xsize8;
  } else {
    const int32_t column = degrees_ == 90 ? y : in_fine_lines(2 * FULL_ROWS - cy_) / sizes_.divisor;
    base_ = block_ + column / 8;
    mask_ = static_cast<uint8_t>(0x80 >> column % 8);
  }
}

// Paints the fax pixels from `first` to `last`, both included.
void FaxPicture::paint(int32_t first, int32_t last) {
  const int32_t from = place_of(step_ > 0 ? first : last);
  const int32_t to = place_of(step_ > 0 ? last : first);
  if (upright_) {
    paint_black(base_, from, to - from + 1);  // the block goes on far after the last row
    return;
  }
  uint8_t *byte = base_ + from * stride_;
  for (int32_t left = to - from; left >= 0; left--, byte += stride_) *byte |= mask_;
}

void FaxPicture::found_run(int32_t run) {
  if (!painted_) return;
  if (run >= 0) {
    cx_ += run;
    return;
  }
  const int32_t first = cx_ % LINE_PIXELS;
  const int32_t end = first - run;
  cx_ -= run;
  paint(first, std::min(end, LINE_PIXELS) - 1);
  // The decoder's lines end at 1728. What went beyond would go on at the head of the line.
  if (end > LINE_PIXELS) paint(0, std::min(end - LINE_PIXELS, LINE_PIXELS) - 1);
}

void FaxPicture::found_eol() {
  cx_ = 0;
  cy_++;
  start_line();
}

bool FaxPicture::decode(const uint8_t *data, uint32_t length, int32_t comp_type) {
  memset(block_, 0, BITMAP_SIZE);
  LineSink sink;
  sink.context = this;
  sink.found_run = [](void *picture, int32_t run) { static_cast<FaxPicture *>(picture)->found_run(run); };
  sink.found_eol = [](void *picture) { static_cast<FaxPicture *>(picture)->found_eol(); };
  const uint32_t even = length - length % 2;
  // The last line of an MR page is as complete as its data: no fill is read after them.
  return even == 0 ||
         Decoder().decode({data, even}, comp_type, LINE_PIXELS, sink, {.mr_fill = false}) != DecodeResult::no_memory;
}

void start_picture(uint8_t *block, int32_t Xsize, int32_t Ysize) {
  const ScaleSizes sizes = {scale_sizes(Reduced).divisor, Xsize, Ysize, Xsize / 8, Ysize / 8};
  shown = FaxPicture(block, sizes, orientation, High_res != 0);
}

void found_run(int32_t run) {
  shown.found_run(run);
}

void found_eol() {
  shown.found_eol();
}

int32_t picture_lines() {
  return shown.lines();
}

bool decode_picture(const uint8_t *data, uint32_t length, int32_t comp_type, uint8_t *block, int32_t Xsize,
                    int32_t Ysize) {
  start_picture(block, Xsize, Ysize);
  return shown.decode(data, length, comp_type);
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
