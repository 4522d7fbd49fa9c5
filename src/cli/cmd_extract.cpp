// tolvane-fax extract: writes pages of a fax file in other formats. Pages are written as pixels, at their own
// resolution. An unreadable page is reported and skipped.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <memory>

#include "cli/commands.h"
#include "cli/file_work.h"
#include "cli/keyword_values.h"
#include "cli/options.h"
#include "cli/output_names.h"
#include "cli/page_selection.h"
#include "document/fax_composition.h"
#include "document/page_coding.h"
#include "document/page_sources.h"
#include "document/page_survey.h"
#include "formats/fax_lines.h"
#include "formats/page_writers.h"
#include "formats/paper.h"
#include "formats/turning.h"
#include "io/file_names.h"
#include "io/ordered_work.h"
#include "io/output_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_extract|9|01|6|0|0|11/23/26|14:47:36";

constexpr size_t FILES_IN_A_BATCH = 8;  // for each of the faxes that are worked on at a time

FileList input;
std::string out;
OutputNames outputs;
std::string selection;
std::string format_name;
TiffCoding tiff_coding = TiffCoding::g4;
bool square, no_metadata;
int32_t rotate;
const Paper *paper;

void declare(Usage &usage) {
  add_files_and_output(
      usage, input, out,
      "the new file; - is standard output; {name} and {dir} are name, without ending, and directory of "
      "FILE; with {page}, %d or %03d one file per page");
  usage
      .add_option("-p,--pages", selection,
                  "pages: 1-3,5,z (the last), r2 (second from the end), :even, :odd (default: all)")
      .type_name("PAGES")
      .check([](const std::string &text) { return text.empty() ? std::string("no page is selected") : std::string(); });
  usage.add_option("-f,--format", format_name, "output format (default: by the ending of OUT)")
      .type_name(format_names());
  add_choice<TiffCoding>(usage, "--coding", tiff_coding, {{"g4", TiffCoding::g4}, {"g3", TiffCoding::g3}},
                         "how pages are coded in TIFF");
  usage.add_flag("--square", square, "repeat lines to make pixels square, for text recognition");
  add_rotate(usage, rotate);
  std::vector<std::pair<std::string, const Paper *>> papers;
  for (const Paper &each : PAPERS) papers.emplace_back(each.name, &each);
  add_choice(usage, "--paper", paper, papers, "make pages as long as the paper, and PDF pages as wide");
  usage.add_flag("--no-metadata", no_metadata, "write no tags and texts from header lines and damage");
  add_no_clobber(usage);
}

// The header lines of known names, which are all that a format may have a place for. What they tell of bad lines is
// told of the first page.
HeaderValues values_for(const FaxDocument &document, bool is_first_page) {
  HeaderValues values;
  for (const std::string &line : document.lines) {
    const size_t colon = line.find(':');
    if (colon == std::string::npos || is_structural(line)) continue;
    const std::string name = line.substr(0, colon);
    if (!is_keyword_name(name)) continue;
    std::string value = line.substr(colon + 1);
    if (!is_first_page) remove_fact(value, "bad-lines");
    add_header_value(values, name.c_str(), value);
  }
  return values;
}

// The damage of the page.
void add_damage(const DecodedPage &decoded, PagePicture &picture) {
  int32_t last = -1, in_a_row = 0;
  for (const LineDamage &damage : decoded.damage) {
    if (damage.line == last) continue;
    in_a_row = damage.line == last + 1 ? in_a_row + 1 : 1;
    last = damage.line;
    ++picture.bad_lines;
    picture.consecutive_bad_lines = std::max(picture.consecutive_bad_lines, in_a_row);
  }
}

