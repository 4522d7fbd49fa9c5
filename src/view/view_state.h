// The shared state of the view: file name, page, scale, orientation, bitmap, and the extents of the picture in it. No X
// here: the same picture is computed with and without a display.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tolvane {

/// Non-zero in embedded mode, where a parent program owns the process; the stand-alone program sets it to 0.
extern int32_t Api;
/// Set if the environment variable "FAXTRACE" exists: the page cycle reports its steps on standard output.
extern int32_t Tn_trace_on;

constexpr size_t FAX_FILENAME_SIZE = 200;  ///< bytes of Fullpath_fax_filename, including the terminator
/// The name of the fax file, from the command line or the command "newfile"; not made absolute.
extern char Fullpath_fax_filename[FAX_FILENAME_SIZE];

/// Stores `name` in `Fullpath_fax_filename`.
/// @return 1; 0 for a name of FAX_FILENAME_SIZE bytes or more: nothing changes
int set_fax_filename(const char *name);

constexpr int32_t FULL_ROWS = 3488;         ///< picture rows of the longest page at 100%
constexpr size_t BITMAP_SIZE = 108 * 6976;  ///< twice 864 x 3488 pixels: orientations 180 and 270 write past row 3487

/// The one picture buffer, BITMAP_SIZE bytes from `malloc`, or null. A set bit is black, the leftmost pixel is 0x80.
extern uint8_t *bitmap;

extern int32_t Reduced;      ///< scale index, an index of SCALES: 0 is "100%", 1 is "75%", 2 is "50%"
extern int32_t orientation;  ///< degrees: 0, 90, 180 or 270
extern int32_t High_res;     ///< non-zero: the file has fine resolution
extern int32_t page_number;  ///< the current page, counted from 0
extern int32_t Total_pages;  ///< page count of the header, for the slider, the label and the chunk steps

/// The sizes at one scale, all derived from its divisor.
struct ScaleSizes {
  int32_t divisor;  ///< fax pixels across, and fine lines down, for one picture pixel
  int32_t Xsize;    ///< picture width in pixels
  int32_t Ysize;    ///< maximum number of picture rows of a page
  int32_t Xsize8;   ///< bytes of a bitmap row at orientations 0 and 180
  int32_t Ysize8;   ///< bytes of a bitmap row at orientations 90 and 270
};

/// The sizes at scale index `reduced`; any value that is no index is 100%.
ScaleSizes scale_sizes(int32_t reduced);

/// Where the picture lies in the bitmap, in pixels but for `Bpl`.
struct Extents {
  int32_t Dx, Dy;  ///< width and height of the picture
  int32_t Oy;      ///< first bitmap row of the picture
  int32_t Bpl;     ///< bytes from one bitmap row to the next
  int32_t Offset;  ///< pixels to skip at the start of every row
};

/// The extents of a page of `lines` coded lines at the current scale, orientation and resolution. A page longer than
/// the bitmap is limited to the rows that fit.
/// @param present  the result if `orientation` is none of the four
Extents page_extents(int32_t lines, const Extents &present = {});

/// The number of the bit in the bitmap (0x80 of byte 0 is bit 0) that holds column 0 of picture row `row`. Column j is
/// j bits after it.
size_t picture_bit(const Extents &extents, int32_t row);

}  // namespace tolvane
