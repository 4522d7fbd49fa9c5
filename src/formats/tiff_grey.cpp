// libtiff converts to RGB what is in a strip or a row of tiles. Where those are large, as in a picture that is one
// strip, some lines at a time become a small TIFF in memory, of which it converts the whole.
#include "formats/tiff_grey.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|tiff_grey|9|01|2|0|0|11/23/26|12:12:28";

constexpr uint64_t MOST_PIXELS = 1 << 20;       // of strips that are converted at a time, 4 bytes each
constexpr uint64_t MOST_TILE_PIXELS = 4 << 20;  // the same of tiles: less of a row would be decoded several times
constexpr int64_t MOST_BYTES = 16 << 20;        // of a strip or tile as libtiff holds it
constexpr int64_t MOST_PLANES = 32 << 20;       // of the strips of all planes, which it holds at a time
constexpr int64_t LONGEST_LINE = 2 << 20;       // bytes of a line with all of its samples: 128 for each pixel

struct Layout {
  uint32_t width = 0, height = 0;
  uint32_t rows = 0;  // of a strip or tile
  int64_t bytes = 0;  // of a strip or tile
};

Layout layout_of(TIFF *tiff) {
  Layout layout;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &layout.width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &layout.height);
  if (TIFFIsTiled(tiff)) {
    TIFFGetField(tiff, TIFFTAG_TILELENGTH, &layout.rows);
    layout.bytes = TIFFTileSize(tiff);
  } else {
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &layout.rows);
    layout.bytes = TIFFStripSize(tiff);
  }
  layout.rows = std::clamp(layout.rows, 1U, layout.height);
  return layout;
}

// Converts a picture, `band` rows at a time.
bool convert(TIFF *tiff, TiffLog &log, uint32_t width, uint32_t height, uint32_t band, const row_sink &sink) {
  char reason[1024] = "";
  TIFFRGBAImage image = {};
  if (!TIFFRGBAImageOK(tiff, reason) || !TIFFRGBAImageBegin(&image, tiff, 1, reason)) {
    log.error = reason;
    return false;
  }
  // libtiff mirrors between orientations but never exchanges rows and columns: in its own orientation the picture comes
  // as it is stored.
  image.req_orientation = image.orientation;
  std::vector<uint32_t> pixels(size_t{width} * band);
  std::vector<uint8_t> grey(width);
  bool done = true;
  for (uint32_t row = 0; row < height && done; row += band) {
    const uint32_t rows = std::min(band, height - row);
    image.row_offset = static_cast<int>(row);
    std::fill(pixels.begin(), pixels.end(), 0U);
    done = TIFFRGBAImageGet(&image, pixels.data(), width, rows);
    for (uint32_t y = 0; y < rows && done; ++y) {
      for (uint32_t x = 0; x < width; ++x) {
        const uint32_t pixel = pixels[size_t{y} * width + x];
        const uint32_t luminance = (299 * TIFFGetR(pixel) + 587 * TIFFGetG(pixel) + 114 * TIFFGetB(pixel) + 500) / 1000;
        // Colours are multiplied by their opacity: the rest to full opacity is white.
        grey[x] = static_cast<uint8_t>(std::min<uint32_t>(luminance + 255 - TIFFGetA(pixel), 255));
      }
      sink(grey.data());
    }
  }
  TIFFRGBAImageEnd(&image);
  return done;
}

// Whether the lines of a picture can be read one by one, each with all of its samples.
bool has_lines(TIFF *tiff, uint16_t &photometric) {
  constexpr uint16_t CODINGS[] = {
      COMPRESSION_NONE, COMPRESSION_LZW,           COMPRESSION_PACKBITS, COMPRESSION_DEFLATE,   COMPRESSION_ZSTD,
      COMPRESSION_LZMA, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_JPEG,     COMPRESSION_CCITTFAX4, COMPRESSION_CCITTFAX3};
  uint16_t compression = COMPRESSION_NONE, planes = PLANARCONFIG_CONTIG, samples = 1;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planes);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
  if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric)) return false;
  if (TIFFIsTiled(tiff) || (planes != PLANARCONFIG_CONTIG && samples > 1) ||
      std::find(std::begin(CODINGS), std::end(CODINGS), compression) == std::end(CODINGS))
    return false;
  if (photometric != PHOTOMETRIC_YCBCR) return true;
  photometric = PHOTOMETRIC_RGB;
  return compression == COMPRESSION_JPEG && TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
}

