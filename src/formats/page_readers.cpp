// The table of the formats that pages are read from. Each reader has a file of its own. A resolution given by the user
// overrides that of the file here, for all readers.
#include "formats/page_readers.h"

#include <algorithm>
#include <cinttypes>
#include <iterator>
#include <string_view>

#include "io/input_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_readers|9|01|4|0|0|11/23/26|11:29:38";

using reader_fn = Status (*)(const PictureFile &file, const SourceOptions &options, const page_sink &sink);

Status refuse_fax(const PictureFile &file, const SourceOptions &, const page_sink &) {
  return failure("%s: this is a fax file: use \"tolvane-fax merge\"", file.name);
}

using namespace std::string_view_literals;

const struct {
  std::string_view magic;
  const char *name;
  reader_fn read;
  size_t before = 0;  // bytes that may come before the magic ones
} formats[] = {
    {"II*\0"sv, "TIFF", read_tiff},     {"MM\0*"sv, "TIFF", read_tiff}, {"II+\0"sv, "TIFF", read_tiff},
    {"MM\0+"sv, "TIFF", read_tiff},     {"P1"sv, "PBM", read_pbm},      {"P4"sv, "PBM", read_pbm},
    {"\x89PNG"sv, "PNG", read_png},     {"Sfff"sv, "SFF", read_sff},    {"\xBA\xDB\xAD\x16"sv, "fax", refuse_fax},
    {"%PDF-"sv, "PDF", read_pdf, 1024},
};

Status read_file(const std::string &path, const SourceOptions &options, const page_sink &sink) {
  const auto input = std::make_shared<InputFile>();
  if (input->open(path) != DONE) return FAILED;
  const PictureFile file = {input, input->name(), input->bytes()};
  if (options.raw.coding >= 0) return read_raw(file, options, sink);

  const std::string_view bytes(reinterpret_cast<const char *>(file.bytes.data()), file.bytes.size());
  const auto *format = std::find_if(std::begin(formats), std::end(formats), [&](const auto &row) {
    return bytes.substr(0, row.before + row.magic.size()).find(row.magic) != bytes.npos;
  });
  if (format == std::end(formats))
    return failure("%s: not a TIFF, PBM, PNG, PDF or SFF file (raw coded data needs --raw)", file.name);
  say_verbose("%s: read as %s", file.name, format->name);
  return format->read(file, options, sink);
}

}  // namespace

Status read_pages(const std::string &path, const SourceOptions &options, const page_sink &sink) {
  bool stopped = false;
  const Status status = read_file(path, options, [&](SourcePicture &&page) {
    if (stopped) return FAILED;
    if (options.x_dpi > 0) page.x_dpi = options.x_dpi, page.y_dpi = options.y_dpi;
    const Status taken = sink(std::move(page));
    stopped = taken == FAILED;
    return taken;
  });
  return status == FAILED && options.keep_going && !stopped ? DAMAGED : status;
}

Status check_picture_size(const char *name, int32_t page, int64_t width, int64_t height) {
  if (width < 1 || height < 1)
    return failure("%s: page %d has %" PRId64 " x %" PRId64 " pixels", name, page, width, height);
  const int64_t row = (width + 7) / 8 * 8;  // pixels that the bytes of a row have room for
  if (width > WIDEST_PICTURE || height > LARGEST_PICTURE / row)
    return failure("%s: page %d is %" PRId64 " x %" PRId64 " pixels: the limit is %d across and %" PRId64 " in all%s",
                   name, page, width, height, WIDEST_PICTURE, LARGEST_PICTURE,
                   height > LARGEST_PICTURE / width ? "" : ", in rows of whole bytes");
  return DONE;
}

}  // namespace tolvane
