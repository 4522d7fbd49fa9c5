// PDF: each page is one picture in G4 that fills it. Its size is that of the paper, by the pixels an inch. Pages are
// written as they come; what is kept of them is where their objects are (ISO 32000-1, 7.5).
#include <iconv.h>
#include <stdio.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <string>
#include <vector>

#include "formats/page_writers.h"
#include "io/output_file.h"
#include "support/handle.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|write_pdf|9|01|3|0|0|11/23/26|08:49:02";

constexpr double POINTS = 72;  // in an inch

// Numbers of the objects; those of page n, from 0, are PAGE_OBJECTS * n higher than those of page 0.
constexpr size_t CATALOG = 1, PAGES = 2, PAGE = 3, CONTENTS = 4, IMAGE = 5, PAGE_OBJECTS = 3;

// A text made as printf makes it.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char *format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}

// The size in points of so many pixels, cut after the fourth decimal: a page the least bit larger than its pixels is
// rendered with one more, and all of them blurred.
double paper_size(int32_t pixels, double dpi) {
  return std::floor(pixels / dpi * POINTS * 1e4) / 1e4;
}

std::string coordinate(double points) {
  return points == 0 ? "0" : formatted("%.6f", points);
}

// A page across or down, in points.
struct Extent {
  double page, picture, begin;  // sizes, and where the picture begins from the left or the top
};

// On a page of its own size the picture is in the middle, at a whole number of its pixels. It ends the least bit before
// theirs, so that no renderer needs one more for it and blurs all of them.
Extent extent(int32_t pixels, double dpi, double page_inches) {
  const double pixel = POINTS / dpi;
  if (page_inches <= 0) return {paper_size(pixels, dpi), paper_size(pixels, dpi), 0};
  const double page = page_inches * POINTS, picture = std::floor(pixels * pixel * 1e4 - 0.5) / 1e4;
  const double before = std::floor((page - pixels * pixel) / 2 / pixel + 1e-6) * pixel;
  return {page, picture, std::ceil(before * 1e6) / 1e6};
}

// A text string in hexadecimal: ASCII as it is, and all else in UTF-16 (ISO 32000-1, 7.9.2.2). What is not UTF-8 stays.
std::string text_string(const std::string &text) {
  std::string bytes = text;
  const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) >= 0; });
  if (iconv_t converter = ascii ? nullptr : iconv_open("UTF-16BE", "UTF-8"); converter) {
    std::string wide(2 * text.size(), '\0');
    char *from = const_cast<char *>(text.data()), *to = wide.data();
    size_t left = text.size(), room = wide.size();
    if (iconv(converter, &from, &left, &to, &room) != static_cast<size_t>(-1))
      bytes = "\xFE\xFF" + wide.substr(0, wide.size() - room);
    iconv_close(converter);
  }
  std::string hexadecimal;
  for (const char byte : bytes) hexadecimal += formatted("%02X", static_cast<unsigned>(static_cast<uint8_t>(byte)));
  return "<" + hexadecimal + ">";
}

// The information of the document; empty if nothing is known.
std::string information(const HeaderValues &header) {
  std::string keys;
  for (const TextName &row : TEXT_NAMES) {
    const std::string value = header_value(header, row.keyword);
    if (row.pdf && !value.empty()) keys += std::string(row.pdf) + " " + text_string(value) + " ";
  }
  std::tm date;
  if (parse_date(header_value(header, "DATE"), date))
    keys += "/CreationDate " + text_string(format_date(date, "D:%Y%m%d%H%M%S")) + " ";
  return keys.empty() ? "" : "<< " + keys + ">>";
}

// The file as far as it is written, and what its end needs to know.
class PdfFile {
 public:
  explicit PdfFile(int fd) : fd_(fd) { put("%PDF-1.4\n%\xE2\xE3\xCF\xD3\n"); }

