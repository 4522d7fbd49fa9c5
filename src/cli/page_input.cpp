// Pages are coded into a spool file first: their number, and so the header, is known only then, and the fax file stays
// untouched until then.
#include "cli/page_input.h"

#include <charconv>
#include <cstdio>
#include <deque>
#include <memory>
#include <optional>
#include <utility>

#include "cli/options.h"
#include "document/fax_composition.h"
#include "document/fax_document.h"
#include "document/page_coding.h"
#include "faxfile/header_lines.h"
#include "faxfile/usorbport.h"
#include "formats/grey_rows.h"
#include "io/input_file.h"
#include "io/ordered_work.h"
#include "io/output_file.h"
#include "support/handle.h"
#include "support/replace_file.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_input|9|01|5|0|0|11/23/26|14:40:52";

constexpr double HIGHEST_DPI = 100000;
constexpr int64_t MOST_MEMORY = 40 << 20;  // bytes of all pages under way, as far as they can be foreseen

std::vector<std::pair<std::string, int32_t>> raw_codings() {
  return {{"g3", COMP_MH},   {"g3-2d", COMP_MR}, {"g4", COMP_MMR},          {"mh", COMP_MH},   {"mr", COMP_MR},
          {"mmr", COMP_MMR}, {"rle", RAW_RLE},   {"g3-no-eol", RAW_NO_EOL}, {"auto", RAW_AUTO}};
}

bool parse_dpi(const std::string &text, double &dpi) {
  const char *end = text.data() + text.size();
  const auto [parsed, fault] = std::from_chars(text.data(), end, dpi);
  return fault == std::errc() && parsed == end && dpi >= 1 && dpi <= HIGHEST_DPI;
}

// "300" or "204x98".
bool store_dpi(const std::string &text, SourceOptions &source) {
  const size_t cross = std::min(text.find('x'), text.size());
  const std::string across = text.substr(0, cross), down = cross < text.size() ? text.substr(cross + 1) : across;
  return parse_dpi(across, source.x_dpi) && parse_dpi(down, source.y_dpi);
}

// Moves inclusions after `place` up by the number of new pages.
Status shift_inclusions(FaxDocument &document, int32_t place, int32_t new_pages) {
  if (document.record_count() + new_pages > MOST_RECORDS)
    return failure("%s: more than %d pages in one file: use several", document.name(), MOST_RECORDS);
  if (check_inclusion_lines(document, place) != DONE) return FAILED;
  std::vector<Inclusion> inclusions;
  read_inclusions(document.lines, inclusions);
  for (const Inclusion &inclusion : inclusions) {
    if (inclusion.at > place) document.lines[inclusion.line] = inclusion_line(inclusion, inclusion.at + new_pages);
  }
  return DONE;
}

// Whether pages can be added. DONE, or FAILED after a message.
Status check_target(const FaxDocument &document, int32_t place) {
  if (encodable_modes(document) != DONE) return FAILED;
  if (document.lost_bytes > 0)
    return failure("%s: the last page is cut short: nothing can be added after it (see repair)", document.name());
  if (place > document.record_count() + 1)
    return failure("%s: no page %d to insert before: the file has %d pages of its own", document.name(), place,
                   document.record_count());
  return DONE;
}

// Reports that a page loses size or its sides: that is no fault, but not what everybody wants.
void report_overhang(const char *name, int32_t number, const SourcePicture &page, const FitOptions &fit) {
  const double wider = overhang(page, fit);
  if (wider <= 1 || fit.fit == FIT_SCALE) return;
  const bool cut = fit.fit == FIT_CROP;
  report("%s: page %d is %.1f inches wide, a fax page %.1f: %s", name, number, wider * FAX_WIDTH / FAX_X_DPI,
         FAX_WIDTH / FAX_X_DPI, cut ? "its sides are cut off" : "it is reduced (--fit crop keeps the size)");
}

void say_picture(const char *name, int32_t number, const SourcePicture &picture) {
  char density[64] = "no resolution";
  if (picture.x_dpi > 0) snprintf(density, sizeof density, "%.4g x %.4g per inch", picture.x_dpi, picture.y_dpi);
  say_verbose("%s: page %d: %d x %d pixels, %s, %s", name, number, picture.width, picture.height,
              picture.grey ? "grey" : "black and white", density);
}

