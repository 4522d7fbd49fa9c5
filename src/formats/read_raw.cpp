// Raw coded lines. They are read as the one strip of a TIFF made in memory.
#include <errno.h>
#include <string.h>
#include <sys/mman.h>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "formats/page_readers.h"
#include "formats/tiff_file.h"
#include "support/handle.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|read_raw|9|01|1|0|0|11/23/26|06:00:00";

constexpr int32_t RTC_EMPTY_LINES = 5;  // six EOLs, of which the first ends a line (ITU-T T.4, 4.1.4)

// Writes coded lines of unknown number as a TIFF.
bool wrap_raw(const PictureFile &raw, const RawFormat &format, int fd, TiffLog &log) {
  const TiffHandle tiff = open_tiff(fd, raw.name, "w", log);
  if (!tiff) return false;
  const bool lines_without_eols = format.coding == RAW_RLE || format.coding == RAW_NO_EOL;
  describe_lines(tiff.get(), format.width, LONGEST_PAGE + 1,
                 format.coding == COMP_MMR ? COMPRESSION_CCITTFAX4
                 : lines_without_eols      ? COMPRESSION_CCITTRLE
                                           : COMPRESSION_CCITTFAX3,
                 format.high_bit_first ? FILLORDER_MSB2LSB : FILLORDER_LSB2MSB);
  if (format.coding == COMP_MH || format.coding == COMP_MR)
    TIFFSetField(tiff.get(), TIFFTAG_GROUP3OPTIONS,
                 static_cast<uint32_t>(format.coding == COMP_MR ? GROUP3OPT_2DENCODING : 0));
  return TIFFWriteRawStrip(tiff.get(), 0, const_cast<uint8_t *>(raw.bytes.data()),
                           static_cast<tmsize_t>(raw.bytes.size())) >= 0;
}

// Reads lines up to the end of the data, or to an RTC or EOFB: these come as lines that are empty, and no damage.
void read_raw_lines(TIFF *tiff, const RawFormat &format, TiffLog &log, SourcePicture &page) {
  const int32_t end_code = format.coding == COMP_MMR ? 1 : RTC_EMPTY_LINES;  // lines without EOLs have no end code
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

// Raw lines that were decoded, and what libtiff reports about them.
struct RawPage {
  SourcePicture picture;
  TiffLog log;
};

// Decodes raw lines. False with the reason in `page.log.error`.
bool decode_raw(const PictureFile &file, const RawFormat &format, RawPage &page) {
  const Descriptor memory(memfd_create("raw lines", MFD_CLOEXEC));
  if (!memory) page.log.error = strerror(errno);
  if (!memory || !wrap_raw(file, format, memory.get(), page.log)) return false;
  const TiffHandle tiff = open_tiff(memory.get(), file.name, "r", page.log);
  if (!tiff) return false;
  if (format.coding == RAW_NO_EOL) TIFFSetField(tiff.get(), TIFFTAG_FAXMODE, FAXMODE_NORTC | FAXMODE_NOEOL);
  page.picture = {format.width};
  read_raw_lines(tiff.get(), format, page.log, page.picture);
  return true;
}

const char *raw_name(const RawFormat &format) {
  constexpr std::pair<int32_t, const char *> NAMES[] = {
      {COMP_MH, "g3"}, {COMP_MR, "g3-2d"}, {COMP_MMR, "g4"}, {RAW_RLE, "rle"}, {RAW_NO_EOL, "g3-no-eol"}};
  return std::find_if(std::begin(NAMES), std::end(NAMES) - 1,
                      [&](const auto &row) { return row.first == format.coding; })
      ->second;
}

// Decodes raw lines of which nothing is known in all codings, bit orders and standard widths, and takes the result
// with the most lines that are good.
Status read_unknown_raw(const PictureFile &file, const page_sink &sink) {
  RawFormat best;
  RawPage page;
  int64_t most = 0;
  for (const int32_t coding : {COMP_MMR, COMP_MH, COMP_MR, RAW_RLE, RAW_NO_EOL}) {
    for (const int32_t width : {1728, 2048, 2432}) {
      for (const bool high_bit_first : {false, true}) {
        const RawFormat format = {coding, width, high_bit_first};
        RawPage tried;
        if (!decode_raw(file, format, tried)) continue;
        // A damaged line speaks against a reading more than one more good line speaks for it.
        const auto damaged = static_cast<int64_t>(tried.log.damage.size());
        const int64_t good = tried.picture.height - 10 * damaged;
        if (good <= most) continue;
        most = good;
        best = format;
        page = std::move(tried);
      }
    }
  }
  if (most <= 0) return failure("%s: not raw coded lines in any coding, bit order and width that is tried", file.name);
  report("%s: read as --raw %s --width %d --bit-order %s: %d lines", file.name, raw_name(best), best.width,
         best.high_bit_first ? "msb" : "lsb", page.picture.height);
  return worse(report_tiff_damage(file.name, 1, page.log), sink(std::move(page.picture)));
}

}  // namespace

Status read_raw(const PictureFile &file, const SourceOptions &options, const page_sink &sink) {
  if (options.raw.coding == RAW_AUTO) return read_unknown_raw(file, sink);
  if (check_picture_size(file.name, 1, options.raw.width, 1) != DONE) return FAILED;
  RawPage page;
  if (!decode_raw(file, options.raw, page)) return failure("%s: %s", file.name, page.log.error.c_str());
  if (page.picture.height == 0) return failure("%s: no line can be read as raw %s", file.name, raw_name(options.raw));
  return worse(report_tiff_damage(file.name, 1, page.log), sink(std::move(page.picture)));
}

}  // namespace tolvane