// Repeats or drops lines so that there are as many per inch as pixels.
void make_square(PagePicture &picture) {
  const auto rows = std::max(static_cast<int32_t>(std::lround(picture.height * picture.x_dpi / picture.y_dpi)), 1);
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

// A page on its way out.
struct PageOut {
  int32_t number = 0;
  FaxPage found;
  PagePicture picture;
  Diagnostics diagnostics;
  Status status = DONE;  ///< DONE or DAMAGED with a picture, else FAILED
  bool dropped = false;  ///< the rows of the picture, which has no code
};

// Puts a page on the paper that the user wants. What does not fit is reported.
void put_on_paper(const char *name, const PictureFormat &format, int32_t number, PagePicture &picture) {
  if (!paper) return;
  std::vector<std::string> misfits = {fit_length(*paper, picture)};
  if (format.page_sizes) misfits.push_back(set_page_size(*paper, picture));
  for (const std::string &misfit : misfits) {
    if (!misfit.empty()) report("%s: page %d is %s", name, number, misfit.c_str());
  }
}

// Makes the picture of a page whose record has been read, and its code.
//
// @param values  of the header, for this page
Status make_picture(const FaxDocument &document, const HeaderValues &values, const PictureFormat &format,
                    PageOut &page) {
  DecodedPage decoded;
  const Status status = decode_page(document.name(), page.number, page.found.record, page.found.coding, decoded);
  if (status == FAILED) return FAILED;
  if (decoded.count == 0) return failure("%s: page %d has no lines: skipped", document.name(), page.number);
  page.picture = {FAX_WIDTH, decoded.count, FAX_X_DPI, lines_per_inch(page.found.resolution), std::move(decoded.lines)};
  if (!no_metadata) {
    page.picture.header = values;
    add_damage(decoded, page.picture);
  }
  put_on_paper(document.name(), format, page.number, page.picture);
  const Turn turn = wanted_turn(rotate, page.picture.rows, page.picture.width, page.picture.height);
  if (square) make_square(page.picture);
  if (!turn.is_none()) turn_rows(page.picture.rows, page.picture.width, page.picture.height, turn);
  if (turn.transpose) {
    std::swap(page.picture.x_dpi, page.picture.y_dpi);
    std::swap(page.picture.page_width, page.picture.page_height);
  }
  if (!format.encode) return status;
  page.picture.code = format.encode(page.picture, tiff_coding);
  page.picture.rows = std::vector<uint8_t>();  // with its memory
  return status;
}

// A page of more lines, as a small record may have, is not held until it is written: it is decoded a second time then.
constexpr size_t MOST_HELD = 4 << 20;  // bytes

// Gives the selected pages one after another. What is wrong with them is reported and kept in `status`.
class PagesOut {
 public:
  PagesOut(const FaxDocument &document, const PictureFormat &format, std::span<const int32_t> pages, Progress &progress)
      : document_(document), format_(format), pages_(pages), progress_(progress) {
    if (no_metadata) return;
    first_values_ = values_for(document, true);
    other_values_ = values_for(document, false);
  }

  // @return false if there are no more pages
  bool give(PagePicture &picture) {
    picture = {};
    while (true) {
      while (next_ < pages_.size() && work_.has_room()) begin(pages_[next_++]);
      if (work_.empty()) return false;
      work_.take();
      const std::unique_ptr<PageOut> page = std::move(under_way_.front());
      under_way_.pop_front();
      pass_on_diagnostics(page->diagnostics);
      if (page->dropped) make_again(*page);
      progress_.step();
      status = worse(status, page->status == DONE ? DONE : DAMAGED);
      if (page->status == FAILED) continue;
      picture = std::move(page->picture);
      number = page->number;
      ++given;
      return true;
    }
  }

  Status status = DONE;
  int32_t given = 0;   // pages
  int32_t number = 0;  // of the page given last

 private:
  const HeaderValues &values(const PageOut &page) const { return page.number == 1 ? first_values_ : other_values_; }

  // Makes the picture whose rows were dropped. What is reported again is left out, but not why it fails this time.
  void make_again(PageOut &page) {
    Diagnostics repeated;
    {
      const HoldDiagnostics hold(repeated);
      page.status = make_picture(document_, values(page), format_, page);
    }
    if (page.status == FAILED) pass_on_diagnostics(repeated);
  }

  void begin(int32_t number_of_page) {
    under_way_.push_back(std::make_unique<PageOut>());
    PageOut &page = *under_way_.back();
    page.number = number_of_page;
    const HoldDiagnostics hold(page.diagnostics);
    page.status = read_fax_page(document_, page.number, page.found);
    work_.add([this, &page] {
      const HoldDiagnostics held(page.diagnostics);
      if (page.status == DONE) page.status = make_picture(document_, values(page), format_, page);
      page.dropped = page.picture.rows.size() > MOST_HELD;
      if (page.dropped) page.picture.rows = std::vector<uint8_t>();  // with its memory
    });
  }

  const FaxDocument &document_;
  const PictureFormat &format_;
  std::span<const int32_t> pages_;
  Progress &progress_;
  HeaderValues first_values_, other_values_;  // of page 1, and of all others
  size_t next_ = 0;
  std::deque<std::unique_ptr<PageOut>> under_way_;  // oldest first
  OrderedWork work_;
};

// Writes one file.
//
// @param first  its first page: a file without any page is not made
// @param more   gives the others
Status write_file(const PictureFormat &format, OutputBatch &files, const std::string &path, PagePicture &first,
                  const picture_source &more) {
  bool first_given = false;
  if (files.open(path) != DONE) return FAILED;
  const auto next = [&](PagePicture &picture) {
    if (first_given) return more(picture);
    picture = std::move(first);
    return first_given = true;
  };
  return format.write(files.file(), tiff_coding, next) == DONE ? files.close() : FAILED;
}

Status extract_file(const std::string &file, const PictureFormat &format, OutputNames::Turn &turn) {
  FaxDocument document;
  if (open_fax(file, document) != DONE) return FAILED;
  Status lost = report_invalid_inclusions(document);
  lost = worse(lost, report_lost_bytes(document));
  lost = worse(lost, report_missing_records(document));
  report_outside(document);
  if (readable_pages(document) == 0) return failure("%s: no pages to extract", document.name());
  std::vector<int32_t> pages;
  const std::vector<MissingPages> missing = find_missing_pages(document);
  std::vector<const MissingPages *> left_out;
  const std::string about = input.files.size() > 1 ? document.shown_name + ": " : "";
  if (select_pages(selection, about, readable_pages(document), missing, pages, left_out) != DONE)
    return outputs.misfit();
  if (turn.reserve(file, pages) != DONE) return FAILED;
  MissingReport missing_report(document);
  for (const MissingPages *stretch : left_out) lost = worse(lost, missing_report.add(*stretch));
  missing_report.finish();

  Progress progress("pages", static_cast<int32_t>(pages.size()));
  PagesOut all(document, format, pages, progress);
  OutputBatch files(FILES_IN_A_BATCH);
  Status written = DONE;
  PagePicture picture;
  std::string path;
  if (!has_page(out)) {
    if (pages.size() > 1 && !format.several_pages) {
      report("%s%s files contain one page: put %%d into the name", about.c_str(), format.name);
      return outputs.misfit();
    }
    if (outputs.take(file, 1, path) != DONE || check_not_source(path, document) != DONE) return FAILED;
    const auto more = [&](PagePicture &wanted) { return all.give(wanted); };
    if (all.give(picture)) written = write_file(format, files, path, picture, more);
  }
  while (written == DONE && all.give(picture)) {
    written = outputs.take(file, all.number, path);  // which sets the path that is checked next
    if (written == DONE) written = check_not_source(path, document);
    if (written == DONE) written = write_file(format, files, path, picture, [](PagePicture &) { return false; });
  }
  if (check_unchanged(document) != DONE || worse(written, files.commit()) != DONE) return FAILED;
  return all.given == 0 ? failure("%s: no page could be extracted", document.name()) : worse(lost, all.status);
}

Status run() {
  if (const Status status = input.complete(); status != DONE) return status;
  const PictureFormat *format = wanted_format(format_name, out);
  if (!format) return USAGE;
  if (const Status status = outputs.plan(out, input.files); status != DONE) return status;
  return for_each_file(input.files, [&](size_t index) -> FileReport {
    OutputNames::Turn turn(outputs, index);
    return [status = extract_file(input.files[index], *format, turn)] { return status; };
  });
}

}  // namespace

const Command extract_command = {"extract", "Extract pages as TIFF, PDF, PNG or PBM", declare, run};

}  // namespace tolvane
