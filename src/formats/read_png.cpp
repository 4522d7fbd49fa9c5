// PNG, row by row where its pixels are in rows. libpng's reader of whole pictures converts the others, and reports
// neither the pixel density nor the texts, so their chunks are looked up here.
#include <png.h>

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/grey_rows.h"
#include "formats/page_readers.h"
#include "support/printable.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|read_png|9|01|4|0|0|11/23/26|12:09:00";

constexpr size_t SIGNATURE = 8, CHUNK_HEAD = 8, CHUNK_CHECK = 4;
constexpr double INCH = 0.0254;          // metres
constexpr int64_t MOST_HELD = 36 << 20;  // pixels of a picture that is converted as a whole: A4 at 600 per inch

// A text in Latin-1 (PNG, 11.3.4.3) in UTF-8, which many programs store in its place.
std::string in_utf8(std::string_view text) {
  if (is_utf8(text)) return std::string(text);
  std::string result;
  for (const char character : text) {
    const auto code = static_cast<uint8_t>(character);
    if (code >= 0x80) result += static_cast<char>(0xC0 | code >> 6);
    result += code < 0x80 ? character : static_cast<char>(0x80 | (code & 0x3F));
  }
  return result;
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
    if (name == row.png) add_header_value(values, row.keyword, kind == "tEXt" ? in_utf8(text) : std::string(text));
  }
}

struct Chunk {
  std::string_view kind, data;
  std::span<const uint8_t> all;  // with its length and its checksum

  bool is_text() const { return kind == "tEXt" || kind == "zTXt" || kind == "iTXt"; }
};

// The chunk at an offset. False at the pixels, and where the file ends before the chunk does.
bool chunk_at(std::span<const uint8_t> bytes, size_t at, Chunk &chunk) {
  const std::string_view rest(reinterpret_cast<const char *>(bytes.data()) + at, bytes.size() - at);
  chunk = {};
  if (rest.size() < CHUNK_HEAD + CHUNK_CHECK) return false;
  chunk.kind = rest.substr(4, 4);
  const uint32_t length = big_endian_word(&bytes[at]);
  if (chunk.kind == "IDAT" || length > rest.size() - CHUNK_HEAD - CHUNK_CHECK) return false;
  chunk.data = rest.substr(CHUNK_HEAD, length);
  chunk.all = bytes.subspan(at, CHUNK_HEAD + length + CHUNK_CHECK);
  return true;
}

// Passes on the chunks before the pixels.
//
// @return whether they are as long as they claim to be
bool each_chunk(std::span<const uint8_t> bytes, const std::function<void(const Chunk &chunk)> &take) {
  Chunk chunk;
  for (size_t at = std::min(SIGNATURE, bytes.size()); chunk_at(bytes, at, chunk); at += chunk.all.size()) take(chunk);
  return chunk.kind.empty() || chunk.kind == "IDAT";
}

// A file without its texts.
struct Textless {
  std::shared_ptr<const void> original;  // owns the name
  std::vector<uint8_t> bytes;
};

// Gives libpng a file that it can read with little memory: it takes what a chunk claims before it reads it, and keeps
// all texts, a thousand times longer than the file if they are compressed. So they are left out of `file`. FAILED,
// after a message, if a chunk is cut.
Status prepare(PictureFile &file) {
  bool has_texts = false;
  if (!each_chunk(file.bytes, [&](const Chunk &chunk) { has_texts = has_texts || chunk.is_text(); }))
    return failure("%s: read beyond end of data", file.name);
  if (!has_texts) return DONE;
  const auto textless = std::make_shared<Textless>();
  textless->original = file.owner;
  std::vector<uint8_t> &kept = textless->bytes;
  size_t at = SIGNATURE;
  kept.reserve(file.bytes.size());
  kept.assign(file.bytes.begin(), file.bytes.begin() + SIGNATURE);
  each_chunk(file.bytes, [&](const Chunk &chunk) {
    at += chunk.all.size();
    if (!chunk.is_text()) kept.insert(kept.end(), chunk.all.begin(), chunk.all.end());
  });
  kept.insert(kept.end(), file.bytes.begin() + static_cast<ptrdiff_t>(at), file.bytes.end());
  file = {textless, file.name, kept};
  return DONE;
}

// Looks through the chunks before the pixels: pHYs is the resolution, in pixels per metre across and down if its unit
// is 1, and texts are values of the header.
void read_chunks(std::span<const uint8_t> bytes, SourcePicture &page) {
  each_chunk(bytes, [&](const Chunk &chunk) {
    const uint8_t *data = &chunk.all[CHUNK_HEAD];
    if (chunk.kind == "pHYs" && chunk.data.size() == 9 && data[8] == 1) {
      page.x_dpi = big_endian_word(data) * INCH;
      page.y_dpi = big_endian_word(data + 4) * INCH;
    } else if (chunk.is_text() && chunk.kind != "zTXt") {
      take_text(chunk.kind, chunk.data, page.header);
    }
  });
}

// A picture with transparent pixels, or one that is interlaced, is converted as a whole. DONE, or FAILED after a
// message.
Status pass_on_whole(const PictureFile &file, const row_sink &sink) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  bool read = png_image_begin_read_from_memory(&image, file.bytes.data(), file.bytes.size());
  std::vector<uint8_t> grey;
  if (read) {
    image.format = PNG_FORMAT_GRAY;
    image.flags |= PNG_IMAGE_FLAG_16BIT_sRGB;  // 16 bits without gAMA would count as linear light
    grey.resize(PNG_IMAGE_SIZE(image));
    constexpr png_color WHITE = {255, 255, 255};
    read = png_image_finish_read(&image, &WHITE, grey.data(), 0, nullptr);
  }
  const Status status = read ? DONE : failure("%s: %s", file.name, image.message);
  png_image_free(&image);
  for (size_t at = 0; at < grey.size() && read; at += image.width) sink(&grey[at]);
  return status;
}

