// Raw coded lines, also of a coding that nobody names: then the best reading of many is taken.
#include <algorithm>
#include <iterator>
#include <utility>

#include "formats/coded_lines.h"
#include "formats/page_readers.h"
#include "formats/tiff_file.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|read_raw|9|01|3|0|0|11/23/26|11:48:38";

// Raw lines that were decoded, and what libtiff reports about them.
struct RawPage {
  SourcePicture picture;
  TiffLog log;
};

// Decodes raw lines. False with the reason in `page.log.error`.
bool decode_raw(const PictureFile &file, const RawFormat &format, RawPage &page) {
  return decode_coded_lines(file.bytes, format, LONGEST_PAGE, page.log, page.picture);
}

const char *raw_name(const RawFormat &format) {
  constexpr std::pair<int32_t, const char *> NAMES[] = {
      {COMP_MH, "g3"}, {COMP_MR, "g3-2d"}, {COMP_MMR, "g4"}, {RAW_RLE, "rle"}, {RAW_NO_EOL, "g3-no-eol"}};
  return std::find_if(std::begin(NAMES), std::end(NAMES) - 1,
                      [&](const auto &row) { return row.first == format.coding; })
      ->second;
}

// Decodes raw lines of which nothing is known in all codings, bit orders and standard widths, and takes the result
// with the most lines that are good.
Status read_unknown_raw(const PictureFile &file, const page_sink &sink) {
  RawFormat best;
  RawPage page;
  int64_t most = 0;
  for (const int32_t coding : {COMP_MMR, COMP_MH, COMP_MR, RAW_RLE, RAW_NO_EOL}) {
    for (const int32_t width : {1728, 2048, 2432}) {
      for (const bool high_bit_first : {false, true}) {
        const RawFormat format = {coding, width, high_bit_first};
        RawPage tried;
        if (!decode_raw(file, format, tried)) continue;
        // A damaged line speaks against a reading more than one more good line speaks for it.
        const auto damaged = static_cast<int64_t>(tried.log.damage.count);
        const int64_t good = tried.picture.height - 10 * damaged;
        if (good <= most) continue;
        most = good;
        best = format;
        page = std::move(tried);
      }
    }
  }
  if (most <= 0) return failure("%s: not raw coded lines in any coding, bit order and width that is tried", file.name);
  report("%s: read as --raw %s --width %d --bit-order %s: %d lines", file.name, raw_name(best), best.width,
         best.high_bit_first ? "msb" : "lsb", page.picture.height);
  const Status damage = report_tiff_damage(file.name, 1, page.log);
  return worse(damage, sink(std::move(page.picture)));
}

}  // namespace

Status read_raw(const PictureFile &file, const SourceOptions &options, const page_sink &sink) {
  if (options.raw.coding == RAW_AUTO) return read_unknown_raw(file, sink);
  if (check_picture_size(file.name, 1, options.raw.width, 1) != DONE) return FAILED;
  RawPage page;
  if (!decode_raw(file, options.raw, page)) return failure("%s: %s", file.name, page.log.error.c_str());
  if (page.picture.height == 0) return failure("%s: no line can be read as raw %s", file.name, raw_name(options.raw));
  const Status damage = report_tiff_damage(file.name, 1, page.log);
  return worse(damage, sink(std::move(page.picture)));
}

}  // namespace tolvane
