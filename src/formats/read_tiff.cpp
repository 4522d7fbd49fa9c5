// TIFF. A damaged line inside a complete strip costs that line alone: libtiff reports it and continues. A strip that is
// missing, or damaged in a coding other than fax, fails.
#include <string.h>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "formats/grey_rows.h"
#include "formats/page_readers.h"
#include "formats/tiff_file.h"
#include "formats/tiff_grey.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|read_tiff|9|01|4|0|0|11/23/26|11:48:38";

constexpr double CENTIMETRES = 2.54;  // in an inch

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

std::string text_tag(TIFF *tiff, uint32_t tag) {
  const char *text = nullptr;
  return TIFFGetField(tiff, tag, &text) && text ? text : "";
}

// The tags of documents (TIFF 6.0, class F) and of fax servers. A spool file, which has the time of reception,
// describes itself by the sender's number.
HeaderValues metadata_of(TIFF *tiff) {
  HeaderValues values;
  uint32_t seconds = 0, parameters = 0, bad_lines = 0;
  const bool received = TIFFGetField(tiff, TIFFTAG_FAXRECVTIME, &seconds);
  add_header_value(values, received ? "SENDER_FAX#" : "SUBJECT", text_tag(tiff, TIFFTAG_IMAGEDESCRIPTION));
  add_header_value(values, "SENDER_NAME", text_tag(tiff, TIFFTAG_ARTIST));
  std::tm date;
  if (parse_date(text_tag(tiff, TIFFTAG_DATETIME), date))
    add_header_value(values, "DATE", format_date(date, "%Y-%m-%d %H:%M:%S"));
  add_header_value(values, "SENDER_EQUIPMENT", text_tag(tiff, TIFFTAG_MAKE) + " " + text_tag(tiff, TIFFTAG_MODEL));
  add_header_value(values, "FAX_ID", text_tag(tiff, TIFFTAG_HOSTCOMPUTER));

  std::string facts;
  const auto add_fact = [&](const std::string &name, const std::string &value) {
    if (!value.empty()) facts += (facts.empty() ? "" : "; ") + name + "=" + value;
  };
  if (received) add_fact("received-in", std::to_string(seconds) + " s");
  if (TIFFGetField(tiff, TIFFTAG_FAXRECVPARAMS, &parameters)) add_fact("parameters", std::to_string(parameters));
  add_fact("dcs", text_tag(tiff, TIFFTAG_FAXDCS));
  add_fact("subaddress", text_tag(tiff, TIFFTAG_FAXSUBADDRESS));
  if (TIFFGetField(tiff, TIFFTAG_BADFAXLINES, &bad_lines) && bad_lines > 0)
    add_fact("bad-lines", std::to_string(bad_lines));
  add_header_value(values, "KEYWORDS", facts);
  return values;
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

uint16_t compression_of(TIFF *tiff) {
  uint16_t compression = COMPRESSION_NONE;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
  return compression;
}

// Reads the lines of a black and white page whose coding has no lines of its own.
bool read_strips(TIFF *tiff, SourcePicture &page) {
  uint32_t rows = 0;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &rows);
  const size_t size = page.row_bytes();
  std::vector<uint8_t> strip(static_cast<size_t>(TIFFStripSize(tiff)));
  for (uint32_t at = 0; at < static_cast<uint32_t>(page.height); ++at) {
    const size_t row = at % rows;
    if (row == 0 && TIFFReadEncodedStrip(tiff, TIFFComputeStrip(tiff, at, 0), strip.data(), -1) < 0) return false;
    if ((row + 1) * size > strip.size()) return false;
    memcpy(&page.bits[at * size], &strip[row * size], size);
  }
  return true;
}

// Reads the lines of a black and white page.
//
// @return whether all `page.height` lines were read
bool read_bilevel(TIFF *tiff, TiffLog &log, SourcePicture &page) {
  uint16_t photometric = PHOTOMETRIC_MINISWHITE;
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
  const size_t size = page.row_bytes();
  if (static_cast<size_t>(TIFFScanlineSize(tiff)) != size) return false;
  page.bits.assign(size * static_cast<size_t>(page.height), 0);
  if (compression_of(tiff) == COMPRESSION_JBIG) {
    if (!read_strips(tiff, page)) return false;
  } else {
    for (log.line = 0; log.line < page.height; ++log.line) {
      if (!read_line(tiff, log, &page.bits[static_cast<size_t>(log.line) * size])) return false;
    }
    log.line = NO_LINE;
  }
  if (photometric == PHOTOMETRIC_MINISWHITE) return true;
  for (uint8_t &byte : page.bits) byte = static_cast<uint8_t>(~byte);
  return true;
}

