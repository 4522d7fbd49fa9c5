// SFF, the structured fax file of ISDN adapters (CAPI 2.0, appendix B). Its lines are MH without EOLs, each in a record
// of its own, so that none depends on another: they are read as the strips of a TIFF made in memory.
#include <algorithm>
#include <vector>

#include "formats/page_readers.h"
#include "formats/tiff_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|read_sff|9|01|3|0|0|11/23/26|11:48:38";

constexpr size_t DOCUMENT_HEAD = 20, FIRST_PAGE = 10;                         // size, and where the first page is
constexpr size_t LINES_PER_INCH = 2, LINE_LENGTH = 6, PAGE_FIELDS = 8;        // of a page header, from its record type
constexpr uint8_t LONG_LINE = 0, LAST_LINE = 216, PAGE = 254, SPECIAL = 255;  // record types

// The rest of the file, taken from its start. What is taken past the end is empty, and `cut` is set.
struct Rest {
  std::span<const uint8_t> bytes;
  bool cut = false;

  std::span<const uint8_t> take(size_t count) {
    cut = cut || count > bytes.size();
    if (cut) return {};
    const auto taken = bytes.first(count);
    bytes = bytes.subspan(count);
    return taken;
  }
  uint8_t byte() {
    const auto taken = take(1);
    return taken.empty() ? uint8_t{0} : taken[0];
  }
};

uint16_t little_word(std::span<const uint8_t> bytes) {
  return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

// The lines of a page: coded ones, and empty ones for what is not coded.
struct CodedPage {
  int32_t width = 0;
  double y_dpi = 0;
  std::vector<std::span<const uint8_t>> lines;
};

// Reads the header of a page, after its record type. False at the end of the document.
bool read_page_header(Rest &rest, CodedPage &page) {
  const uint8_t size = rest.byte();
  const auto fields = rest.take(size);
  if (fields.size() < PAGE_FIELDS - 2) return false;
  page.y_dpi = lines_per_inch(fields[LINES_PER_INCH - 2]);
  page.width = little_word(fields.subspan(LINE_LENGTH - 2));
  return true;
}

// Reads the lines of a page up to the next page header, which is left.
void read_lines(Rest &rest, CodedPage &page) {
  constexpr auto MOST = static_cast<size_t>(LONGEST_PAGE);
  while (!rest.bytes.empty() && rest.bytes[0] != PAGE && !rest.cut && page.lines.size() < MOST) {
    const uint8_t type = rest.byte();
    if (type == LONG_LINE) {
      const auto size = rest.take(2);
      page.lines.push_back(size.empty() ? size : rest.take(little_word(size)));
    } else if (type <= LAST_LINE) {
      page.lines.push_back(rest.take(type));
    } else if (type == SPECIAL) {
      // A line that was received with an error, whose place the one before it takes; or what a maker added.
      const uint8_t size = rest.byte();
      rest.take(size);
      if (size == 0) page.lines.push_back(page.lines.empty() ? std::span<const uint8_t>() : page.lines.back());
    } else {
      page.lines.resize(std::min(page.lines.size() + type - LAST_LINE, MOST));
    }
  }
}

// Decodes the coded lines; damage goes to the log, by the line of the page.
bool decode_lines(const CodedPage &coded, TiffLog &log, SourcePicture &page) {
  std::vector<uint8_t> memory;
  TiffHandle tiff = create_tiff(memory, "page", log);
  if (!tiff || !describe_lines(tiff.get(), page.width, page.height, COMPRESSION_CCITTRLE, FILLORDER_LSB2MSB) ||
      !TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, 1))
    return false;
  uint32_t strips = 0;
  const uint8_t *written = nullptr;  // the line in the last strip: those that repeat it have none of their own
  for (const auto &line : coded.lines) {
    if (line.empty() || line.data() == written) continue;
    if (TIFFWriteRawStrip(tiff.get(), strips++, const_cast<uint8_t *>(line.data()),
                          static_cast<tmsize_t>(line.size())) < 0)
      return false;
    written = line.data();
  }
  tiff.reset();  // writes the directory
  tiff = open_tiff(memory, "page", log);
  if (!tiff) return false;
  log.in_pixels = true;
  std::vector<uint8_t> pixels(page.row_bytes());
  strips = 0;
  written = nullptr;
  for (log.line = 0; log.line < page.height; ++log.line) {
    std::fill(pixels.begin(), pixels.end(), uint8_t{0});
    const auto &line = coded.lines[static_cast<size_t>(log.line)];
    if (!line.empty()) {
      strips += line.data() != written;
      written = line.data();
      TIFFReadEncodedStrip(tiff.get(), strips - 1, pixels.data(), static_cast<tmsize_t>(pixels.size()));
    }
    page.bits.insert(page.bits.end(), pixels.begin(), pixels.end());
  }
  return true;
}

}  // namespace

Status read_sff(const PictureFile &file, const SourceOptions &, const page_sink &sink) {
  if (file.bytes.size() < DOCUMENT_HEAD) return failure("%s: the file ends within its header", file.name);
  Rest rest = {file.bytes};
  rest.take(little_word(file.bytes.subspan(FIRST_PAGE)));
  Status status = DONE;
  for (int32_t number = 1; status != FAILED && !rest.cut && !rest.bytes.empty(); ++number) {
    CodedPage coded;
    if (rest.byte() != PAGE) return failure("%s: there is no header where page %d starts", file.name, number);
    if (!read_page_header(rest, coded)) break;
    read_lines(rest, coded);
    if (rest.cut || rest.bytes.empty()) {  // a header without fields follows the last page
      report("%s: page %d is cut short", file.name, number);
      status = DAMAGED;
    }
    SourcePicture page = {coded.width, static_cast<int32_t>(coded.lines.size()), FAX_X_DPI, coded.y_dpi};
    if (check_picture_size(file.name, number, page.width, page.height) != DONE) return FAILED;
    page.number = number;
    TiffLog log;
    if (!decode_lines(coded, log, page)) return failure("%s: page %d: %s", file.name, number, log.error.c_str());
    status = worse(status, report_tiff_damage(file.name, number, log));
    status = worse(status, sink(std::move(page)));
  }
  return status;
}

}  // namespace tolvane
