// The image is taken as it is stored: libqpdf undoes the filters of PDF, and libtiff reads the code of a fax.
#include "formats/pdf/page_image.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>
#include <utility>
#include <vector>

#include "formats/coded_lines.h"
#include "formats/fax_lines.h"
#include "formats/grey_rows.h"
#include "formats/pdf/page_contents.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_image|9|01|3|0|0|11/23/26|12:16:19";

using Rectangle = QPDFObjectHandle::Rectangle;

constexpr double POINT = 72;               // points in an inch
constexpr double NEAR = 1;                 // points between the edges of the image and of the page
constexpr double FITTING = 0.05;           // points between them if they are the same
constexpr double STRAIGHT = 0.1;           // points by which a side that counts as straight may lean
constexpr size_t SPARE_BYTES = 64;         // after the pixels, which some writers add
constexpr size_t LARGEST_CODE = 32 << 20;  // bytes of a coded page within another filter

// What a page shows and what its image dictionary says.
struct Source {
  ShownImage shown;
  QPDFObjectHandle dictionary;
  int64_t width = 0, height = 0;
  bool black[2] = {true, false};  // whether a sample of 0, and of 1, is black
  bool fits = false;              // the image has the size of the page: each of its pixels can be rendered as one
};

int64_t integer(QPDFObjectHandle value, int64_t preset) {
  return value.isInteger() ? value.getIntValue() : preset;
}

bool boolean(QPDFObjectHandle value, bool preset) {
  return value.isBool() ? value.getBoolValue() : preset;
}

// The intersection of crop box and media box, as a page is shown.
Rectangle page_box(QPDFPageObjectHelper &page) {
  const Rectangle media = page.getMediaBox().getArrayAsRectangle(), crop = page.getCropBox().getArrayAsRectangle();
  return {std::max(media.llx, crop.llx), std::max(media.lly, crop.lly), std::min(media.urx, crop.urx),
          std::min(media.ury, crop.ury)};
}

// Whether the entry of a palette is black or white.
//
// @param entry  its components, 0 to 255
bool is_bilevel(const std::string &entry, bool &black) {
  black = !entry.empty() && entry.front() == '\0';
  return !entry.empty() &&
         std::all_of(entry.begin(), entry.end(), [&](char c) { return c == (black ? '\0' : '\xFF'); });
}

// Components of a colour in a space whose black is 0 and white 1 in all of them; 0 for any other space.
size_t components(QPDFObjectHandle space) {
  if (space.isNameAndEquals("/DeviceGray")) return 1;
  if (space.isNameAndEquals("/DeviceRGB")) return 3;
  if (!space.isArray() || space.getArrayNItems() < 2) return 0;
  QPDFObjectHandle kind = space.getArrayItem(0), parameters = space.getArrayItem(1);
  if (kind.isNameAndEquals("/CalGray")) return 1;
  if (kind.isNameAndEquals("/CalRGB")) return 3;
  if (!kind.isNameAndEquals("/ICCBased") || !parameters.isStream()) return 0;
  const int64_t count = integer(parameters.getDict().getKey("/N"), 0);
  return count == 1 || count == 3 ? static_cast<size_t>(count) : 0;
}

// Finds the colours of a palette of two.
bool read_palette(QPDFObjectHandle space, bool (&black)[2]) {
  const size_t count = components(space.getArrayItem(1));
  QPDFObjectHandle table = space.getArrayItem(3);
  std::string colours;
  if (table.isString()) colours = table.getStringValue();
  if (table.isStream() && !decode_stream(table, 256 * 4, colours)) return false;
  if (count == 0 || colours.size() < 2 * count) return false;
  return is_bilevel(colours.substr(0, count), black[0]) && is_bilevel(colours.substr(count, count), black[1]);
}