// Copies a page of coded lines as one of lines without EOLs.
bool copy_without_eols(TIFF *tiff, const SourcePicture &page, TIFF *copy) {
  uint32_t rows = 0;
  uint16_t photometric = PHOTOMETRIC_MINISWHITE, order = FILLORDER_MSB2LSB;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &rows);
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_FILLORDER, &order);
  if (!describe_lines(copy, page.width, page.height, COMPRESSION_CCITTRLE, order) ||
      !TIFFSetField(copy, TIFFTAG_ROWSPERSTRIP, rows) || !TIFFSetField(copy, TIFFTAG_PHOTOMETRIC, photometric))
    return false;
  uint64_t left = TIFFGetSizeProc(tiff)(TIFFClientdata(tiff));  // strips that overlap would be many times the file
  for (uint32_t strip = 0; strip < TIFFNumberOfStrips(tiff); ++strip) {
    const uint64_t claimed = TIFFRawStripSize64(tiff, strip);
    if (claimed > left) return false;
    left -= claimed;
    std::vector<uint8_t> coded(claimed);
    const tmsize_t size = TIFFReadRawStrip(tiff, strip, coded.data(), static_cast<tmsize_t>(coded.size()));
    if (size < 0 || TIFFWriteRawStrip(copy, strip, coded.data(), size) < 0) return false;
  }
  return true;
}

// Reads a page whose tag says G3, but whose lines have no EOLs: each starts in a new byte, or where the last one ends.
//
// @param read  whether the page can be read as the tag says, with the damage in `log`; `page` and `log` change only if
//              there is less damage without EOLs
// @return whether the page has been read
bool read_without_eols(TIFF *tiff, bool read, TiffLog &log, SourcePicture &page) {
  std::vector<uint8_t> memory;
  TiffLog writing;
  TiffHandle copy = create_tiff(memory, "page", writing);
  if (!copy || !copy_without_eols(tiff, page, copy.get())) return read;
  copy.reset();  // writes the directory
  for (const int mode : {FAXMODE_NORTC | FAXMODE_NOEOL | FAXMODE_BYTEALIGN, FAXMODE_NORTC | FAXMODE_NOEOL}) {
    TiffLog found;
    const TiffHandle lines = open_tiff(memory, "page", found);
    SourcePicture other = {page.width, page.height};
    if (!lines || !TIFFSetField(lines.get(), TIFFTAG_FAXMODE, mode)) continue;
    found.in_pixels = true;
    if (!read_bilevel(lines.get(), found, other) || (read && found.damage.count >= log.damage.count)) continue;
    page.bits = std::move(other.bits);
    log.damage = std::move(found.damage);
    read = true;
  }
  return read;
}

// Where a page is in its file.
struct TiffPage {
  PictureFile file;
  int32_t number;
  toff_t directory;

  TiffHandle open(TiffLog &log) const {
    TiffHandle tiff = open_tiff(file.bytes, file.name, log);
    if (tiff && !TIFFSetSubDirectory(tiff.get(), directory)) tiff.reset();
    log.error = "no picture";
    log.in_pixels = true;
    return tiff;
  }
  Status failed(const TiffLog &log) const {
    return failure("%s: page %d cannot be read: %s", file.name, number, log.error.c_str());
  }
};

// Reads a black and white page, and turns it as it is seen.
Status load_bilevel(const TiffPage &source, SourcePicture &seen) {
  TiffLog log;
  const TiffHandle tiff = source.open(log);
  const Turn turn = tiff ? upright(orientation_of(tiff.get())) : Turn();
  SourcePicture page = {seen.width, seen.height};
  if (turn.transpose) std::swap(page.width, page.height);
  bool read = tiff && read_bilevel(tiff.get(), log, page);
  // Lines of G3 with EOLs are found again after damage: most of them are good.
  if (tiff && compression_of(tiff.get()) == COMPRESSION_CCITTFAX3 &&
      (!read || log.damage.count > static_cast<size_t>(page.height) / 2))
    read = read_without_eols(tiff.get(), read, log, page);
  if (!read) return source.failed(log);
  turn_picture(page, turn);
  seen.bits = std::move(page.bits);
  return report_tiff_damage(source.file.name, source.number, log);
}

