// The readers of other page formats. Each reads a whole file and passes its pictures on, one at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "formats/coded_lines.h"
#include "formats/fax_lines.h"
#include "io/report.h"

namespace tolvane {

/// Receives a picture. Any result but DONE and DAMAGED ends the reading.
using page_sink = std::function<Status(SourcePicture &&page)>;

/// How the user wants files of other formats to be read.
struct SourceOptions {
  FitOptions fit;
  RawFormat raw;
  bool keep_going = false;  ///< report and skip unreadable pages, the rest of an unreadable file included
  double x_dpi = 0;         ///< overrides the file; 0 in both: as in the file
  double y_dpi = 0;
  int32_t rotate = 0;  ///< degrees to the right, or ROTATE_AUTO
};

/// A file to read pictures from. Pictures that are read later keep a copy.
struct PictureFile {
  std::shared_ptr<const void> owner;  ///< of what is below
  const char *name;                   ///< for messages
  std::span<const uint8_t> bytes;
};

/// TIFF of any coding and number of pages (libtiff). Black and white passes unchanged; all else becomes grey.
Status read_tiff(const PictureFile &file, const SourceOptions &options, const page_sink &sink);
/// Raw coded lines. libtiff decodes them: our decoder differs on lines that start black under a line that starts white.
Status read_raw(const PictureFile &file, const SourceOptions &options, const page_sink &sink);
/// SFF, the structured fax file of ISDN adapters.
Status read_sff(const PictureFile &file, const SourceOptions &options, const page_sink &sink);
/// One or more PBM pictures, plain (P1) or packed (P4).
Status read_pbm(const PictureFile &file, const SourceOptions &options, const page_sink &sink);
/// One PNG picture; transparent pixels are white.
Status read_png(const PictureFile &file, const SourceOptions &options, const page_sink &sink);
/// The pages of a PDF: those that are one fax image as that image (libqpdf), all others rendered at the resolution of
/// the fax (poppler).
Status read_pdf(const PictureFile &file, const SourceOptions &options, const page_sink &sink);

/// Whether a picture is within the limits of size. DONE, or FAILED after a message.
Status check_picture_size(const char *name, int32_t page, int64_t width, int64_t height);

/// The word in 4 bytes, the highest first, as PNG and JBIG have it.
inline uint32_t big_endian_word(const uint8_t *bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

/// Reads all pictures of a file in order and hands each to `sink`. The reader is chosen by the first bytes of the file,
/// unless `options` says that it is raw.
///
/// @param path  `-` is standard input
/// @return DONE; DAMAGED or FAILED after messages that name file, page and place
Status read_pages(const std::string &path, const SourceOptions &options, const page_sink &sink);

}  // namespace tolvane
