// A TIFF in a file or in memory, opened by libtiff, and what libtiff reports about it.
#pragma once

#include <tiffio.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "formats/page_picture.h"
#include "formats/source_picture.h"
#include "io/report.h"

namespace tolvane {

struct CloseTiff {
  void operator()(TIFF *tiff) const { TIFFClose(tiff); }
};

/// An open TIFF, closed with the handle.
using TiffHandle = std::unique_ptr<TIFF, CloseTiff>;

constexpr int32_t NO_LINE = -1;

/// The damaged lines of a page.
struct TiffDamage {
  static constexpr size_t MOST = 32768;  ///< that are kept: more than the longest page that is made has lines

  size_t count = 0;
  int32_t last = NO_LINE;                              ///< the last of them
  std::vector<std::pair<int32_t, std::string>> first;  ///< the first of them, each with the first message about it

  /// Counts a line, once however many messages there are about it.
  void add(int32_t line, const char *message);
  /// Forgets the lines from this one on, of a page of no more than MOST lines.
  void forget_from(int32_t line);
};

/// Errors and warnings of libtiff. Damaged lines come as warnings while pixels are read.
struct TiffLog {
  std::string error;        ///< the last message
  int io_error = 0;         ///< errno of the first call on the file that failed
  bool in_pixels = false;   ///< pixels are being read: messages report damage
  int32_t line = NO_LINE;   ///< the line being read, from 0, if pages are read line by line
  bool empty_line = false;  ///< it is an EOL with nothing before it, as in an RTC
  TiffDamage damage;
};

/// Opens a TIFF to read.
///
/// @param bytes  the file, which must live as long as the handle
/// @param name   for libtiff's own use
/// @param log    receives the messages; must live as long as the handle
/// @return null if it is no TIFF, with the reason in `log.error`
TiffHandle open_tiff(std::span<const uint8_t> bytes, const char *name, TiffLog &log);

/// Begins a TIFF in a file.
///
/// @param fd   an empty file, open for reading and writing; stays the caller's. Its position does not change
/// @param log  as above; `log.io_error` is set for good when the file cannot be read or written, which libtiff does not
///             always report
TiffHandle create_tiff(int fd, const char *name, TiffLog &log);

/// Begins a TIFF in memory.
///
/// @param bytes  receives the file, which is complete after the handle is gone
TiffHandle create_tiff(std::vector<uint8_t> &bytes, const char *name, TiffLog &log);

/// Sets the tags of a black and white picture in one strip: size, density, coding. False if memory is short.
bool set_fax_tags(TIFF *tiff, const PagePicture &picture, TiffCoding coding);

/// Describes one strip of coded lines, white where bits are 0. False if memory is short.
bool describe_lines(TIFF *tiff, int32_t width, int32_t height, uint16_t compression, uint16_t fill_order);

/// Reads the line of number `log.line`; damage goes to the log. False if there are no more lines.
///
/// @param line  room for as many bytes as TIFFScanlineSize returns
bool read_line(TIFF *tiff, TiffLog &log, uint8_t *line);

/// Reports the damaged lines of a page. DONE if there are none, else DAMAGED.
Status report_tiff_damage(const char *name, int32_t page, const TiffLog &log);

}  // namespace tolvane
