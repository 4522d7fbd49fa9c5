#include "helpers/tiff_pages.h"

#include <sys/mman.h>
#include <unistd.h>

#include "helpers/places.h"

namespace {

// Opens a file in memory; libtiff closes what it is given, so it gets a descriptor of its own.
TIFF *open_memory(int memory, const char *mode) {
  lseek(memory, 0, SEEK_SET);
  return TIFFFdOpen(dup(memory), "memory", mode);
}

void describe_page(TIFF *tiff, TiffCoding coding, uint32_t width, uint32_t height) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  TIFFSetField(tiff, TIFFTAG_FILLORDER, FILLORDER_LSB2MSB);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, height);
  TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 196.0);
  TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, coding == TiffCoding::g4 ? COMPRESSION_CCITTFAX4 : COMPRESSION_CCITTFAX3);
  if (coding == TiffCoding::g3_2d) TIFFSetField(tiff, TIFFTAG_GROUP3OPTIONS, GROUP3OPT_2DENCODING);
}

}  // namespace

Picture load_chart(const std::string &name) {
  Picture picture;
  const std::string path = in_checkout("bench/charts/" + name + ".tif");
  TIFF *tiff = TIFFOpen(path.c_str(), "r");
  if (!tiff) return picture;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &picture.width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &picture.height);
  picture.pixels.resize(size_t{picture.stride()} * picture.height);
  for (uint32_t row = 0; row < picture.height; row++)
    TIFFReadScanline(tiff, picture.pixels.data() + size_t{row} * picture.stride(), row);
  TIFFClose(tiff);
  return picture;
}

Picture every_row(const Picture &picture, uint32_t step) {
  Picture result{picture.width, (picture.height + step - 1) / step, {}};
  for (uint32_t row = 0; row < picture.height; row += step)
    result.pixels.insert(result.pixels.end(), picture.row(row), picture.row(row) + picture.stride());
  return result;
}

std::vector<uint8_t> libtiff_encode(const Picture &picture, TiffCoding coding) {
  const int memory = memfd_create("tiff", MFD_CLOEXEC);
  TIFF *tiff = open_memory(memory, "w");
  describe_page(tiff, coding, picture.width, picture.height);
  std::vector<uint8_t> pixels = picture.pixels;  // libtiff takes no const buffer
  TIFFWriteEncodedStrip(tiff, 0, pixels.data(), static_cast<tmsize_t>(pixels.size()));
  TIFFClose(tiff);

  tiff = open_memory(memory, "r");
  std::vector<uint8_t> data(TIFFRawStripSize64(tiff, 0));
  TIFFReadRawStrip(tiff, 0, data.data(), static_cast<tmsize_t>(data.size()));
  TIFFClose(tiff);
  close(memory);
  return data;
}

TiffPage::TiffPage(const std::vector<uint8_t> &data, TiffCoding coding, uint32_t width, uint32_t height)
    : tiff_(nullptr, TIFFClose) {
  const int memory = memfd_create("tiff", MFD_CLOEXEC);
  tiff_.reset(open_memory(memory, "w"));
  describe_page(tiff_.get(), coding, width, height);
  std::vector<uint8_t> copy = data;
  TIFFWriteRawStrip(tiff_.get(), 0, copy.data(), static_cast<tmsize_t>(copy.size()));
  tiff_.reset();  // the file is complete when it is closed
  tiff_.reset(open_memory(memory, "r"));
  close(memory);
}

Picture libtiff_decode(const std::vector<uint8_t> &data, TiffCoding coding, uint32_t width, uint32_t height) {
  Picture picture{width, height, std::vector<uint8_t>(size_t{width} / 8 * height)};
  TiffPage(data, coding, width, height).decode(picture.pixels.data(), picture.pixels.size());
  return picture;
}