// Finds which samples are black. False with the reason if there are other colours than black and white.
bool find_colours(Source &source, std::string &why) {
  QPDFObjectHandle dictionary = source.dictionary, space = dictionary.getKey("/ColorSpace"),
                   decode = dictionary.getKey("/Decode");
  const bool stencil = boolean(dictionary.getKey("/ImageMask"), false);
  const bool palette =
      space.isArray() && space.getArrayNItems() == 4 && space.getArrayItem(0).isNameAndEquals("/Indexed");
  why = "its image is not black and white";
  if (!stencil && integer(dictionary.getKey("/BitsPerComponent"), 0) != 1) return false;
  if (stencil ? !source.shown.black_paint : palette ? !read_palette(space, source.black) : components(space) != 1)
    return false;
  if (decode.isArray()) {
    if (decode.getArrayNItems() != 2) return false;
    const double first = decode.getArrayItem(0).getNumericValue(), second = decode.getArrayItem(1).getNumericValue();
    if (first + second != 1 || first * second != 0) return false;
    if (first == 1) std::swap(source.black[0], source.black[1]);
  }
  if (source.black[0] == source.black[1]) return false;
  why.clear();
  return true;
}

// The filters and their parameters, as lists of the same length.
void find_filters(QPDFObjectHandle dictionary, std::vector<QPDFObjectHandle> &filters,
                  std::vector<QPDFObjectHandle> &parameters) {
  QPDFObjectHandle filter = dictionary.getKey("/Filter"), decode = dictionary.getKey("/DecodeParms");
  if (filter.isName()) filters = {filter};
  if (filter.isArray()) filters = filter.getArrayAsVector();
  if (decode.isDictionary()) parameters = {decode};
  if (decode.isArray()) parameters = decode.getArrayAsVector();
  parameters.resize(filters.size(), QPDFObjectHandle::newNull());
}

// The code of a fax, without the filters around it.
bool read_code(QPDFObjectHandle image, std::vector<QPDFObjectHandle> filters, std::vector<QPDFObjectHandle> parameters,
               std::string &code) {
  const std::shared_ptr<Buffer> raw = image.getRawStreamData();
  filters.pop_back();
  parameters.pop_back();
  if (filters.empty()) {
    code.assign(reinterpret_cast<const char *>(raw->getBuffer()), raw->getSize());
    return true;
  }
  QPDFObjectHandle outer = image.getOwningQPDF()->newStream();
  outer.replaceStreamData(raw, QPDFObjectHandle::newArray(filters), QPDFObjectHandle::newArray(parameters));
  return decode_stream(outer, LARGEST_CODE, code);
}

// Whether coded lines start with an EOL: at least 11 zeros, which no other code has.
bool starts_with_eol(const std::string &code) {
  return code.size() > 1 && code[0] == '\0' && (static_cast<uint8_t>(code[1]) & 0xE0) == 0;
}

// The coding that the parameters of the filter describe (ISO 32000-1, table 11).
bool find_coding(QPDFObjectHandle parameters, const Source &source, CodedPicture &coded, std::string &why) {
  const auto value = [&](const char *key) { return parameters.isDictionary() ? parameters.getKey(key) : parameters; };
  const int64_t k = integer(value("/K"), 0);
  const bool aligned = boolean(value("/EncodedByteAlign"), false);
  const bool eols = starts_with_eol({coded.code.begin(), coded.code.end()});
  why = "its image is coded in a way that is not supported";
  if (integer(value("/Columns"), FAX_WIDTH) != source.width || (k < 0 && aligned) || (k > 0 && !eols)) return false;
  why.clear();
  const int32_t one_dimensional = eols ? COMP_MH : aligned ? RAW_RLE : RAW_NO_EOL;
  coded.format = {k < 0 ? COMP_MMR : k > 0 ? COMP_MR : one_dimensional, static_cast<int32_t>(source.width), true};
  coded.inverted = !source.black[boolean(value("/BlackIs1"), false)];
  return true;
}