  bool add_page(const PagePicture &picture) {
    if (pages_ == 0) information_ = information(picture.header);
    const size_t first = PAGE_OBJECTS * pages_++;
    const Extent across = extent(picture.width, picture.x_dpi, picture.page_width);
    const Extent down = extent(picture.height, picture.y_dpi, picture.page_height);
    put_object(PAGE + first, formatted("<< /Type /Page /Parent %zu 0 R /MediaBox [ 0 0 %.4f %.4f ] /Contents %zu 0 R "
                                       "/Resources << /XObject << /Page %zu 0 R >> >> >>",
                                       PAGES, across.page, down.page, CONTENTS + first, IMAGE + first));
    const std::string image = formatted(
        "/Type /XObject /Subtype /Image /Width %d /Height %d /ColorSpace /DeviceGray /BitsPerComponent 1 "
        "/Filter /CCITTFaxDecode /DecodeParms << /K -1 /Columns %d /Rows %d >>",
        picture.width, picture.height, picture.width, picture.height);
    put_stream(IMAGE + first, image, {picture.code.begin(), picture.code.end()});
    put_stream(CONTENTS + first, "",
               formatted("%.4f 0 0 %.4f %s %s cm /Page Do\n", across.picture, down.picture,
                         coordinate(across.begin).c_str(), coordinate(down.page - down.picture - down.begin).c_str()));
    return send();
  }

  bool finish() {
    std::string kids;
    for (size_t page = 0; page < pages_; ++page) kids += std::to_string(PAGE + PAGE_OBJECTS * page) + " 0 R ";
    put_object(PAGES, "<< /Type /Pages /Count " + std::to_string(pages_) + " /Kids [ " + kids + "] >>");
    put_object(CATALOG, formatted("<< /Type /Catalog /Pages %zu 0 R >>", PAGES));
    const size_t last = PAGE + PAGE_OBJECTS * pages_;
    if (!information_.empty()) put_object(last, information_);
    const int64_t table = written_ + std::ssize(text_);
    put("xref\n0 " + std::to_string(offsets_.size()) + "\n0000000000 65535 f \n");
    for (size_t i = 1; i < offsets_.size(); ++i)
      put(formatted("%010lld 00000 n \n", static_cast<long long>(offsets_[i])));
    const std::string known = information_.empty() ? "" : formatted("/Info %zu 0 R ", last);
    put(formatted("trailer\n<< /Size %zu /Root %zu 0 R %s>>\nstartxref\n%lld\n%%%%EOF\n", offsets_.size(), CATALOG,
                  known.c_str(), static_cast<long long>(table)));
    return send();
  }

 private:
  void put(const std::string &text) { text_ += text; }

  void put_object(size_t number, const std::string &value) {
    if (offsets_.size() <= number) offsets_.resize(number + 1);
    offsets_[number] = written_ + std::ssize(text_);
    put(std::to_string(number) + " 0 obj\n" + value + "\nendobj\n");
  }

  void put_stream(size_t number, const std::string &keys, const std::string &bytes) {
    put_object(number,
               "<< " + keys + " /Length " + std::to_string(bytes.size()) + " >>\nstream\n" + bytes + "\nendstream");
  }

  bool send() {
    const bool done = write_fully(fd_, text_.data(), text_.size());
    written_ += std::ssize(text_);
    text_.clear();
    return done;
  }

  int fd_;
  std::string text_;         // not written yet
  std::string information_;  // of the document
  int64_t written_ = 0;
  size_t pages_ = 0;
  std::vector<int64_t> offsets_;  // of the objects, by number
};

}  // namespace

Status write_pdf(const OutputFile &output, const picture_source &next) {
  PdfFile pdf(output.fd());
  PagePicture picture;
  while (next(picture)) {
    if (picture.code.empty()) return failure("%s: a page cannot be coded: out of memory", output.name());
    if (!pdf.add_page(picture)) return system_failure(output.name(), "cannot be written");
  }
  return pdf.finish() ? DONE : system_failure(output.name(), "cannot be written");
}

}  // namespace tolvane
