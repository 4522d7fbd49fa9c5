// libtiff reports through callbacks: the log remembers which line was being read when a message came. It reads and
// writes through callbacks too, since it does not look at the result of every seek and write of its own.
#include "formats/tiff_file.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|tiff_file|9|01|4|0|0|11/23/26|11:48:38";

// Bytes that libtiff may take at a time beyond those of the file: four planes of a strip of the most that is converted.
constexpr tmsize_t MOST_TAKEN = 64 << 20;

int take_message(TIFF *, void *user_data, const char *, const char *format, va_list arguments) {
  auto &log = *static_cast<TiffLog *>(user_data);
  char text[512];
  vsnprintf(text, sizeof text, format, arguments);
  log.error = text;
  if (!log.in_pixels) return 1;
  log.empty_line = strstr(text, "(got 0,");
  log.damage.add(log.line, text);
  return 1;
}

// A warning about the file, not about the code of its pixels: the conversion of a palette gives one.
bool is_about_file(TIFF *tiff, const char *module) {
  return module && strcmp(module, TIFFFileName(tiff)) == 0;
}

int take_warning(TIFF *tiff, void *user_data, const char *module, const char *format, va_list arguments) {
  if (static_cast<TiffLog *>(user_data)->in_pixels && is_about_file(tiff, module)) return 1;
  return take_message(tiff, user_data, module, format, arguments);
}

// What a TIFF is read from or written to: a file, bytes to read, or bytes to write.
struct Medium {
  TiffLog &log;
  int fd = -1;
  std::span<const uint8_t> source = {};
  std::vector<uint8_t> *target = nullptr;
  uint64_t position = 0;

  std::span<const uint8_t> bytes() const { return target ? std::span<const uint8_t>(*target) : source; }
};

Medium &medium_of(thandle_t handle) {
  return *static_cast<Medium *>(handle);
}

tmsize_t failed(Medium &medium) {
  if (medium.log.io_error == 0) medium.log.io_error = errno;
  return -1;
}

tmsize_t read_medium(thandle_t handle, void *buffer, tmsize_t size) {
  Medium &medium = medium_of(handle);
  tmsize_t done = 0;
  if (medium.fd < 0) {
    const auto bytes = medium.bytes();
    const auto rest = bytes.subspan(std::min<uint64_t>(medium.position, bytes.size()));
    done = std::min(size, static_cast<tmsize_t>(rest.size()));
    std::copy_n(rest.begin(), done, static_cast<uint8_t *>(buffer));
  }
  while (medium.fd >= 0 && done < size) {
    const ssize_t count = pread(medium.fd, static_cast<char *>(buffer) + done, static_cast<size_t>(size - done),
                                static_cast<off_t>(medium.position) + done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return failed(medium);
    if (count == 0) break;
    done += count;
  }
  medium.position += static_cast<uint64_t>(done);
  return done;
}

tmsize_t write_medium(thandle_t handle, void *buffer, tmsize_t size) {
  Medium &medium = medium_of(handle);
  const auto *bytes = static_cast<const uint8_t *>(buffer);
  if (medium.target) {
    try {
      medium.target->resize(std::max<size_t>(medium.target->size(), medium.position + static_cast<uint64_t>(size)));
    } catch (const std::bad_alloc &) {  // which no handle that is closing may pass on
      errno = ENOMEM;
      return failed(medium);
    }
    std::copy_n(bytes, size, medium.target->begin() + static_cast<ptrdiff_t>(medium.position));
  } else {
    for (tmsize_t done = 0; done < size;) {
      const ssize_t count =
          pwrite(medium.fd, bytes + done, static_cast<size_t>(size - done), static_cast<off_t>(medium.position) + done);
      if (count < 0 && errno != EINTR) return failed(medium);
      if (count > 0) done += count;
    }
  }
  medium.position += static_cast<uint64_t>(size);
  return size;
}

toff_t size_of_medium(thandle_t handle) {
  Medium &medium = medium_of(handle);
  if (medium.fd < 0) return medium.bytes().size();
  struct stat status;
  if (fstat(medium.fd, &status) == 0) return static_cast<toff_t>(status.st_size);
  failed(medium);
  return 0;
}

toff_t seek_medium(thandle_t handle, toff_t offset, int whence) {
  Medium &medium = medium_of(handle);
  const toff_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? medium.position : size_of_medium(handle);
  return medium.position = from + offset;
}

int close_medium(thandle_t handle) {
  delete static_cast<Medium *>(handle);
  return 0;
}

int map_medium(thandle_t handle, void **base, toff_t *size) {
  const Medium &medium = medium_of(handle);
  if (medium.source.empty()) return 0;
  *base = const_cast<uint8_t *>(medium.source.data());
  *size = medium.source.size();
  return 1;
}

void unmap_medium(thandle_t, void *, toff_t) {}

TiffHandle open_medium(const Medium &medium, const char *name, const char *mode) {
  TIFFOpenOptions *options = TIFFOpenOptionsAlloc();
  if (!options) return nullptr;
  TIFFOpenOptionsSetErrorHandlerExtR(options, take_message, &medium.log);
  TIFFOpenOptionsSetWarningHandlerExtR(options, take_warning, &medium.log);
  TIFFOpenOptionsSetMaxSingleMemAlloc(options, MOST_TAKEN + static_cast<tmsize_t>(medium.source.size()));
  auto handle = std::make_unique<Medium>(medium);
  TIFF *tiff = TIFFClientOpenExt(name, mode, handle.get(), read_medium, write_medium, seek_medium, close_medium,
                                 size_of_medium, map_medium, unmap_medium, options);
  TIFFOpenOptionsFree(options);
  if (tiff) handle.release();
  return TiffHandle(tiff);
}

}  // namespace

