#include "helpers/tiff_pages.h"

#include <algorithm>
#include <cstring>

namespace {

/// A TIFF file in memory: libtiff gives this back in every call.
struct MemoryFile {
  std::vector<uint8_t> *bytes;
  toff_t at = 0;
};

tmsize_t read_memory(thandle_t handle, void *buffer, tmsize_t size) {
  auto *file = static_cast<MemoryFile *>(handle);
  const size_t left = file->bytes->size() - std::min<size_t>(file->at, file->bytes->size());
  const size_t count = std::min<size_t>(left, static_cast<size_t>(size));
  if (count != 0) std::memcpy(buffer, file->bytes->data() + file->at, count);
  file->at += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t write_memory(thandle_t handle, void *buffer, tmsize_t size) {
  auto *file = static_cast<MemoryFile *>(handle);
  const size_t count = static_cast<size_t>(size);
  file->bytes->resize(std::max<size_t>(file->bytes->size(), file->at + count));
  std::memcpy(file->bytes->data() + file->at, buffer, count);
  file->at += count;
  return size;
}

toff_t seek_memory(thandle_t handle, toff_t offset, int whence) {
  auto *file = static_cast<MemoryFile *>(handle);
  const toff_t base = whence == SEEK_CUR ? file->at : whence == SEEK_END ? file->bytes->size() : 0;
  return file->at = base + offset;
}

int close_memory(thandle_t handle) {
  delete static_cast<MemoryFile *>(handle);
  return 0;
}

toff_t memory_size(thandle_t handle) {
  return static_cast<MemoryFile *>(handle)->bytes->size();
}

int map_memory(thandle_t handle, void **base, toff_t *size) {
  auto *file = static_cast<MemoryFile *>(handle);
  *base = file->bytes->data();
  *size = file->bytes->size();
  return 1;
}

void unmap_memory(thandle_t, void *, toff_t) {}

TIFF *open_memory(std::vector<uint8_t> *bytes, const char *mode) {
  return TIFFClientOpen("memory", mode, new MemoryFile{bytes}, read_memory, write_memory, seek_memory, close_memory,
                        memory_size, map_memory, unmap_memory);
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
  const std::string path = TOLVANE_SOURCE_DIR "/bench/charts/" + name + ".tif";
  TIFF *tiff = TIFFOpen(path.c_str(), "r");
  if (tiff == nullptr) return picture;
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
  std::vector<uint8_t> file;
  TIFF *tiff = open_memory(&file, "w");
  describe_page(tiff, coding, picture.width, picture.height);
  std::vector<uint8_t> pixels = picture.pixels;  // libtiff takes no const buffer
  TIFFWriteEncodedStrip(tiff, 0, pixels.data(), static_cast<tmsize_t>(pixels.size()));
  TIFFClose(tiff);

  tiff = open_memory(&file, "r");
  std::vector<uint8_t> data(TIFFRawStripSize64(tiff, 0));
  TIFFReadRawStrip(tiff, 0, data.data(), static_cast<tmsize_t>(data.size()));
  TIFFClose(tiff);
  return data;
}

TiffPage::TiffPage(const std::vector<uint8_t> &data, TiffCoding coding, uint32_t width, uint32_t height)
    : file_(std::make_unique<std::vector<uint8_t>>()), tiff_(open_memory(file_.get(), "w"), TIFFClose) {
  describe_page(tiff_.get(), coding, width, height);
  std::vector<uint8_t> copy = data;
  TIFFWriteRawStrip(tiff_.get(), 0, copy.data(), static_cast<tmsize_t>(copy.size()));
  tiff_.reset();  // the file is complete when it is closed
  tiff_.reset(open_memory(file_.get(), "r"));
}

tmsize_t TiffPage::decode(uint8_t *pixels, size_t size) const {
  return TIFFReadEncodedStrip(tiff_.get(), 0, pixels, static_cast<tmsize_t>(size));
}

Picture libtiff_decode(const std::vector<uint8_t> &data, TiffCoding coding, uint32_t width, uint32_t height) {
  Picture picture{width, height, std::vector<uint8_t>(size_t{width} / 8 * height)};
  TiffPage(data, coding, width, height).decode(picture.pixels.data(), picture.pixels.size());
  return picture;
}
