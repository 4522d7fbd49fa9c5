// PNG through libpng's reader of whole pictures in memory. That reader tells neither the pixel density nor the texts,
// so their chunks are looked up here.
#include <png.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include "formats/page_readers.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|read_png|9|01|2|0|0|11/23/26|06:28:52";

constexpr size_t SIGNATURE = 8, CHUNK_HEAD = 8, CHUNK_CHECK = 4;
constexpr double INCH = 0.0254;  // metres

uint32_t word(const uint8_t *bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// Adds the text of a chunk tEXt, or of an iTXt that is not compressed.
void take_text(std::string_view kind, std::string_view data, HeaderValues &values) {
  const std::string name(data.substr(0, data.find('\0')));
  std::string_view text = data.substr(std::min(name.size() + 1, data.size()));
  if (kind == "iTXt") {
    if (text.size() < 2 || text[0] != 0) return;
    text.remove_prefix(2);
    for (int i = 0; i < 2; ++i)  // the language, and the name in it
      text.remove_prefix(text.find('\0') == text.npos ? text.size() : text.find('\0') + 1);
  }
  for (const TextName &row : TEXT_NAMES) {
    if (name == row.png) add_header_value(values, row.keyword, std::string(text));
  }
}

// Looks through the chunks before the pixels: pHYs is the resolution, in pixels per metre across and down if its unit
// is 1, and texts are values of the header.
void read_chunks(std::span<const uint8_t> bytes, SourcePicture &page) {
  for (size_t at = SIGNATURE; at + CHUNK_HEAD + CHUNK_CHECK <= bytes.size();) {
    const uint32_t length = word(&bytes[at]);
    const std::string_view kind(reinterpret_cast<const char *>(&bytes[at + 4]), 4);
    if (length > bytes.size() - at - CHUNK_HEAD - CHUNK_CHECK || kind == "IDAT") return;
    const uint8_t *data = &bytes[at + CHUNK_HEAD];
    if (kind == "pHYs" && length == 9 && data[8] == 1) {
      page.x_dpi = word(data) * INCH;
      page.y_dpi = word(data + 4) * INCH;
    } else if (kind == "tEXt" || kind == "iTXt") {
      take_text(kind, {reinterpret_cast<const char *>(data), length}, page.header);
    }
    at += CHUNK_HEAD + length + CHUNK_CHECK;
  }
}

}  // namespace

Status read_png(const PictureFile &file, const SourceOptions &, const page_sink &sink) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  const auto broken = [&] {
    const Status status = failure("%s: %s", file.name, image.message);
    png_image_free(&image);
    return status;
  };
  if (!png_image_begin_read_from_memory(&image, file.bytes.data(), file.bytes.size())) return broken();
  if (check_picture_size(file.name, 1, image.width, image.height) != DONE) {
    png_image_free(&image);
    return FAILED;
  }
  image.format = PNG_FORMAT_GRAY;
  image.flags |= PNG_IMAGE_FLAG_16BIT_sRGB;  // 16 bits without gAMA would count as linear light
  SourcePicture page = {static_cast<int32_t>(image.width), static_cast<int32_t>(image.height)};
  page.grey.resize(PNG_IMAGE_SIZE(image));
  constexpr png_color WHITE = {255, 255, 255};
  if (!png_image_finish_read(&image, &WHITE, page.grey.data(), 0, nullptr)) return broken();
  read_chunks(file.bytes, page);
  return sink(std::move(page));
}

}  // namespace tolvane