// The memory that coding a page takes, in bytes. Grey comes row by row: what is held of it does not grow with the page,
// unless it is turned.
int64_t memory_of(const SourcePicture &picture) {
  constexpr int64_t FINE_PAGE = 4 << 20;
  const int64_t pixels = int64_t{picture.width} * picture.height;
  if (!picture.grey) return pixels / 4;
  const int64_t turned = picture.turn.is_none() ? 0 : pixels;
  return turned + (pixels > FINE_PAGE ? 4 : 2) * FINE_PAGE;
}

// A page on its way into a fax file.
struct NewPage {
  std::string name;  // for messages
  int64_t memory = 0;
  SourcePicture picture;
  std::vector<uint8_t> record;  // empty for a page that is skipped
  Diagnostics diagnostics;
  Status status = DONE;
};

// Codes pages and adds the records at the end of an open file, in order.
class NewPages {
 public:
  NewPages(const SourceOptions &source, int32_t coding, const RecordStore &store)
      : fit_(source.fit),
        rotate_(source.rotate),
        keep_going_(source.keep_going),
        coding_(coding),
        store_(store),
        progress_("pages") {}

  // @param header  receives what the first page of all brings along
  Status code_file(const std::string &file, const SourceOptions &source, HeaderValues &header) {
    Diagnostics held;  // what the reader reports before it gives the next page
    std::optional<HoldDiagnostics> hold(std::in_place, held);
    const Status status = read_pages(file, source, [&](SourcePicture &&picture) {
      if (++read_ > MOST_RECORDS)
        return failure("%s: more than %d pages in one file: use several", store_.name, MOST_RECORDS);
      if (read_ == 1) header = std::move(picture.header);
      const int64_t memory = memory_of(picture);
      auto page = std::make_shared<NewPage>(NewPage{input_name(file), memory, std::move(picture), {}, {}});
      std::swap(page->diagnostics, held);
      hold.reset();
      const Status added = add(page);
      hold.emplace(held);
      return added;
    });
    hold.reset();
    const Status rest = finish();
    if (!failed_) pass_on_diagnostics(held);
    return worse(status, rest);
  }

  // Pages whose records are in the file.
  int32_t count() const { return count_; }

 private:
  Status add(const std::shared_ptr<NewPage> &page) {
    Status status = DONE;
    const auto has_room = [&] { return work_.has_room() && (work_.empty() || memory_ + page->memory <= MOST_MEMORY); };
    while (!has_room() && status != FAILED) status = worse(status, take());
    if (status == FAILED) return FAILED;
    memory_ += page->memory;
    under_way_.push_back(page);
    work_.add([this, page] {
      const HoldDiagnostics hold(page->diagnostics);
      code(*page);
    });
    return status;
  }

  void code(NewPage &page) const {
    page.status = make_record(page);
    if (page.status == FAILED && keep_going_) page.status = DAMAGED;
  }

  Status make_record(NewPage &page) const {
    std::vector<uint8_t> lines;
    const char *name = page.name.c_str();
    SourcePicture &picture = page.picture;
    const int32_t number = picture.number;
    Status status = picture.load ? picture.load(picture) : DONE;
    if (status == FAILED) return FAILED;
    say_picture(name, number, picture);
    Turn turn;
    status = worse(status, find_turn(rotate_, picture, turn));
    turn_picture(picture, turn);
    report_overhang(name, number, picture, fit_);
    status = worse(status, make_fax_lines(name, number, std::move(picture), fit_, lines));
    if (status == FAILED) return FAILED;
    return worse(status, encode_page(page.name + ": page " + std::to_string(number), lines, coding_, fit_.resolution,
                                     page.record));
  }

  Status take() {
    work_.take();
    const std::shared_ptr<NewPage> page = under_way_.front();
    under_way_.pop_front();
    memory_ -= page->memory;
    pass_on_diagnostics(page->diagnostics);
    progress_.step();
    Status status = page->status;
    if (status != FAILED && !page->record.empty()) {
      status = worse(status, append_record(store_.name, store_.fd, page->record));
      ++count_;
    }
    failed_ = failed_ || status == FAILED;
    return status;
  }

  Status finish() {
    Status status = DONE;
    while (!work_.empty() && !failed_) status = worse(status, take());
    return status;
  }

