// libtiff decodes the lines, as the one strip of a TIFF made in memory.
#include "formats/coded_lines.h"

#include <algorithm>
#include <vector>

#include "formats/fax_lines.h"
#include "formats/tiff_file.h"
#include "formats/with_memory.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|coded_lines|9|01|3|0|0|11/23/26|11:29:38";

constexpr int32_t RTC_EMPTY_LINES = 5;  // six EOLs, of which the first ends a line (ITU-T T.4, 4.1.4)

// Writes coded lines as a TIFF.
bool wrap(std::span<const uint8_t> bytes, const RawFormat &format, std::vector<uint8_t> &file, TiffLog &log) {
  const TiffHandle tiff = create_tiff(file, "lines", log);
  const bool lines_without_eols = format.coding == RAW_RLE || format.coding == RAW_NO_EOL;
  const uint16_t compression = format.coding == COMP_MMR ? COMPRESSION_CCITTFAX4
                               : lines_without_eols      ? COMPRESSION_CCITTRLE
                                                         : COMPRESSION_CCITTFAX3;
  const uint16_t order = format.high_bit_first ? FILLORDER_MSB2LSB : FILLORDER_LSB2MSB;
  if (!tiff || !describe_lines(tiff.get(), format.width, LONGEST_PAGE + 1, compression, order)) return false;
  const uint32_t options = format.coding == COMP_MR ? GROUP3OPT_2DENCODING : 0;
  if (compression == COMPRESSION_CCITTFAX3 && !TIFFSetField(tiff.get(), TIFFTAG_GROUP3OPTIONS, options)) return false;
  return TIFFWriteRawStrip(tiff.get(), 0, const_cast<uint8_t *>(bytes.data()), static_cast<tmsize_t>(bytes.size())) >=
         0;
}

bool decode(std::span<const uint8_t> bytes, const RawFormat &format, int32_t most, TiffLog &log, SourcePicture &page) {
  std::vector<uint8_t> file;
  if (!wrap(bytes, format, file, log)) return false;
  const TiffHandle tiff = open_tiff(file, "lines", log);
  if (!tiff) return false;
  if (format.coding == RAW_NO_EOL) TIFFSetField(tiff.get(), TIFFTAG_FAXMODE, FAXMODE_NORTC | FAXMODE_NOEOL);
  page.width = format.width;
  page.bits.clear();
  const size_t size = page.row_bytes();
  const auto longest = static_cast<int32_t>(std::min<int64_t>(most, LARGEST_PICTURE / format.width));
  const int32_t end_code = format.coding == COMP_MMR ? 1 : RTC_EMPTY_LINES;  // lines without EOLs have no end code
  if (static_cast<size_t>(TIFFScanlineSize(tiff.get())) != size) return false;
  page.bits.reserve(size * static_cast<size_t>(longest));
  int32_t empty = 0;
  log.in_pixels = true;
  for (log.line = 0; log.line < longest && empty < end_code; ++log.line) {
    page.bits.resize(page.bits.size() + size);
    if (!read_line(tiff.get(), log, page.bits.data() + page.bits.size() - size)) break;
    empty = log.empty_line ? empty + 1 : 0;
  }
  page.height = log.line - empty;
  log.damage.forget_from(page.height);
  page.bits.resize(size * static_cast<size_t>(page.height));
  return true;
}

}  // namespace

bool decode_coded_lines(std::span<const uint8_t> bytes, const RawFormat &format, int32_t most, TiffLog &log,
                        SourcePicture &page) {
  return with_memory([&] { return decode(bytes, format, most, log, page); });
}

Status decode_coded_picture(const char *name, int32_t number, const CodedPicture &coded, SourcePicture &page) {
  TiffLog log;
  if (!decode_coded_lines(coded.code, coded.format, coded.height, log, page))
    return failure("%s: page %d cannot be read: %s", name, number, log.error.c_str());
  Status status = report_tiff_damage(name, number, log);
  if (page.height < coded.height) {
    report("%s: page %d ends after %d of %d lines", name, number, page.height, coded.height);
    status = DAMAGED;
  }
  if (coded.inverted) {
    for (uint8_t &byte : page.bits) byte = static_cast<uint8_t>(~byte);
  }
  page.height = coded.height;
  page.bits.resize(page.row_bytes() * static_cast<size_t>(page.height));
  return status;
}

}  // namespace tolvane
