// Portable bitmaps, as netpbm writes them: a file may contain several. The grey and colour formats are not read.
#include <cctype>
#include <utility>

#include "formats/page_readers.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|read_pbm|9|01|4|0|0|11/23/26|11:48:38";

// The text part of the file: numbers separated by white space and by comments up to the end of the line.
class Text {
 public:
  explicit Text(std::span<const uint8_t> bytes) : rest_(bytes) {}

  void skip_blanks() {
    while (!rest_.empty() && (isspace(rest_[0]) || rest_[0] == '#')) {
      const bool comment = rest_[0] == '#';
      do rest_ = rest_.subspan(1);
      while (comment && !rest_.empty() && rest_[0] != '\n');
    }
  }
  // The next number, or -1.
  int64_t number() {
    skip_blanks();
    int64_t value = -1;
    for (; !rest_.empty() && isdigit(rest_[0]) && value < INT32_MAX; rest_ = rest_.subspan(1))
      value = (value < 0 ? 0 : value * 10) + rest_[0] - '0';
    return value;
  }
  // The next byte that is not blank, or 0.
  uint8_t byte() {
    skip_blanks();
    return rest_.empty() ? uint8_t{0} : take(1)[0];
  }
  std::span<const uint8_t> take(size_t count) {
    const auto taken = rest_.first(count);
    rest_ = rest_.subspan(count);
    return taken;
  }
  size_t left() const { return rest_.size(); }

 private:
  std::span<const uint8_t> rest_;
};

// Packed rows of whole bytes, after exactly one blank.
bool read_rows(Text &text, SourcePicture &page) {
  const size_t size = page.row_bytes() * static_cast<size_t>(page.height);
  if (text.left() < 1 + size) return false;
  text.take(1);
  const auto rows = text.take(size);
  page.bits.assign(rows.begin(), rows.end());
  return true;
}

bool read_digits(Text &text, SourcePicture &page) {
  const size_t count = static_cast<size_t>(page.width) * static_cast<size_t>(page.height);
  if (text.left() < count) return false;
  const auto width = static_cast<size_t>(page.width), size = page.row_bytes();
  page.bits.assign(size * static_cast<size_t>(page.height), 0);
  for (size_t at = 0; at < page.bits.size(); at += size) {
    for (size_t x = 0; x < width; ++x) {
      const uint8_t digit = text.byte();
      if (digit != '0' && digit != '1') return false;
      if (digit == '1') page.bits[at + x / 8] = static_cast<uint8_t>(page.bits[at + x / 8] | 0x80 >> x % 8);
    }
  }
  return true;
}

}  // namespace

Status read_pbm(const PictureFile &file, const SourceOptions &, const page_sink &sink) {
  Text text(file.bytes);
  Status status = DONE;
  for (int32_t number = 1; status != FAILED; ++number) {
    text.skip_blanks();
    if (text.left() == 0) break;
    const uint8_t magic = text.byte(), kind = text.byte();
    if (magic != 'P' || (kind != '1' && kind != '4'))
      return failure("%s: no PBM picture at the start of page %d", file.name, number);
    const int64_t width = text.number(), height = text.number();
    if (check_picture_size(file.name, number, width, height) != DONE) return FAILED;
    SourcePicture page = {static_cast<int32_t>(width), static_cast<int32_t>(height)};
    if (!(kind == '4' ? read_rows(text, page) : read_digits(text, page)))
      return failure("%s: page %d: the file ends before the picture does", file.name, number);
    page.number = number;
    status = worse(status, sink(std::move(page)));
  }
  return status;
}

}  // namespace tolvane
