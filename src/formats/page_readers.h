// The readers of foreign page formats. Each takes a whole file in memory and hands its pictures on, one at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "formats/fax_lines.h"
#include "io/report.h"

namespace tolvane {

/// Receives a picture; whatever it gives but DONE and DAMAGED ends the reading.
using page_sink = std::function<Status(SourcePicture &&page)>;

/// Coded data without a file format around it.
struct RawFormat {
  int32_t coding = -1;         ///< 0 MH (G3), 1 MR (G3 two-dimensional), 3 MMR (G4); -1: the file is not raw
  int32_t width = 1728;        ///< pixels of a line
  int32_t high_bit_first = 0;  ///< non-zero: the first pixel is in the bit of value 0x80
};

/// What the user says about the files that pages come from.
struct SourceOptions {
  FitOptions fit;
  RawFormat raw;
  double x_dpi = 0;  ///< overrides what the file says; 0 in both: believe the file
  double y_dpi = 0;
};

/// A file to read pictures from.
struct PictureFile {
  const char *name;  ///< for messages
  int fd;            ///< open for reading, at any position
  std::span<const uint8_t> bytes;
};

/// Multi-page TIFF of any coding (libtiff). Black and white passes bit by bit; all else through a conversion to RGB.
Status read_tiff(const PictureFile &file, const SourceOptions &options, const page_sink &sink);
/// Raw coded lines. They are decoded by libtiff and not by our decoder, which reads some lines of other encoders
/// differently: those that start black under a line that starts white.
Status read_raw(const PictureFile &file, const SourceOptions &options, const page_sink &sink);
/// One or more PBM pictures, plain (P1) or packed (P4).
Status read_pbm(const PictureFile &file, const SourceOptions &options, const page_sink &sink);
/// One PNG picture; what shines through it is white.
Status read_png(const PictureFile &file, const SourceOptions &options, const page_sink &sink);
/// The pages of a PDF, rendered at the resolution of the fax (poppler).
Status read_pdf(const PictureFile &file, const SourceOptions &options, const page_sink &sink);

/// What to complain of when a picture is too large to read, with its size; DONE if it is not.
Status check_picture_size(const char *name, int32_t page, int64_t width, int64_t height);

/// Reads all pictures of a file in order and hands each to `sink`. The reader is chosen by the first bytes of the file,
/// unless `options` says that it is raw.
///
/// @param path  `-` is standard input
/// @return DONE; DAMAGED when coded lines were damaged; FAILED: all after a message that names file, page and place
Status read_pages(const std::string &path, const SourceOptions &options, const page_sink &sink);

}  // namespace tolvane
