// tolvane-fax extract: writes pages of a fax file in other formats. Pages are written as pixels, at their own
// resolution. An unreadable page is reported and skipped.
#include <cmath>
#include <cstring>

#include "cli/commands.h"
#include "cli/options.h"
#include "cli/page_selection.h"
#include "document/page_coding.h"
#include "document/page_sources.h"
#include "document/page_survey.h"
#include "formats/fax_lines.h"
#include "formats/page_writers.h"
#include "io/file_names.h"
#include "io/output_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_extract|9|01|1|0|0|11/22/26|21:40:00";

std::string file;
std::string out;
std::string selection;
std::string format_name;
TiffCoding tiff_coding = TiffCoding::g4;
bool square;

void declare(Usage &usage) {
  usage.add_option("FILE", file, "the fax file; - is standard input").required();
  usage.add_option("OUT", out, "the new file; - is standard output; with %d or %03d one file per page, by page number")
      .required();
  usage
      .add_option("-p,--pages", selection,
                  "pages: 1-3,5,z (the last), r2 (second from the end), :even, :odd (default: all)")
      .type_name("PAGES");
  usage.add_option("-f,--format", format_name, "output format (default: by the ending of OUT)")
      .type_name(format_names());
  add_choice<TiffCoding>(usage, "--coding", tiff_coding, {{"g4", TiffCoding::g4}, {"g3", TiffCoding::g3}},
                         "how pages are coded in TIFF");
  usage.add_flag("--square", square, "repeat lines to make pixels square, for text recognition");
}

// Repeats or drops lines so that there are as many per inch as pixels.
void make_square(PagePicture &picture) {
  const auto rows = static_cast<int32_t>(std::lround(picture.height * picture.x_dpi / picture.y_dpi));
  const size_t size = picture.row_bytes();
  std::vector<uint8_t> scaled(static_cast<size_t>(rows) * size);
  for (int32_t row = 0; row < rows; ++row) {
    const int64_t from = int64_t{row} * picture.height / rows;
    memcpy(&scaled[static_cast<size_t>(row) * size], &picture.rows[static_cast<size_t>(from) * size], size);
  }
  picture.rows = std::move(scaled);
  picture.height = rows;
  picture.y_dpi = picture.x_dpi;
}

// Supplies the selected pages one after another. Faults are reported and kept in `status`.
struct PagesOut {
  const FaxDocument &document;
  std::span<const int32_t> pages;
  Progress &progress;
  Status status = DONE;
  size_t next = 0;
  int32_t given = 0;

  bool read(int32_t page, PagePicture &picture) {
    FaxPage found;
    DecodedPage decoded;
    if (read_fax_page(document, page, found) != DONE) return false;
    const Status decode = decode_page(document.name(), page, found.record, found.coding, decoded);
    if (decode == FAILED) return false;
    status = worse(status, decode);
    if (decoded.count == 0) {
      report("%s: page %d has no lines: skipped", document.name(), page);
      return false;
    }
    picture = {FAX_WIDTH, decoded.count, FAX_X_DPI, lines_per_inch(found.resolution), std::move(decoded.lines)};
    if (square) make_square(picture);
    return true;
  }

  bool give(PagePicture &picture) {
    while (next < pages.size()) {
      const int32_t page = pages[next++];
      progress.step();
      if (read(page, picture)) return ++given;
      status = worse(status, DAMAGED);
    }
    return false;
  }
};

// Writes one file.
Status write_file(const PictureFormat &format, const std::string &path, PagesOut &pages) {
  if (check_not_source(path, pages.document) != DONE) return FAILED;
  // The first page is read first: a file without any page is not made.
  PagePicture first;
  if (!pages.give(first)) return pages.status;
  bool first_given = false;
  OutputFile output;
  if (output.open(path) != DONE) return FAILED;
  const auto next = [&](PagePicture &picture) {
    if (first_given) return pages.give(picture);
    picture = std::move(first);
    return first_given = true;
  };
  if (format.write(output, tiff_coding, next) != DONE || output.commit() != DONE) return FAILED;
  return pages.status;
}

Status run() {
  const PictureFormat *format = wanted_format(format_name, out);
  if (!format) return USAGE;
  FaxDocument document;
  if (open_fax(file, document) != DONE) return FAILED;
  Status lost = report_lost_bytes(document);
  if (readable_pages(document) == 0) return failure("%s: no pages to extract", document.name());
  std::vector<int32_t> pages;
  const std::vector<MissingPages> missing = find_missing_pages(document);
  std::vector<const MissingPages *> left_out;
  if (select_pages(selection, readable_pages(document), missing, pages, left_out) != DONE) return USAGE;
  for (const MissingPages *stretch : left_out) lost = worse(lost, report_missing(document, *stretch));

  Progress progress("pages", static_cast<int32_t>(pages.size()));
  PagesOut all = {document, pages, progress};
  if (!is_numbered_pattern(out)) {
    if (pages.size() > 1 && !format->several_pages)
      return usage_fault("%s files contain one page: put %%d into the name", format->name);
    const Status status = worse(lost, write_file(*format, out, all));
    return all.given == 0 ? failure("%s: no page could be extracted", document.name()) : status;
  }
  Status status = lost;
  int32_t given = 0;
  for (const int32_t &page : pages) {
    PagesOut one = {document, {&page, 1}, progress};
    status = worse(status, write_file(*format, numbered_name(out, page), one));
    if (status == FAILED) return FAILED;
    given += one.given;
  }
  return given == 0 ? failure("%s: no page could be extracted", document.name()) : status;
}

}  // namespace

const Command extract_command = {"extract", "Extract pages as TIFF, PDF, PNG or PBM", declare, run};

}  // namespace tolvane