void keep_message(png_structp png, png_const_charp text) {
  static_cast<std::string *>(png_get_error_ptr(png))->assign(text);
  png_longjmp(png, 1);
}

void no_warning(png_structp, png_const_charp) {}

void read_bytes(png_structp png, png_bytep data, size_t size) {
  auto &rest = *static_cast<std::span<const uint8_t> *>(png_get_io_ptr(png));
  if (size > rest.size()) png_error(png, "read beyond end of data");
  std::copy_n(rest.begin(), size, data);
  rest = rest.subspan(size);
}

// Sets the conversion that libpng's reader of whole pictures does: to 8 bits of grey, as sRGB unless the file says
// otherwise. Of the chunks between the pixels, only those that it needs are kept.
void set_conversion(png_structp png) {
  png_set_benign_errors(png, 1);
  png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
  constexpr png_byte KEPT[] = "cHRM\0gAMA\0iCCP\0sBIT\0sRGB";
  png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_AS_DEFAULT, KEPT, sizeof KEPT / 5);
}

// The procedure that libpng may leave: it has no objects with destructors.
//
// @param row  room for a row
// @return false if libpng failed
bool read_rows(png_structp png, png_infop info, const row_sink &sink, uint8_t *row) {
  if (setjmp(png_jmpbuf(png))) return false;
  set_conversion(png);
  png_read_info(png, info);
  png_set_expand(png);
  if (png_get_color_type(png, info) & PNG_COLOR_MASK_COLOR)
    png_set_rgb_to_gray_fixed(png, PNG_ERROR_ACTION_NONE, PNG_RGB_TO_GRAY_DEFAULT, PNG_RGB_TO_GRAY_DEFAULT);
  png_set_alpha_mode_fixed(png, PNG_ALPHA_PNG, PNG_DEFAULT_sRGB);
  png_set_scale_16(png);
  png_color_16 white = {0, 255, 255, 255, 255};
  if (png_get_color_type(png, info) & PNG_COLOR_MASK_ALPHA || png_get_valid(png, info, PNG_INFO_tRNS))
    png_set_background_fixed(png, &white, PNG_BACKGROUND_GAMMA_SCREEN, 0, 0);
  png_read_update_info(png, info);
  for (png_uint_32 rows = png_get_image_height(png, info); rows > 0; --rows) {
    png_read_row(png, row, nullptr);
    sink(row);
  }
  return true;
}

Status pass_on_rows(const PictureFile &file, const row_sink &sink) {
  std::string message = "out of memory";
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &message, keep_message, no_warning);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  std::span<const uint8_t> rest = file.bytes;
  std::vector<uint8_t> row(4 * static_cast<size_t>(WIDEST_PICTURE));
  bool read = false;
  if (info) {
    png_set_read_fn(png, &rest, read_bytes);
    read = read_rows(png, info, sink, row.data());
  }
  png_destroy_read_struct(&png, &info, nullptr);
  return read ? DONE : failure("%s: %s", file.name, message.c_str());
}

// What the first chunk and the transparent colour say (PNG, 11.2.2 and 11.3.2.1).
struct Kind {
  int64_t width = 0, height = 0;
  bool transparent = false, interlaced = false, bilevel = false;
};

bool find_kind(const PictureFile &file, Kind &kind) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&image, file.bytes.data(), file.bytes.size())) {
    failure("%s: %s", file.name, image.message);
    return false;
  }
  constexpr size_t DEPTH = SIGNATURE + CHUNK_HEAD + 8, COLOUR = DEPTH + 1, INTERLACE = DEPTH + 4;
  const bool transparent = image.format & PNG_FORMAT_FLAG_ALPHA;
  kind = {image.width, image.height, transparent, file.bytes[INTERLACE] != 0,
          file.bytes[DEPTH] == 1 && file.bytes[COLOUR] == PNG_COLOR_TYPE_GRAY && !transparent};
  png_image_free(&image);
  return true;
}

}  // namespace

Status read_png(const PictureFile &file, const SourceOptions &, const page_sink &sink) {
  Kind kind;
  PictureFile prepared = file;
  if (prepare(prepared) != DONE) return FAILED;
  if (!find_kind(prepared, kind) || check_picture_size(file.name, 1, kind.width, kind.height) != DONE) return FAILED;
  const bool held = (kind.transparent || kind.interlaced) && kind.width * kind.height <= MOST_HELD;
  if (kind.interlaced && !held)
    return failure("%s: an interlaced picture of more than %" PRId64 " pixels: save it without interlacing", file.name,
                   MOST_HELD);
  SourcePicture page = {static_cast<int32_t>(kind.width), static_cast<int32_t>(kind.height)};
  const row_source rows = [prepared, held](const row_sink &row) {
    return held ? pass_on_whole(prepared, row) : pass_on_rows(prepared, row);
  };
  if (kind.bilevel) {
    page.load = [rows](SourcePicture &picture) { return pack_rows(rows, picture.width, picture.bits); };
  } else {
    page.grey = rows;
  }
  read_chunks(file.bytes, page);
  return sink(std::move(page));
}

}  // namespace tolvane