// Copies what says how samples become colours.
bool copy_tags(TIFF *from, TIFF *to, uint32_t width, uint32_t height, uint16_t photometric) {
  uint16_t bits = 1, samples = 1, format = SAMPLEFORMAT_UINT, orientation = ORIENTATION_TOPLEFT, inks = INKSET_CMYK;
  uint16_t extra_count = 0, *extra = nullptr, *red = nullptr, *green = nullptr, *blue = nullptr;
  TIFFGetFieldDefaulted(from, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(from, TIFFTAG_SAMPLESPERPIXEL, &samples);
  TIFFGetFieldDefaulted(from, TIFFTAG_SAMPLEFORMAT, &format);
  TIFFGetFieldDefaulted(from, TIFFTAG_ORIENTATION, &orientation);
  bool copied = TIFFSetField(to, TIFFTAG_IMAGEWIDTH, width) && TIFFSetField(to, TIFFTAG_IMAGELENGTH, height) &&
                TIFFSetField(to, TIFFTAG_ROWSPERSTRIP, height) && TIFFSetField(to, TIFFTAG_BITSPERSAMPLE, bits) &&
                TIFFSetField(to, TIFFTAG_SAMPLESPERPIXEL, samples) && TIFFSetField(to, TIFFTAG_SAMPLEFORMAT, format) &&
                TIFFSetField(to, TIFFTAG_PHOTOMETRIC, photometric) &&
                TIFFSetField(to, TIFFTAG_ORIENTATION, orientation) &&
                TIFFSetField(to, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  if (TIFFGetField(from, TIFFTAG_INKSET, &inks)) copied = copied && TIFFSetField(to, TIFFTAG_INKSET, inks);
  if (TIFFGetField(from, TIFFTAG_EXTRASAMPLES, &extra_count, &extra))
    copied = copied && TIFFSetField(to, TIFFTAG_EXTRASAMPLES, extra_count, extra);
  if (TIFFGetField(from, TIFFTAG_COLORMAP, &red, &green, &blue))
    copied = copied && TIFFSetField(to, TIFFTAG_COLORMAP, red, green, blue);
  return copied;
}

// Converts a picture of large strips, some lines at a time.
bool convert_lines(TIFF *tiff, TiffLog &log, const Layout &layout, uint16_t photometric, const row_sink &sink) {
  const int64_t claimed = TIFFScanlineSize(tiff);
  if (claimed > LONGEST_LINE)
    log.error =
        "its lines have " + std::to_string(claimed) + " bytes: " + std::to_string(LONGEST_LINE) + " is the limit";
  if (claimed < 1 || claimed > LONGEST_LINE) return false;
  const auto size = static_cast<size_t>(claimed);
  const auto fitting =
      static_cast<uint32_t>(std::min<uint64_t>(MOST_PIXELS / layout.width, MOST_BYTES / 8 / (size + 1)));
  const uint32_t band = std::clamp(fitting, 1U, layout.height);
  std::vector<uint8_t> lines(size * band);
  for (uint32_t row = 0; row < layout.height; row += band) {
    const uint32_t rows = std::min(band, layout.height - row);
    for (uint32_t y = 0; y < rows; ++y) {
      if (TIFFReadScanline(tiff, &lines[y * size], row + y) != 1) return false;
    }
    std::vector<uint8_t> file;
    TiffLog aside;
    TiffHandle part = create_tiff(file, "lines", aside);
    if (!part || !copy_tags(tiff, part.get(), layout.width, rows, photometric) ||
        TIFFWriteEncodedStrip(part.get(), 0, lines.data(), static_cast<tmsize_t>(rows * size)) < 0)
      return false;
    part.reset();  // writes the directory
    part = open_tiff(file, "lines", aside);
    if (!part || !convert(part.get(), log, layout.width, rows, rows, sink)) return false;
  }
  return true;
}

}  // namespace

bool read_grey(TIFF *tiff, TiffLog &log, const row_sink &sink) {
  const Layout layout = layout_of(tiff);
  const bool tiled = TIFFIsTiled(tiff);
  const auto most_rows =
      static_cast<uint32_t>(std::max<uint64_t>((tiled ? MOST_TILE_PIXELS : MOST_PIXELS) / layout.width, 1));
  uint16_t photometric = PHOTOMETRIC_MINISBLACK;
  const bool small = layout.bytes <= MOST_BYTES;
  if (small && (tiled || layout.rows <= most_rows))
    return convert(tiff, log, layout.width, layout.height, std::min(layout.rows, most_rows), sink);
  if (has_lines(tiff, photometric)) return convert_lines(tiff, log, layout, photometric, sink);
  uint16_t planes = PLANARCONFIG_CONTIG, samples = 1;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planes);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
  const int64_t held = planes == PLANARCONFIG_CONTIG ? layout.bytes : layout.bytes * std::min<int64_t>(samples, 4);
  // A strip that gives more pixels is decoded again for each part, a multiple of the rows that share their colours.
  const auto part = static_cast<uint32_t>(MOST_TILE_PIXELS / layout.width / 4 * 4);
  if (small && held <= MOST_PLANES)
    return convert(tiff, log, layout.width, layout.height, std::min(layout.rows, part), sink);
  log.error = small ? "its planes need " + std::to_string(held) + " bytes at a time: " + std::to_string(MOST_PLANES)
                    : "it is stored in strips or tiles of " + std::to_string(layout.bytes) +
                          " bytes: " + std::to_string(MOST_BYTES);
  log.error += " is the limit";
  return false;
}

}  // namespace tolvane
