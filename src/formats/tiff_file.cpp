// libtiff reports through callbacks: the log remembers which line was being read when a message came.
#include "formats/tiff_file.h"

#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|tiff_file|9|01|2|0|0|11/23/26|06:29:09";

int take_message(TIFF *, void *user_data, const char *, const char *format, va_list arguments) {
  auto &log = *static_cast<TiffLog *>(user_data);
  char text[512];
  vsnprintf(text, sizeof text, format, arguments);
  log.error = text;
  if (!log.in_pixels) return 1;
  log.empty_line = strstr(text, "(got 0,");
  if (log.damage.empty() || log.damage.back().first != log.line) log.damage.emplace_back(log.line, text);
  return 1;
}

}  // namespace

TiffHandle open_tiff(int fd, const char *name, const char *mode, TiffLog &log) {
  lseek(fd, 0, SEEK_SET);  // libtiff reads from where the descriptor is
  TIFFOpenOptions *options = TIFFOpenOptionsAlloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options, take_message, &log);
  TIFFOpenOptionsSetWarningHandlerExtR(options, take_message, &log);
  TIFF *tiff = TIFFFdOpenExt(dup(fd), name, mode, options);
  TIFFOpenOptionsFree(options);
  return TiffHandle(tiff);
}

void set_fax_tags(TIFF *tiff, const PagePicture &picture, TiffCoding coding) {
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
}

void describe_lines(TIFF *tiff, int32_t width, int32_t height, uint16_t compression, uint16_t fill_order) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(width));
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(height));
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<uint32_t>(height));
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  TIFFSetField(tiff, TIFFTAG_FILLORDER, fill_order);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
}

void add_line(const std::vector<uint8_t> &line, uint8_t white, SourcePicture &page) {
  const auto end = line.begin() + static_cast<ptrdiff_t>(page.row_bytes());
  std::transform(line.begin(), end, std::back_inserter(page.bits), [=](uint8_t byte) { return byte ^ white; });
}

bool read_line(TIFF *tiff, TiffLog &log, std::vector<uint8_t> &line) {
  log.empty_line = false;
  return TIFFReadScanline(tiff, line.data(), static_cast<uint32_t>(log.line)) == 1;
}

Status report_tiff_damage(const char *name, int32_t page, const TiffLog &log) {
  return report_damage(name, page, log.damage.size(), [&](size_t i) {
    const auto &[line, text] = log.damage[i];
    return line == NO_LINE ? text : "line " + std::to_string(line + 1) + ": " + text;
  });
}

}  // namespace tolvane
