// TIFF, and the G4 data of PDF. Pages are recoded by libtiff from their pixels: our MR and MMR differ from the
// standard's on lines that start black under a line that starts white.
#include <sys/mman.h>

#include "formats/page_writers.h"
#include "formats/tiff_file.h"
#include "io/output_file.h"
#include "support/handle.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|write_tiff|9|01|1|0|0|11/22/26|21:40:00";

// Writes a picture as one strip of a new directory.
bool write_directory(TIFF *tiff, PagePicture &picture, TiffCoding coding, uint16_t page) {
  TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(picture.width));
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(picture.height));
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<uint32_t>(picture.height));
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, coding == TiffCoding::g3 ? COMPRESSION_CCITTFAX3 : COMPRESSION_CCITTFAX4);
  TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  TIFFSetField(tiff, TIFFTAG_XRESOLUTION, picture.x_dpi);
  TIFFSetField(tiff, TIFFTAG_YRESOLUTION, picture.y_dpi);
  TIFFSetField(tiff, TIFFTAG_PAGENUMBER, page, 0);
  TIFFSetField(tiff, TIFFTAG_SOFTWARE, "tolvane-fax");
  return TIFFWriteEncodedStrip(tiff, 0, picture.rows.data(), static_cast<tmsize_t>(picture.rows.size())) >= 0 &&
         TIFFWriteDirectory(tiff) == 1;
}

}  // namespace

Status write_tiff(const OutputFile &output, TiffCoding coding, const picture_source &next) {
  TiffLog log;
  TiffHandle tiff = open_tiff(output.fd(), output.name(), "w", log);
  PagePicture picture;
  uint16_t page = 0;
  while (tiff && next(picture)) {
    if (!write_directory(tiff.get(), picture, coding, page++)) tiff.reset();
  }
  if (!tiff) return failure("%s: %s", output.name(), log.error.c_str());
  // Closing writes what is still buffered, and reports failure by a message only.
  log.error.clear();
  tiff.reset();
  return log.error.empty() ? DONE : failure("%s: %s", output.name(), log.error.c_str());
}

std::string g4_data(const PagePicture &picture) {
  const Descriptor memory(memfd_create("page", MFD_CLOEXEC));
  if (!memory) return {};
  TiffLog log;
  PagePicture copy = picture;
  TiffHandle written = open_tiff(memory.get(), "page", "w", log);
  if (!written || !write_directory(written.get(), copy, TiffCoding::g4, 0)) return {};
  written.reset();
  const TiffHandle read = open_tiff(memory.get(), "page", "r", log);
  if (!read) return {};
  std::string strip(static_cast<size_t>(TIFFRawStripSize(read.get(), 0)), '\0');
  const tmsize_t size = TIFFReadRawStrip(read.get(), 0, strip.data(), static_cast<tmsize_t>(strip.size()));
  strip.resize(size < 0 ? 0 : static_cast<size_t>(size));
  return strip;
}

}  // namespace tolvane
