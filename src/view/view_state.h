// What the view shares: the file named, the page, the scale, the orientation, the bitmap, and the extents of the
// picture in it. No X here: the same picture is computed with and without a display.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tolvane {

/// Non-zero in embedded mode, where a parent program owns the process; the stand-alone program sets it to 0.
extern int32_t Api;
/// Set when the environment has "FAXTRACE": the page cycle tells its steps on standard output.
extern int32_t Tn_trace_on;

constexpr size_t FAX_FILENAME_SIZE = 200;  ///< bytes of Fullpath_fax_filename, the closing zero included
/// The fax file as named on the command line or by the command "newfile", not made absolute.
extern char Fullpath_fax_filename[FAX_FILENAME_SIZE];

/// Puts `name` into `Fullpath_fax_filename`.
/// @return 1, or 0 for a name of FAX_FILENAME_SIZE bytes or more, which changes nothing
int set_fax_filename(const char *name);

constexpr int32_t LINE_PIXELS = 1728;       ///< pixels of a fax line
constexpr int32_t FULL_ROWS = 3488;         ///< picture rows of the longest page at 100%
constexpr size_t BITMAP_SIZE = 108 * 6976;  ///< twice 864 x 3488 pixels: orientations 180 and 270 write past row 3487

/// The one picture buffer, BITMAP_SIZE bytes from `malloc`, or null. A set bit is black, the leftmost pixel is 0x80.
extern uint8_t *bitmap;

extern int32_t Reduced;      ///< scale index, an index of SCALES: 0 is "100%", 1 is "75%", 2 is "50%"
extern int32_t orientation;  ///< degrees: 0, 90, 180 or 270
extern int32_t High_res;     ///< non-zero: the file has fine resolution
extern int32_t page_number;  ///< the page shown, counted from 0
extern int32_t Total_pages;  ///< pages that the header promises; feeds the slider, the label and the chunk steps

/// The sizes of one scale, all derived from its divisor.
struct ScaleSizes {
  int32_t divisor;  ///< fax pixels across, and fine lines down, for one picture pixel
  int32_t Xsize;    ///< picture width in pixels
  int32_t Ysize;    ///< the most picture rows of a page
  int32_t Xsize8;   ///< bytes of a bitmap row at orientations 0 and 180
  int32_t Ysize8;   ///< bytes of a bitmap row at orientations 90 and 270
};

/// The sizes at scale index `reduced`; any value that is no index is 100%.
ScaleSizes scale_sizes(int32_t reduced);

/// Where the picture lies in the bitmap, in pixels but for `Bpl`.
struct Extents {
  int32_t Dx, Dy;  ///< width and height of the picture
  int32_t Oy;      ///< bitmap row at which it begins
  int32_t Bpl;     ///< bytes from one bitmap row to the next
  int32_t Offset;  ///< pixels to skip at the head of every row
};

/// The extents of a page of `lines` coded lines at the present scale, orientation and resolution. A page longer than
/// the bitmap is held to the rows that fit.
/// @param present  the result if `orientation` is none of the four
Extents page_extents(int32_t lines, const Extents &present = {});

/// The bit of the bitmap, counted from its start with 0x80 of byte 0 as bit 0, that holds column 0 of picture row
/// `row`. Column j is j bits further on.
size_t picture_bit(const Extents &extents, int32_t row);

}  // namespace tolvane