// Sets what makes the pixels. False with the reason.
bool take_pixels(const Source &source, const char *name, int32_t number, PageImage &image, std::string &why) {
  std::vector<QPDFObjectHandle> filters, parameters;
  find_filters(source.dictionary, filters, parameters);
  const auto turned = [turn = then(image.placed, image.rotated)](SourcePicture &page) { turn_picture(page, turn); };
  std::string bytes;
  const bool is_jbig2 = !filters.empty() && filters.back().isNameAndEquals("/JBIG2Decode");
  const bool is_fax = !filters.empty() && filters.back().isNameAndEquals("/CCITTFaxDecode");
  if (is_jbig2) {
    image.needs_render = true;
    if (!source.fits) why = "its image has another size";
    return source.fits;
  }
  if (is_fax) {
    const auto coded = std::make_shared<CodedPicture>();
    const bool read = read_code(source.shown.image, filters, parameters, bytes);
    coded->code.assign(bytes.begin(), bytes.end());
    coded->height = image.picture.height;
    if (!read || !find_coding(parameters.back(), source, *coded, why)) return false;
    image.picture.load = [=, file = std::string(name)](SourcePicture &page) {
      const Status status = decode_coded_picture(file.c_str(), number, *coded, page);
      turned(page);
      return status;
    };
  } else {
    const size_t size = image.picture.row_bytes() * static_cast<size_t>(image.picture.height);
    if (!decode_stream(source.shown.image, size + SPARE_BYTES, bytes) || bytes.size() < size) {
      why = "its image cannot be decoded";
      return false;
    }
    const char flip = source.black[1] ? '\0' : '\xFF';
    image.picture.bits.resize(size);
    std::transform(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size), image.picture.bits.begin(),
                   [=](char byte) { return static_cast<uint8_t>(byte ^ flip); });
    image.picture.load = [=](SourcePicture &page) {
      turned(page);
      return DONE;
    };
  }
  return true;
}

// Finds how the image is turned, and its density. False with the reason.
bool find_place(QPDFPageObjectHelper &page, Source &source, const Rectangle &box, PageImage &image, std::string &why) {
  const QPDFMatrix &place = source.shown.place;
  const bool upright = std::abs(place.b) < STRAIGHT && std::abs(place.c) < STRAIGHT;
  const bool on_side = std::abs(place.a) < STRAIGHT && std::abs(place.d) < STRAIGHT;
  const Rectangle all = place.transformRectangle({0, 0, 1, 1});
  const double edges[] = {all.llx - box.llx, all.lly - box.lly, all.urx - box.urx, all.ury - box.ury};
  const double widest = std::abs(*std::max_element(std::begin(edges), std::end(edges),
                                                   [](double a, double b) { return std::abs(a) < std::abs(b); }));
  source.fits = widest < FITTING;
  why = !upright && !on_side ? "its image is at an angle" : widest >= NEAR ? "its image does not cover it" : "";
  if (upright && on_side) why = "its image has no size";
  if (!why.empty()) return false;
  const double width = std::hypot(place.a, place.b), height = std::hypot(place.c, place.d);
  image.picture.width = static_cast<int32_t>(source.width);
  image.picture.height = static_cast<int32_t>(source.height);
  image.picture.x_dpi = static_cast<double>(source.width) / width * POINT;
  image.picture.y_dpi = static_cast<double>(source.height) / height * POINT;
  // The unit square of an image has its first row at the top, and the page its origin at the bottom.
  image.placed = on_side ? Turn{true, place.c > 0, place.b > 0} : Turn{false, place.a < 0, place.d < 0};
  const int64_t degrees = integer(page.getAttribute("/Rotate", false), 0) % 360;
  image.rotated = clockwise(static_cast<int32_t>(degrees < 0 ? degrees + 360 : degrees));
  return true;
}

}  // namespace

bool take_page_image(QPDFPageObjectHelper page, const char *name, int32_t number, PageImage &image, std::string &why) {
  Source source;
  const Rectangle box = page_box(page);
  if (!find_shown_image(page, box, source.shown, why)) return false;
  source.dictionary = source.shown.image.getDict();
  source.width = integer(source.dictionary.getKey("/Width"), 0);
  source.height = integer(source.dictionary.getKey("/Height"), 0);
  for (const char *key : {"/SMask", "/Mask", "/OC"}) {
    if (source.dictionary.hasKey(key)) why = "its image has a mask";
  }
  if (source.width < 1 || source.width > WIDEST_PICTURE || source.height < 1 ||
      source.height > LARGEST_PICTURE / ((source.width + 7) / 8 * 8))  // whole bytes
    why = "its image is too large";
  if (page.getAttribute("/UserUnit", false).isNumber()) why = "its unit is not the point";
  return why.empty() && find_colours(source, why) && find_place(page, source, box, image, why) &&
         take_pixels(source, name, number, image, why);
}

}  // namespace tolvane
