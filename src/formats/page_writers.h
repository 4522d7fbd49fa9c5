// The writers of other page formats. Each pulls black and white pictures, one at a time, and writes a whole file.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "io/output_file.h"
#include "io/report.h"

namespace tolvane {

/// A black and white picture.
struct PagePicture {
  int32_t width = 0;
  int32_t height = 0;  ///< at least 1
  double x_dpi = 0;    ///< pixels per inch
  double y_dpi = 0;
  std::vector<uint8_t> rows;  ///< (width + 7) / 8 bytes a row; pixel 0 is bit 7 of byte 0, 1 is black

  size_t row_bytes() const { return (static_cast<size_t>(width) + 7) / 8; }
};

/// Supplies the next picture; false if there are no more.
using picture_source = std::function<bool(PagePicture &picture)>;

/// How a page is coded in TIFF.
enum class TiffCoding : int32_t { g3, g4 };

/// Multi-page TIFF in ITU-T T.6 (G4) or one-dimensional T.4 (G3), one strip a page (libtiff).
Status write_tiff(const OutputFile &output, TiffCoding coding, const picture_source &next);
/// PDF whose pages are the pictures in G4, in their true size on paper (libqpdf).
Status write_pdf(const OutputFile &output, const picture_source &next);
/// Packed PBM (P4), one picture after the other.
Status write_pbm(const OutputFile &output, const picture_source &next);
/// PNG of one bit per pixel, with its density. Only the first picture is written (libpng).
Status write_png(const OutputFile &output, const picture_source &next);

/// Codes a picture as one strip of ITU-T T.6 data, first pixel in the highest bit, ending in EOFB. Empty on failure.
std::string g4_data(const PagePicture &picture);

/// An output format, with the endings of its file names.
struct PictureFormat {
  const char *name;
  std::vector<const char *> endings;
  bool several_pages;  ///< in one file
  Status (*write)(const OutputFile &output, TiffCoding coding, const picture_source &next);
};

/// The format that the user wants.
///
/// @param name  of the format; empty: the ending of `path` decides
/// @return null after a message if there is none
const PictureFormat *wanted_format(const std::string &name, const std::string &path);

/// The names of all formats for a usage text: "tiff|png|...".
std::string format_names();

}  // namespace tolvane
