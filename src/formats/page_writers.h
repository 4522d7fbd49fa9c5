// The writers of other page formats. Each pulls black and white pictures, one at a time, and writes a whole file.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "formats/page_picture.h"
#include "io/output_file.h"
#include "io/report.h"

namespace tolvane {

/// Supplies the next picture; false if there are no more.
using picture_source = std::function<bool(PagePicture &picture)>;

/// Multi-page TIFF in ITU-T T.6 (G4) or one-dimensional T.4 (G3), one strip a page (libtiff).
Status write_tiff(const OutputFile &output, TiffCoding coding, const picture_source &next);
/// PDF whose pages are the pictures in G4, in their true size on paper.
Status write_pdf(const OutputFile &output, const picture_source &next);
/// Packed PBM (P4), one picture after the other.
Status write_pbm(const OutputFile &output, const picture_source &next);
/// PNG of one bit per pixel, with its density. Only the first picture is written (libpng).
Status write_png(const OutputFile &output, const picture_source &next);

/// An output format, with the endings of its file names.
struct PictureFormat {
  const char *name;
  std::vector<const char *> endings;
  bool several_pages;  ///< in one file
  bool page_sizes;     ///< pages have a size apart from their pixels
  /// Makes the code of a picture, in any thread, before it is written; null if the format has none.
  ///
  /// @return empty on failure
  std::vector<uint8_t> (*encode)(const PagePicture &picture, TiffCoding coding);
  Status (*write)(const OutputFile &output, TiffCoding coding, const picture_source &next);
};

/// The format that the user wants.
///
/// @param name  of the format; empty: the ending of `path` decides
/// @return null after a message if there is none
const PictureFormat *wanted_format(const std::string &name, const std::string &path);

/// Writes a file of one picture, in G4 where the format has codes. DONE, or FAILED after a message.
Status write_picture(const PictureFormat &format, const std::string &path, PagePicture &&picture);

/// The names of all formats for a usage text: "tiff|png|...".
std::string format_names();

}  // namespace tolvane