// Passes on the rows of any other page.
Status pass_on_grey(const TiffPage &source, const row_sink &sink) {
  TiffLog log;
  const TiffHandle tiff = source.open(log);
  if (!tiff || !read_grey(tiff.get(), log, sink)) return source.failed(log);
  return report_tiff_damage(source.file.name, source.number, log);
}

// Whether no strip or tile in JBIG claims to be larger than its place in the page (ITU-T T.82, 6.2): libtiff compares
// only after it has taken the memory. It turns the bits of such code round if the tag says that none are turned.
bool jbig_parts_fit(TIFF *tiff, uint32_t width, uint32_t height) {
  uint16_t order = FILLORDER_MSB2LSB;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_FILLORDER, &order);
  const bool tiled = TIFFIsTiled(tiff);
  uint32_t rows = height;
  TIFFGetFieldDefaulted(tiff, tiled ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP, &rows);
  if (tiled) TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &width);
  if (!tiled) rows = std::min(rows, height);
  const uint32_t parts = tiled ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
  for (uint32_t part = 0; part < parts; ++part) {
    uint8_t header[12];  // layers, planes, width, height
    constexpr tmsize_t SIZE = sizeof header;
    if ((tiled ? TIFFReadRawTile(tiff, part, header, SIZE) : TIFFReadRawStrip(tiff, part, header, SIZE)) != SIZE)
      return false;
    if (order == FILLORDER_MSB2LSB) TIFFReverseBits(header, SIZE);
    const uint32_t planes = header[2], across = big_endian_word(header + 4), down = big_endian_word(header + 8);
    if (planes != 1 || across != width || down > rows) return false;
  }
  return true;
}

// Describes a page. Its pixels are read later.
Status find_page(TIFF *tiff, const PictureFile &file, int32_t number, SourcePicture &page) {
  uint32_t width = 0, height = 0;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
  const Turn turn = upright(orientation_of(tiff));
  if (check_picture_size(file.name, number, width, height) != DONE ||
      (turn.transpose && check_picture_size(file.name, number, height, width) != DONE))
    return FAILED;
  if (compression_of(tiff) == COMPRESSION_JBIG && !jbig_parts_fit(tiff, width, height))
    return failure("%s: page %d cannot be read: its JBIG code is of another size than the page", file.name, number);
  page = {static_cast<int32_t>(width), static_cast<int32_t>(height)};
  find_density(tiff, page);
  page.number = number;
  if (number == 1) page.header = metadata_of(tiff);
  const TiffPage source = {file, number, TIFFCurrentDirOffset(tiff)};
  if (is_bilevel(tiff)) {
    page.load = [source](SourcePicture &picture) { return load_bilevel(source, picture); };
    if (turn.transpose) std::swap(page.width, page.height), std::swap(page.x_dpi, page.y_dpi);
  } else {
    page.grey = [source](const row_sink &sink) { return pass_on_grey(source, sink); };
    turn_picture(page, turn);
  }
  return DONE;
}

}  // namespace

Status read_tiff(const PictureFile &file, const SourceOptions &options, const page_sink &sink) {
  TiffLog log;
  log.error = "no picture";
  const TiffHandle tiff = open_tiff(file.bytes, file.name, log);
  if (!tiff) return failure("%s: %s", file.name, log.error.c_str());
  Status status = DONE;
  int32_t number = 0;
  do {
    SourcePicture page;
    if (is_page(tiff.get())) {
      Status read = find_page(tiff.get(), file, ++number, page);
      if (read == DONE) read = sink(std::move(page));
      status = worse(status, read);
    }
    if (status == FAILED && !options.keep_going) return FAILED;
    log.error.clear();
  } while (TIFFReadDirectory(tiff.get()));
  // The directory after the last does not exist; a message about it means that it should.
  return log.error.empty() ? status : failure("%s: after page %d: %s", file.name, number, log.error.c_str());
}

}  // namespace tolvane
