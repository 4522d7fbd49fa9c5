// TIFF, and raw coded lines, which are read as the one strip of a TIFF made in memory. A damaged line inside a complete
// strip costs that line: libtiff tells of it and goes on, and so do we. A strip that is not there, or in another coding
// than fax, fails.
#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "formats/page_readers.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|read_tiff|9|01|1|0|0|11/22/26|21:30:00";

constexpr double CENTIMETRES = 2.54;    // in an inch
constexpr int32_t RTC_EMPTY_LINES = 5;  // six EOLs, of which the first ends a line (ITU-T T.4, 4.1.4)

/// A TIFF in memory: a view for reading, or bytes of its own for writing.
struct MemoryFile {
  std::span<const uint8_t> view;
  std::string written;
  uint64_t position = 0;
};

MemoryFile &memory(thandle_t handle) {
  return *static_cast<MemoryFile *>(handle);
}

tmsize_t read_memory(thandle_t handle, void *buffer, tmsize_t size) {
  MemoryFile &file = memory(handle);
  if (file.position >= file.view.size()) return 0;
  const size_t count = std::min(static_cast<size_t>(size), file.view.size() - file.position);
  memcpy(buffer, file.view.data() + file.position, count);
  file.position += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t write_memory(thandle_t handle, void *buffer, tmsize_t size) {
  MemoryFile &file = memory(handle);
  const auto count = static_cast<size_t>(size);
  file.written.resize(std::max<uint64_t>(file.written.size(), file.position + count));
  memcpy(file.written.data() + file.position, buffer, count);
  file.position += count;
  return size;
}

toff_t size_of_memory(thandle_t handle) {
  return std::max<toff_t>(memory(handle).view.size(), memory(handle).written.size());
}

toff_t seek_memory(thandle_t handle, toff_t offset, int whence) {
  const toff_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? memory(handle).position : size_of_memory(handle);
  return memory(handle).position = base + offset;
}

int close_memory(thandle_t) {
  return 0;
}

int map_memory(thandle_t handle, void **base, toff_t *size) {
  *base = const_cast<uint8_t *>(memory(handle).view.data());
  *size = memory(handle).view.size();
  return *size != 0;
}

void unmap_memory(thandle_t, void *, toff_t) {}

constexpr int32_t NO_LINE = -1;

/// What libtiff has to say while a page is read.
struct TiffLog {
  explicit TiffLog(const char *file, int32_t first_page = 0) : name(file), page(first_page) {}

  const char *name;
  int32_t page;
  bool in_pixels = false;                               // pixels are being read: what is said tells of damage
  int32_t line = NO_LINE;                               // the line being read, from 0, if they are read line by line
  bool empty_line = false;                              // it is an EOL with nothing before it, as in an RTC
  std::vector<std::pair<int32_t, std::string>> damage;  // damaged lines and what was said of them first
  std::string error;                                    // what was said last, of pixels or not
};

int take_message(TIFF *, void *user_data, const char *, const char *format, va_list arguments) {
  auto &log = *static_cast<TiffLog *>(user_data);
  char text[512];
  vsnprintf(text, sizeof text, format, arguments);
  log.error = text;
  if (!log.in_pixels) return 1;
  log.empty_line = strstr(text, "(got 0,") != nullptr;
  if (log.damage.empty() || log.damage.back().first != log.line) log.damage.emplace_back(log.line, text);
  return 1;
}

/// Tells of the damage of the page, if there is any.
Status told_damage(const TiffLog &log) {
  const size_t told = std::min(log.damage.size(), DAMAGE_TOLD);
  for (const auto &[line, text] : std::span(log.damage).first(told)) {
    const std::string place = line == NO_LINE ? "" : "line " + std::to_string(line + 1) + ": ";
    complain("%s: page %d: %s%s", log.name, log.page, place.c_str(), text.c_str());
  }
  if (told < log.damage.size())
    complain("%s: page %d: %zu more damaged lines", log.name, log.page, log.damage.size() - told);
  return log.damage.empty() ? DONE : DAMAGED;
}

struct CloseTiff {
  void operator()(TIFF *tiff) const { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, CloseTiff>;

/// @param log  receives errors and, since damaged lines come as warnings, these
TiffHandle open_tiff(MemoryFile &file, const char *mode, TiffLog &log) {
  TIFFOpenOptions *options = TIFFOpenOptionsAlloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options, take_message, &log);
  TIFFOpenOptionsSetWarningHandlerExtR(options, take_message, &log);
  TIFF *tiff = TIFFClientOpenExt(log.name, mode, &file, read_memory, write_memory, seek_memory, close_memory,
                                 size_of_memory, map_memory, unmap_memory, options);
  TIFFOpenOptionsFree(options);
  return TiffHandle(tiff);
}

void find_density(TIFF *tiff, GreyPage &page) {
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

/// Whether the page is one bit a pixel in rows from the top, so that its lines can be taken as they are.
bool is_bilevel(TIFF *tiff) {
  uint16_t bits = 1, samples = 1, photometric = PHOTOMETRIC_MINISWHITE, orientation = ORIENTATION_TOPLEFT;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
  return bits == 1 && samples == 1 && photometric <= PHOTOMETRIC_MINISBLACK && orientation == ORIENTATION_TOPLEFT &&
         !TIFFIsTiled(tiff);
}

/// Adds a packed line to the page.
void add_line(const uint8_t *line, uint8_t black_is, GreyPage &page) {
  for (int32_t x = 0; x < page.width; ++x) {
    const uint8_t bit = line[x / 8] >> (7 - x % 8) & 1;
    page.grey.push_back(bit == black_is ? 0 : 255);
  }
}

/// Reads the next coded line; damage goes to the log.
bool read_line(TIFF *tiff, TiffLog &log, std::vector<uint8_t> &line) {
  log.empty_line = false;
  return TIFFReadScanline(tiff, line.data(), static_cast<uint32_t>(log.line)) == 1;
}

/// Reads the lines of a black and white page.
///
/// @return whether all `page.height` lines came
bool read_bilevel(TIFF *tiff, TiffLog &log, GreyPage &page) {
  uint16_t photometric = PHOTOMETRIC_MINISWHITE;
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
  std::vector<uint8_t> line(static_cast<size_t>(TIFFScanlineSize(tiff)));
  if (line.size() < (static_cast<size_t>(page.width) + 7) / 8) return false;
  for (log.line = 0; log.line < page.height; ++log.line) {
    if (!read_line(tiff, log, line)) return false;
    add_line(line.data(), photometric == PHOTOMETRIC_MINISWHITE, page);
  }
  log.line = NO_LINE;
  return true;
}

/// Reads any other page through libtiff's conversion to RGB, whose pixels that let light through stand on white.
bool read_colour(TIFF *tiff, GreyPage &page) {
  const size_t count = static_cast<size_t>(page.width) * static_cast<size_t>(page.height);
  std::vector<uint32_t> pixels(count);
  if (!TIFFReadRGBAImageOriented(tiff, static_cast<uint32_t>(page.width), static_cast<uint32_t>(page.height),
                                 pixels.data(), ORIENTATION_TOPLEFT, 1))
    return false;
  page.grey.reserve(count);
  for (const uint32_t pixel : pixels) {
    const uint32_t luminance = (299 * TIFFGetR(pixel) + 587 * TIFFGetG(pixel) + 114 * TIFFGetB(pixel) + 500) / 1000;
    // Colours come multiplied with their opacity: what is missing to full opacity is white.
    page.grey.push_back(static_cast<uint8_t>(std::min<uint32_t>(luminance + 255 - TIFFGetA(pixel), 255)));
  }
  return true;
}

Status read_tiff_page(TIFF *tiff, TiffLog &log, const page_sink &sink) {
  uint32_t width = 0, height = 0;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
  if (check_picture_size(log.name, log.page, width, height) != DONE) return FAILED;
  GreyPage page = {static_cast<int32_t>(width), static_cast<int32_t>(height), 0, 0, {}};
  find_density(tiff, page);
  log.error = "no picture";
  log.damage.clear();
  log.in_pixels = true;
  const bool read = is_bilevel(tiff) ? read_bilevel(tiff, log, page) : read_colour(tiff, page);
  log.in_pixels = false;
  if (!read) return failure("%s: page %d cannot be read: %s", log.name, log.page, log.error.c_str());
  return worse(told_damage(log), sink(std::move(page)));
}

/// Wraps coded lines of unknown number in a TIFF.
bool wrap_raw(const PictureFile &raw, const RawFormat &format, MemoryFile &file) {
  TiffLog log(raw.name);
  const TiffHandle tiff = open_tiff(file, "w", log);
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

/// Reads lines up to the end of the data, or to an RTC or EOFB: these come as lines that are empty, and no damage.
void read_raw_lines(TIFF *tiff, const RawFormat &format, TiffLog &log, GreyPage &page) {
  const int32_t end_code = format.coding == COMP_MMR ? 1 : RTC_EMPTY_LINES;
  std::vector<uint8_t> line(static_cast<size_t>(TIFFScanlineSize(tiff)));
  int32_t empty = 0;
  log.in_pixels = true;
  for (log.line = 0; log.line < LONGEST_PAGE && empty < end_code && read_line(tiff, log, line); ++log.line) {
    add_line(line.data(), 1, page);
    empty = log.empty_line ? empty + 1 : 0;
  }
  page.height = log.line - empty;
  std::erase_if(log.damage, [&](const auto &damage) { return damage.first >= page.height; });
  page.grey.resize(static_cast<size_t>(page.width) * static_cast<size_t>(page.height));
}

}  // namespace

Status read_tiff(const PictureFile &file, const SourceOptions &, const page_sink &sink) {
  MemoryFile contents = {file.bytes, {}};
  TiffLog log(file.name);
  log.error = "no picture";
  const TiffHandle tiff = open_tiff(contents, "r", log);
  if (!tiff) return failure("%s: %s", file.name, log.error.c_str());
  Status status = DONE;
  do {
    ++log.page;
    status = worse(status, read_tiff_page(tiff.get(), log, sink));
    if (status == FAILED) return FAILED;
    log.error.clear();
  } while (TIFFReadDirectory(tiff.get()));
  // The directory after the last is no directory at all; anything said about it means that it should have been one.
  return log.error.empty() ? status : failure("%s: after page %d: %s", file.name, log.page, log.error.c_str());
}

Status read_raw(const PictureFile &file, const SourceOptions &options, const page_sink &sink) {
  MemoryFile made, contents;
  if (check_picture_size(file.name, 1, options.raw.width, 1) != DONE) return FAILED;
  if (!wrap_raw(file, options.raw, made)) return failure("%s: cannot be read as raw lines", file.name);
  contents.view = {reinterpret_cast<const uint8_t *>(made.written.data()), made.written.size()};
  TiffLog log(file.name, 1);
  const TiffHandle tiff = open_tiff(contents, "r", log);
  if (!tiff) return failure("%s: %s", file.name, log.error.c_str());

  GreyPage page = {options.raw.width, 0, 0, 0, {}};
  read_raw_lines(tiff.get(), options.raw, log, page);
  if (page.height == 0)
    return failure("%s: no line can be read as raw %s", file.name, options.raw.coding == COMP_MMR ? "G4" : "G3");
  return worse(told_damage(log), sink(std::move(page)));
}

}  // namespace tolvane