void TiffDamage::add(int32_t line, const char *message) {
  if (count > 0 && last == line) return;
  last = line;
  ++count;
  if (first.size() < MOST) first.emplace_back(line, message);
}

void TiffDamage::forget_from(int32_t line) {
  count -= std::erase_if(first, [&](const auto &damaged) { return damaged.first >= line; });
}

TiffHandle open_tiff(std::span<const uint8_t> bytes, const char *name, TiffLog &log) {
  return open_medium({.log = log, .source = bytes}, name, "r");
}

TiffHandle create_tiff(int fd, const char *name, TiffLog &log) {
  return open_medium({.log = log, .fd = fd}, name, "w");
}

TiffHandle create_tiff(std::vector<uint8_t> &bytes, const char *name, TiffLog &log) {
  return open_medium({.log = log, .target = &bytes}, name, "w");
}

bool set_fax_tags(TIFF *tiff, const PagePicture &picture, TiffCoding coding) {
  const uint16_t compression = coding == TiffCoding::g3 ? COMPRESSION_CCITTFAX3 : COMPRESSION_CCITTFAX4;
  return describe_lines(tiff, picture.width, picture.height, compression, FILLORDER_MSB2LSB) &&
         TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE) &&
         TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
         TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH) &&
         TIFFSetField(tiff, TIFFTAG_XRESOLUTION, picture.x_dpi) &&
         TIFFSetField(tiff, TIFFTAG_YRESOLUTION, picture.y_dpi);
}

bool describe_lines(TIFF *tiff, int32_t width, int32_t height, uint16_t compression, uint16_t fill_order) {
  return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(width)) &&
         TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(height)) &&
         TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<uint32_t>(height)) &&
         TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1) && TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1) &&
         TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE) &&
         TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression) &&
         (fill_order == FILLORDER_MSB2LSB || TIFFSetField(tiff, TIFFTAG_FILLORDER, fill_order));
}

bool read_line(TIFF *tiff, TiffLog &log, uint8_t *line) {
  log.empty_line = false;
  return TIFFReadScanline(tiff, line, static_cast<uint32_t>(log.line)) == 1;
}

Status report_tiff_damage(const char *name, int32_t page, const TiffLog &log) {
  return report_damage(name, page, log.damage.count, [&](size_t i) {
    const auto &[line, text] = log.damage.first[i];
    return line == NO_LINE ? text : "line " + std::to_string(line + 1) + ": " + text;
  });
}

}  // namespace tolvane
