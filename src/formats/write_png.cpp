// PNG. libpng leaves a failed operation by longjmp, so the procedure that it may leave has no objects with destructors.
#include <errno.h>
#include <png.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

#include "formats/page_writers.h"
#include "io/output_file.h"
#include "support/printable.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|write_png|9|01|4|0|0|11/23/26|12:44:38";

constexpr double INCH = 0.0254;  // metres

void keep_message(png_structp png, png_const_charp text) {
  static_cast<std::string *>(png_get_error_ptr(png))->assign(text);
  png_longjmp(png, 1);
}

void no_warning(png_structp, png_const_charp) {}

png_uint_32 per_metre(double dpi) {
  return static_cast<png_uint_32>(std::lround(dpi / INCH));
}

// The texts of a picture. They point into it.
std::vector<png_text> texts_of(const PagePicture &picture) {
  std::vector<png_text> texts;
  for (const std::pair<std::string, std::string> &line : picture.header) {
    const std::string &value = line.second;
    const auto *row = std::find_if(std::begin(TEXT_NAMES), std::end(TEXT_NAMES),
                                   [&](const TextName &each) { return each.png && line.first == each.keyword; });
    if (row == std::end(TEXT_NAMES)) continue;
    const bool ascii = std::all_of(value.begin(), value.end(), [](char c) { return static_cast<signed char>(c) > 0; });
    const bool is_latin = ascii || !is_utf8(value);  // which is what tEXt holds
    png_text text = {};
    text.compression = is_latin ? PNG_TEXT_COMPRESSION_NONE : PNG_ITXT_COMPRESSION_NONE;
    text.key = const_cast<char *>(row->png);
    text.text = const_cast<char *>(value.c_str());
    texts.push_back(text);
  }
  return texts;
}

// Writes the picture. False if libpng failed.
bool write_picture(png_structp png, png_infop info, const PagePicture &picture, const std::vector<png_text> &texts) {
  if (setjmp(png_jmpbuf(png))) return false;
  const bool is_grey = !picture.grey.empty();
  const uint8_t *rows = is_grey ? picture.grey.data() : picture.rows.data();
  const size_t row_bytes = is_grey ? static_cast<size_t>(picture.width) : picture.row_bytes();
  png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width), static_cast<png_uint_32>(picture.height),
               is_grey ? 8 : 1, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  png_set_pHYs(png, info, per_metre(picture.x_dpi), per_metre(picture.y_dpi), PNG_RESOLUTION_METER);
  if (!texts.empty()) png_set_text(png, info, texts.data(), static_cast<int>(texts.size()));
  png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
  png_write_info(png, info);
  if (!is_grey) png_set_invert_mono(png);  // black is 0 there
  for (int32_t row = 0; row < picture.height; ++row) png_write_row(png, rows + static_cast<size_t>(row) * row_bytes);
  png_write_end(png, info);
  return true;
}

}  // namespace

Status write_png(const OutputFile &output, const picture_source &next) {
  PagePicture picture;
  if (!next(picture)) return DONE;
  std::string message = "out of memory";
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &message, keep_message, no_warning);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  const std::vector<png_text> texts = texts_of(picture);
  errno = 0;
  const int copy = info ? dup(output.fd()) : -1;
  FILE *stream = copy < 0 ? nullptr : fdopen(copy, "w");
  bool written = false;
  if (stream) {
    png_init_io(png, stream);
    written = write_picture(png, info, picture, texts);
    const int fault = errno;
    if (fclose(stream) != 0) written = false;
    if (fault != 0) errno = fault;
  }
  const int fault = errno;  // 0 if libpng has failed without a call of the system
  png_destroy_write_struct(&png, &info);
  errno = fault;
  if (written) return DONE;
  if (fault != 0) return system_failure(output.name(), "cannot be written");
  return failure("%s: cannot be written: %s", output.name(), message.c_str());
}

}  // namespace tolvane
