// Turns a grey picture into the lines of a fax page: fitted to 1728 pixels, then black and white.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "formats/source_picture.h"

namespace tolvane {

constexpr double FAX_X_DPI = 204;                      ///< pixels an inch along a line, at both resolutions
constexpr int32_t LONGEST_PAGE = 32767;                ///< lines of the longest page that is made
constexpr int32_t WIDEST_PICTURE = 16384;              ///< pixels across of the widest picture that is read
constexpr int64_t LARGEST_PICTURE = int64_t{1} << 27;  ///< pixels of the largest picture that is read

/// Lines per inch at a vertical resolution code: 98 for 0 (normal), 196 for 1 (fine), 300, 400 and 600 for 2 to 4.
/// Invalid codes count as normal.
double lines_per_inch(int32_t resolution);

/// What becomes of a picture that is narrower or wider than a fax page.
enum Fit : int32_t {
  FIT_CENTER,  ///< narrow: in the middle at its true size; wide: reduced to the width
  FIT_SCALE,   ///< enlarged or reduced to the width
  FIT_CROP,    ///< at its true size; what is too wide is cut off at both sides
};

/// How grey becomes black and white.
enum Halftone : int32_t {
  THRESHOLD,        ///< by one threshold for the page
  LOCAL_THRESHOLD,  ///< by the grey around a pixel
  DIFFUSION,        ///< by error diffusion
};

/// How a picture becomes a fax page.
struct FitOptions {
  int32_t resolution = 1;  ///< vertical resolution code of the fax: 0 normal, 1 fine
  Fit fit = FIT_CENTER;
  Halftone halftone = THRESHOLD;
  int32_t threshold = 0;  ///< a grey below this is black; 0: it is chosen by the page
};

/// How many fax pixels a source pixel becomes, across and down.
struct FitScale {
  double x, y;
};

/// The scale at which a picture keeps its proportions on paper. A picture of unknown resolution is a fax page, pixel by
/// pixel, if it is 1728 pixels wide, else it has 204 pixels per inch both ways. Where the pixels of a line are
/// within 4.5 percent of those of a fax, or of twice as many, they stay as they are or are halved, and lines within 4.5
/// percent of 1/4, 1/2, 1 or 2 times as many are merged, kept or doubled: 200 x 200 and 200 x 100 are in use for 204 x
/// 196 and 204 x 98 (ITU-T T.30).
FitScale fit_scale(int32_t width, double x_dpi, double y_dpi, const FitOptions &options);

/// How much wider than a fax page a picture is at its true size: 1 if it is not wider, or within the 4.5 percent.
double overhang(const SourcePicture &page, const FitOptions &options);

/// Turns a picture into lines of LINE_BYTES bytes. Reductions average the pixels that fall together. A black and white
/// picture that keeps its width stays packed; all others become grey on the way, row by row.
///
/// @param name, number  for messages: the file and the number of the page
/// @param page          its pixels may be used up
/// @param lines         receives the lines, one after another
/// @return that of the rows of the picture; FAILED after a message if the page would be longer than LONGEST_PAGE lines,
/// or
///         is reduced too much
Status make_fax_lines(const char *name, int32_t number, SourcePicture &&page, const FitOptions &options,
                      std::vector<uint8_t> &lines);

}  // namespace tolvane
