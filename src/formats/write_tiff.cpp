// TIFF. The code of the pictures comes from our own encoder, in the form of the standard; libtiff writes the file.
#include "formats/page_writers.h"
#include "formats/tiff_file.h"
#include "io/output_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|write_tiff|9|01|1|0|0|11/22/26|21:40:00";

// Writes a picture as one strip of a new directory.
bool write_directory(TIFF *tiff, PagePicture &picture, TiffCoding coding, uint16_t page) {
  set_fax_tags(tiff, picture, coding);
  TIFFSetField(tiff, TIFFTAG_PAGENUMBER, page, 0);
  TIFFSetField(tiff, TIFFTAG_SOFTWARE, "tolvane-fax");
  return TIFFWriteRawStrip(tiff, 0, picture.code.data(), static_cast<tmsize_t>(picture.code.size())) >= 0 &&
         TIFFWriteDirectory(tiff) == 1;
}

}  // namespace

Status write_tiff(const OutputFile &output, TiffCoding coding, const picture_source &next) {
  TiffLog log;
  TiffHandle tiff = open_tiff(output.fd(), output.name(), "w", log);
  PagePicture picture;
  uint16_t page = 0;
  while (tiff && next(picture)) {
    if (picture.code.empty()) return failure("%s: a page cannot be coded", output.name());
    if (!write_directory(tiff.get(), picture, coding, page++)) tiff.reset();
  }
  if (!tiff) return failure("%s: %s", output.name(), log.error.c_str());
  // Closing writes what is still buffered, and reports failure by a message only.
  log.error.clear();
  tiff.reset();
  return log.error.empty() ? DONE : failure("%s: %s", output.name(), log.error.c_str());
}

}  // namespace tolvane
