// TIFF, and raw coded lines, which are read as the one strip of a TIFF made in memory. A damaged line inside a complete
// strip costs that line alone: libtiff reports it and continues. A strip that is missing, or damaged in a coding other
// than fax, fails.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include "formats/page_readers.h"
#include "formats/tiff_file.h"
#include "formats/turning.h"
#include "support/handle.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|read_tiff|9|01|1|0|0|11/22/26|21:30:00";

constexpr double CENTIMETRES = 2.54;    // in an inch
constexpr int32_t RTC_EMPTY_LINES = 5;  // six EOLs, of which the first ends a line (ITU-T T.4, 4.1.4)

void find_density(TIFF *tiff, SourcePicture &page) {
  float x = 0, y = 0;
  uint16_t unit = RESUNIT_INCH;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
  if (unit == RESUNIT_NONE || !TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &x) ||
      !TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &y) || !(x > 1) || !(y > 1))
    return;
  const double per_inch = unit == RESUNIT_CENTIMETER ? CENTIMETRES : 1;
  page.x_dpi = x * per_inch;
  page.y_dpi = y * per_inch;
}

uint16_t orientation_of(TIFF *tiff) {
  uint16_t orientation = ORIENTATION_TOPLEFT;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
  return orientation;
}

// Whether the directory is a page: not a smaller copy of one, and not a mask.
bool is_page(TIFF *tiff) {
  uint32_t kind = 0;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SUBFILETYPE, &kind);
  return !(kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK));
}

// Whether the page has one bit per pixel in rows, so that its lines can be copied.
bool is_bilevel(TIFF *tiff) {
  uint16_t bits = 1, samples = 1, photometric = PHOTOMETRIC_MINISWHITE;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
  return bits == 1 && samples == 1 && photometric <= PHOTOMETRIC_MINISBLACK && !TIFFIsTiled(tiff);
}

// Adds a packed line to the page.
//
// @param white  a byte of white pixels in the line
void add_line(const std::vector<uint8_t> &line, uint8_t white, SourcePicture &page) {
  const auto end = line.begin() + static_cast<ptrdiff_t>(page.row_bytes());
  std::transform(line.begin(), end, std::back_inserter(page.bits), [=](uint8_t byte) { return byte ^ white; });
}

// Reads the next coded line; damage goes to the log.
bool read_line(TIFF *tiff, TiffLog &log, std::vector<uint8_t> &line) {
  log.empty_line = false;
  return TIFFReadScanline(tiff, line.data(), static_cast<uint32_t>(log.line)) == 1;
}

// Reads the lines of a black and white page.
//
// @return whether all `page.height` lines were read
bool read_bilevel(TIFF *tiff, TiffLog &log, SourcePicture &page) {
  uint16_t photometric = PHOTOMETRIC_MINISWHITE;
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
  std::vector<uint8_t> line(static_cast<size_t>(TIFFScanlineSize(tiff)));
  if (line.size() < page.row_bytes()) return false;
  const uint8_t white = photometric == PHOTOMETRIC_MINISWHITE ? 0 : 0xFF;
  for (log.line = 0; log.line < page.height; ++log.line) {
    if (!read_line(tiff, log, line)) return false;
    add_line(line, white, page);
  }
  log.line = NO_LINE;
  return true;
}

// Reads any other page through libtiff's conversion to RGB. Transparent pixels become white.
bool read_colour(TIFF *tiff, SourcePicture &page) {
  const size_t count = static_cast<size_t>(page.width) * static_cast<size_t>(page.height);
  std::vector<uint32_t> pixels(count);
  // libtiff mirrors between orientations but never exchanges rows and columns: in its own orientation the picture comes
  // as it is stored.
  if (!TIFFReadRGBAImageOriented(tiff, static_cast<uint32_t>(page.width), static_cast<uint32_t>(page.height),
                                 pixels.data(), orientation_of(tiff), 1))
    return false;
  page.grey.reserve(count);
  for (const uint32_t pixel : pixels) {
    const uint32_t luminance = (299 * TIFFGetR(pixel) + 587 * TIFFGetG(pixel) + 114 * TIFFGetB(pixel) + 500) / 1000;
    // Colours are multiplied by their opacity: the rest to full opacity is white.
    page.grey.push_back(static_cast<uint8_t>(std::min<uint32_t>(luminance + 255 - TIFFGetA(pixel), 255)));
  }
  return true;
}

