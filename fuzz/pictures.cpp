// The readers of other page formats, each on its own. A picture that is read becomes lines of a fax, and one in black
// and white is written in another format and read again.
#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "document/page_coding.h"
#include "formats/grey_rows.h"
#include "formats/page_readers.h"
#include "formats/page_writers.h"
#include "formats/pdf/pdf_module.h"
#include "fuzz.h"
#include "io/output_file.h"
#include "t4/line.h"

using namespace tolvane;

namespace {

using reader = Status (*)(const PictureFile &file, const SourceOptions &options, const page_sink &sink);

constexpr int32_t CODINGS[] = {COMP_MH, COMP_MR, COMP_MMR};
constexpr size_t MOST_CODED = 400 * LINE_BYTES;  // of the lines of a page: more take too long for what they show

constexpr int32_t MOST_LOOKED_AT = 1 << 20;  // pixels of a picture that is looked at pixel by pixel

// Formats that black and white pictures are written in and read again. Not G3: libtiff has no room for the runs of a
// line that changes its colour at every pixel.
const struct {
  const char *name;
  TiffCoding coding;
  reader read;
} OTHERS[] = {
    {"tiff", TiffCoding::g4, read_tiff}, {"png", TiffCoding::g4, read_png}, {"pbm", TiffCoding::g4, read_pbm}};

// One byte for each pixel, as they are seen. False if they cannot be read.
bool take_pixels(SourcePicture page, std::vector<uint8_t> &pixels) {
  const auto width = static_cast<size_t>(page.width);
  pixels.clear();
  const row_source rows = page.grey ? seen_rows(page) : unpacked_rows(page);
  const Status status = rows([&](const uint8_t *row) { pixels.insert(pixels.end(), row, row + width); });
  require(status == FAILED || pixels.size() == width * static_cast<size_t>(page.height),
          "as many pixels as width and height say");
  return status != FAILED;
}

// Takes the pixels of a picture that is not too large. False if it is, or if they cannot be read.
bool require_whole(const SourcePicture &page, std::vector<uint8_t> &pixels) {
  require(page.width >= 1 && page.width <= WIDEST_PICTURE && page.height >= 1, "a picture within the limits");
  require(page.grey ? page.bits.empty() : page.bits.size() == static_cast<size_t>(page.height) * page.row_bytes(),
          "a picture in grey or in black and white");
  if (page.height > MOST_LOOKED_AT / page.width) return false;
  const bool taken = take_pixels(page, pixels);
  std::vector<uint8_t> again;
  require(take_pixels(page, again) == taken && (!taken || again == pixels), "the same pixels again");
  return taken;
}

void require_same_elsewhere(const SourcePicture &page, const std::vector<uint8_t> &pixels, uint32_t choice) {
  const auto &other = OTHERS[choice % std::size(OTHERS)];
  const PictureFormat *format = wanted_format(other.name, "");
  PagePicture picture{page.width, page.height, FAX_X_DPI, FAX_X_DPI, page.bits};
  if (format->encode) picture.code = format->encode(picture, other.coding);
  OutputFile output;
  const std::string path = scratch().path("other");
  bool first = true;
  const auto next = [&](PagePicture &taken) {
    if (first) taken = std::move(picture);
    return std::exchange(first, false);
  };
  require(output.open(path) == DONE && format->write(output, other.coding, next) == DONE && output.commit() == DONE,
          "a picture that was read can be written");
  const std::string bytes = read_file(path);
  int pages = 0;
  const PictureFile file = {nullptr, "written", {reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()}};
  const Status read = other.read(file, {}, [&](SourcePicture &&again) {
    if (again.load)
      require(std::exchange(again.load, nullptr)(again) == DONE, "a picture that was written can be read");
    std::vector<uint8_t> found;
    require(take_pixels(again, found) && again.width == page.width && found == pixels,
            "the same pixels in another format");
    return ++pages, DONE;
  });
  require(read == DONE && pages == 1, "one page in another format");
}

void require_same_coded(const std::vector<uint8_t> &lines, int32_t coding, int32_t resolution) {
  std::vector<uint8_t> record;
  require(encode_page("page", lines, coding, resolution, record) == DONE, "lines that can be coded");
  DecodedPage decoded;
  require(decode_page("page", 1, record, coding, decoded) == DONE, "no damage in what was coded");
  require(decoded.lines == lines, "the same lines after coding");
}

void fuzz_reader(Input input, reader read, bool is_raw = false) {
  SourceOptions options;
  options.fit.resolution = static_cast<int32_t>(input.pick(2));
  options.fit.fit = static_cast<Fit>(input.pick(3));
  options.fit.halftone = static_cast<Halftone>(input.pick(3));
  options.fit.threshold = static_cast<int32_t>(input.pick(256));
  options.keep_going = input.pick(2) == 1;
  const uint32_t choice = input.pick(256);
  if (is_raw) {
    constexpr int32_t RAW[] = {RAW_AUTO, COMP_MMR, COMP_MH, COMP_MR, RAW_RLE, RAW_NO_EOL};
    constexpr int32_t WIDTHS[] = {1728, 2048, 2432, 1, 9, 16384};
    options.raw = {RAW[input.pick(6)], WIDTHS[input.pick(6)], input.pick(2) == 1};
  }
  int pages = 0;
  read({nullptr, "input", input.bytes}, options, [&](SourcePicture &&page) {
    if (page.load && std::exchange(page.load, nullptr)(page) == FAILED) return FAILED;
    std::vector<uint8_t> pixels, lines;
    const bool taken = require_whole(page, pixels);
    if (taken && !page.grey && page.bits.size() <= MOST_CODED) require_same_elsewhere(page, pixels, choice);
    if (make_fax_lines("input", 1, std::move(page), options.fit, lines) == FAILED) return FAILED;
    require(!lines.empty() && lines.size() % LINE_BYTES == 0, "whole lines");
    allow_lines(lines.size() / LINE_BYTES);
    lines.resize(std::min(lines.size(), MOST_CODED));
    require_same_coded(lines, CODINGS[choice % 3], options.fit.resolution);
    return ++pages < 4 ? DONE : FAILED;
  });
}

}  // namespace

// The program opens a module for it.
Status tolvane::read_pdf(const PictureFile &file, const SourceOptions &options, const page_sink &sink) {
  return tolvane_read_pdf(file, options, sink);
}

void fuzz_tiff(Input input) {
  fuzz_reader(input, read_tiff);
}
void fuzz_raw(Input input) {
  fuzz_reader(input, read_raw, true);
}
void fuzz_sff(Input input) {
  fuzz_reader(input, read_sff);
}
void fuzz_pbm(Input input) {
  fuzz_reader(input, read_pbm);
}
void fuzz_png(Input input) {
  fuzz_reader(input, read_png);
}
// A page for which poppler wants more at a time than it gets (script/fuzz) is refused.
void fuzz_pdf(Input input) {
  try {
    fuzz_reader(input, read_pdf);
  } catch (const std::bad_alloc &) {
  }
}

// The fonts that poppler draws with; we call none of their functions. Whole libraries would hide what we lose of
// theirs.
extern "C" const char *__lsan_default_suppressions() {
  return "leak:libfontconfig\n";
}
extern "C" const char *__lsan_default_options() {
  return "print_suppressions=0";
}