  const FitOptions fit_;
  const int32_t rotate_;
  const bool keep_going_;
  const int32_t coding_;
  const RecordStore store_;
  Progress progress_;
  bool failed_ = false;
  int32_t read_ = 0, count_ = 0;                    // pages that were read, and those that are in the file
  int64_t memory_ = 0;                              // of the pages under way
  std::deque<std::shared_ptr<NewPage>> under_way_;  // oldest first
  OrderedWork work_;
};

}  // namespace

void declare_page_input(Usage &usage, PageInput &input) {
  SourceOptions &source = input.source;
  usage.add_option("PAGES", input.files, "files with pages: TIFF, PBM, PNG, PDF or SFF; - is standard input")
      .required();
  add_choice<Fit>(usage, "--fit", source.fit.fit,
                  {{"center", FIT_CENTER}, {"centre", FIT_CENTER}, {"scale", FIT_SCALE}, {"crop", FIT_CROP}},
                  "keep the true size and centre, reducing what is too wide; scale to the full width; or keep the true "
                  "size and cut");
  add_rotate(usage, source.rotate);
  add_choice<Halftone>(usage, "--grey", source.fit.halftone,
                       {{"threshold", THRESHOLD}, {"local", LOCAL_THRESHOLD}, {"diffusion", DIFFUSION}},
                       "how grey becomes black and white");
  usage.add_option("--threshold", source.fit.threshold, "grey below this is black (default: by the page)")
      .type_name("N")
      .range(1, 255);
  const auto store = [&source](const std::string &text) {
    return store_dpi(text, source) ? "" : "expected a number, or two as in 204x98";
  };
  usage.add_parsed("--source-dpi", store, "pixels per inch of PAGES, overriding the files").type_name("X[xY]");
  add_keep_going(usage, source.keep_going);
  Option raw =
      add_choice(usage, "--raw", source.raw.coding, raw_codings(), "PAGES are bare coded lines, one page per file");
  add_number(usage, "--width", source.raw.width, 1, WIDEST_PICTURE, "pixels of a raw line").needs(raw);
  add_choice<bool>(usage, "--bit-order", source.raw.high_bit_first, {{"lsb", false}, {"msb", true}},
                   "which bit of a raw byte comes first")
      .needs(raw);
}

Status code_pages(const PageInput &input, int32_t coding, int32_t resolution, const RecordStore &store, int32_t &count,
                  HeaderValues &header) {
  SourceOptions source = input.source;
  source.fit.resolution = resolution;
  NewPages coder(source, coding, store);
  Status status = DONE;
  for (const std::string &file : input.files) {
    status = worse(status, coder.code_file(file, source, header));
    if (status == FAILED) return FAILED;
  }
  count = coder.count();
  return count > 0 ? status
                   : failure("%s: no page in %s", store.name,
                             input.files.size() == 1 ? input_name(input.files[0]).c_str() : "any of PAGES");
}

Status insert_pages(const std::string &path, int32_t place, const PageInput &input) {
  FaxDocument document;
  EditedFile edited;
  if (open_fax_to_edit(path, document, edited) != DONE || check_target(document, place) != DONE) return FAILED;
  const Status missing = report_missing_records(document);
  if (place == 0) place = document.record_count() + 1;
  const HeaderLines before = document.lines;

  OutputFile output;
  if (output.open(path) != DONE) return FAILED;
  const Descriptor spool = open_spool(output.fd());
  if (!spool) return system_failure(output.name(), "no temporary file can be made for its pages");
  int32_t new_pages = 0;
  HeaderValues ignored;
  const Status read = code_pages(input, document.coding, written_resolution(document), {output.name(), spool.get()},
                                 new_pages, ignored);
  if (read == FAILED || shift_inclusions(document, place, new_pages) != DONE ||
      set_page_counts(document.name(), document.lines, document.record_count() + new_pages) != DONE ||
      check_changed_header(document.name(), before, document.lines) != DONE)
    return FAILED;

  const int64_t end = records_end(document);
  const int64_t cut = place > document.record_count() ? end : document.records[static_cast<size_t>(place) - 1].offset;
  const RecordRange ranges[] = {{document.fd.get(), document.records_start, cut},
                                {spool.get(), 0, file_size(spool.get())},
                                {document.fd.get(), cut, end}};
  if (write_fax(output, document.lines, ranges) != DONE || check_unchanged(document) != DONE || output.commit() != DONE)
    return FAILED;
  return worse(read, missing);
}

}  // namespace tolvane