Status read_tiff_page(TIFF *tiff, const char *name, int32_t number, TiffLog &log, const page_sink &sink) {
  uint32_t width = 0, height = 0;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
  const Turn turn = upright(orientation_of(tiff));
  if (check_picture_size(name, number, width, height) != DONE ||
      (turn.transpose && check_picture_size(name, number, height, width) != DONE))
    return FAILED;
  SourcePicture page = {static_cast<int32_t>(width), static_cast<int32_t>(height)};
  find_density(tiff, page);
  log.error = "no picture";
  log.damage.clear();
  log.in_pixels = true;
  const bool read = is_bilevel(tiff) ? read_bilevel(tiff, log, page) : read_colour(tiff, page);
  log.in_pixels = false;
  if (!read) return failure("%s: page %d cannot be read: %s", name, number, log.error.c_str());
  turn_picture(page, turn);
  return worse(report_tiff_damage(name, number, log), sink(std::move(page)));
}

// Writes coded lines of unknown number as a TIFF.
bool wrap_raw(const PictureFile &raw, const RawFormat &format, int fd, TiffLog &log) {
  const TiffHandle tiff = open_tiff(fd, raw.name, "w", log);
  if (!tiff) return false;
  TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(format.width));
  TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(LONGEST_PAGE) + 1);
  TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, static_cast<uint32_t>(LONGEST_PAGE) + 1);
  TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 1);
  TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 1);
  TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  TIFFSetField(tiff.get(), TIFFTAG_FILLORDER, format.high_bit_first ? FILLORDER_MSB2LSB : FILLORDER_LSB2MSB);
  TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION,
               format.coding == COMP_MMR ? COMPRESSION_CCITTFAX4 : COMPRESSION_CCITTFAX3);
  if (format.coding != COMP_MMR)
    TIFFSetField(tiff.get(), TIFFTAG_GROUP3OPTIONS,
                 static_cast<uint32_t>(format.coding == COMP_MR ? GROUP3OPT_2DENCODING : 0));
  return TIFFWriteRawStrip(tiff.get(), 0, const_cast<uint8_t *>(raw.bytes.data()),
                           static_cast<tmsize_t>(raw.bytes.size())) >= 0;
}

// Reads lines up to the end of the data, or to an RTC or EOFB: libtiff returns these as empty lines, which are no
// damage.
void read_raw_lines(TIFF *tiff, const RawFormat &format, TiffLog &log, SourcePicture &page) {
  const int32_t end_code = format.coding == COMP_MMR ? 1 : RTC_EMPTY_LINES;
  std::vector<uint8_t> line(static_cast<size_t>(TIFFScanlineSize(tiff)));
  int32_t empty = 0;
  log.in_pixels = true;
  for (log.line = 0; log.line < LONGEST_PAGE && empty < end_code && read_line(tiff, log, line); ++log.line) {
    add_line(line, 0, page);
    empty = log.empty_line ? empty + 1 : 0;
  }
  page.height = log.line - empty;
  std::erase_if(log.damage, [&](const auto &damage) { return damage.first >= page.height; });
  page.bits.resize(page.row_bytes() * static_cast<size_t>(page.height));
}

}  // namespace

Status read_tiff(const PictureFile &file, const SourceOptions &options, const page_sink &sink) {
  TiffLog log;
  log.error = "no picture";
  const TiffHandle tiff = open_tiff(file.fd, file.name, "r", log);
  if (!tiff) return failure("%s: %s", file.name, log.error.c_str());
  Status status = DONE;
  int32_t page = 0;
  do {
    if (is_page(tiff.get())) status = worse(status, read_tiff_page(tiff.get(), file.name, ++page, log, sink));
    if (status == FAILED && !options.keep_going) return FAILED;
    log.error.clear();
  } while (TIFFReadDirectory(tiff.get()));
  // The directory after the last does not exist; a message about it means that it should.
  return log.error.empty() ? status : failure("%s: after page %d: %s", file.name, page, log.error.c_str());
}

Status read_raw(const PictureFile &file, const SourceOptions &options, const page_sink &sink) {
  if (check_picture_size(file.name, 1, options.raw.width, 1) != DONE) return FAILED;
  const Descriptor memory(memfd_create("raw lines", MFD_CLOEXEC));
  if (!memory) return system_failure(file.name);
  TiffLog log;
  if (!wrap_raw(file, options.raw, memory.get(), log)) return failure("%s: %s", file.name, log.error.c_str());
  const TiffHandle tiff = open_tiff(memory.get(), file.name, "r", log);
  if (!tiff) return failure("%s: %s", file.name, log.error.c_str());

  SourcePicture page = {options.raw.width};
  read_raw_lines(tiff.get(), options.raw, log, page);
  if (page.height == 0)
    return failure("%s: no line can be read as raw %s", file.name, options.raw.coding == COMP_MMR ? "G4" : "G3");
  return worse(report_tiff_damage(file.name, 1, log), sink(std::move(page)));
}

}  // namespace tolvane
