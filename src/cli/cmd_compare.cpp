// tolvane-fax compare: compares two files page by page, in pixels. Coding and header are not compared: a fax and its
// conversion are equal if every page has the same lines. A file of another format is read as `create` reads it, into a
// fax that has no name.
#include <algorithm>
#include <bit>
#include <cstdio>

#include "cli/commands.h"
#include "cli/json_lines.h"
#include "cli/options.h"
#include "cli/page_input.h"
#include "document/fax_composition.h"
#include "document/page_coding.h"
#include "document/page_sources.h"
#include "document/page_survey.h"
#include "faxfile/usorbport.h"
#include "formats/fax_lines.h"
#include "formats/page_writers.h"
#include "io/file_names.h"
#include "io/input_file.h"
#include "io/output_file.h"
#include "io/terminal_output.h"
#include "support/file.h"
#include "support/replace_file.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_compare|9|01|4|0|0|11/23/26|15:55:59";

std::string one_file, other_file;
std::string pattern;
bool as_json;

void declare(Usage &usage) {
  usage.add_option("A", one_file, "a fax file, TIFF, PBM, PNG, PDF or SFF; a fax if it is -, standard input")
      .required();
  usage.add_option("B", other_file, "another one").required();
  usage.add_option("--difference", pattern, "write a picture of the pixels that differ; %d is the page number")
      .type_name("PATTERN")
      .check([](const std::string &text) {
        return is_numbered_pattern(text) ? std::string() : "\"" + text + "\" needs one %d";
      });
  usage.add_flag("--json", as_json, "print one line with a JSON object");
  add_no_clobber(usage);
}

// A side of the comparison.
struct Side {
  std::string path;
  FaxDocument document;
  Descriptor copy;  // the fax that was made of a file of another format

  const char *name() const { return document.name(); }
};

bool is_other_format(const std::string &path) {
  const Descriptor file = path == "-" ? Descriptor() : open_regular(path);
  uint32_t magic = 0;
  return file && (readLongFlipped(file.get(), &magic) != 4 || magic != FAXFILE_MAGIC) && file_size(file.get()) > 0;
}

// Makes a fax of a file of another format. DONE; DAMAGED; FAILED after a message.
Status read_other_format(int32_t resolution, Side &side) {
  PageInput input;
  input.files = {side.path};
  Descriptor pages = open_spool(nullptr);
  side.copy = open_spool(nullptr);
  if (!pages || !side.copy) return system_failure(side.path.c_str());
  int32_t count = 0;
  HeaderValues ignored;
  const Status status = code_pages(input, COMP_MMR, resolution, {side.path.c_str(), pages.get()}, count, ignored);
  if (status == FAILED) return FAILED;
  if (!write_header_lines(side.copy.get(), leading_lines(count, resolution, COMP_MMR)) ||
      lseek(pages.get(), 0, SEEK_SET) != 0 || !copy_bytes(pages.get(), side.copy.get(), -1))
    return system_failure(side.path.c_str());
  if (open_fax("/dev/fd/" + std::to_string(side.copy.get()), side.document) != DONE) return FAILED;
  side.document.shown_name = side.path;
  return status;
}

// Opens both sides. A file of another format becomes a fax of the resolution of the other side, if that is one.
Status open_sides(Side &one, Side &other) {
  Status status = DONE;
  int32_t resolution = 1;
  for (Side *side : {&one, &other}) {
    if (is_other_format(side->path)) continue;
    if (open_fax(side->path, side->document) != DONE) return FAILED;
    status = worse(status, report_invalid_inclusions(side->document));
    status = worse(status, report_lost_bytes(side->document));
    report_outside(side->document);
    resolution = written_resolution(side->document);
  }
  for (Side *side : {&one, &other}) {
    if (!side->document.fd) status = worse(status, read_other_format(resolution, *side));
    if (status == FAILED) return FAILED;
  }
  return status;
}

// Decodes a page. DONE, DAMAGED after its damage was reported, or FAILED.
Status read_lines(const FaxDocument &document, int32_t page, FaxPage &found, DecodedPage &decoded) {
  if (read_fax_page(document, page, found) != DONE) return FAILED;
  return decode_page(document.name(), page, found.record, found.coding, decoded);
}

// The pixels that differ, in the lines of the longer page: a missing line counts as white.
std::vector<uint8_t> difference_of(std::vector<uint8_t> one, std::vector<uint8_t> other) {
  one.resize(std::max(one.size(), other.size()));
  std::transform(other.begin(), other.end(), one.begin(), one.begin(), [](uint8_t a, uint8_t b) { return a ^ b; });
  return one;
}

// Writes the picture of a difference.
Status write_difference(const PictureFormat &format, int32_t page, const Side &one, const Side &other,
                        int32_t resolution, std::vector<uint8_t> &&rows) {
  const std::string path = numbered_name(pattern, page);
  for (const Side *side : {&one, &other}) {
    if (same_file(path, side->path)) return failure("%s: not overwritten: it is compared", path.c_str());
    if (check_not_source(path, side->document) != DONE) return FAILED;
  }
  const auto height = static_cast<int32_t>(rows.size() / LINE_BYTES);
  return write_picture(format, path, {FAX_WIDTH, height, FAX_X_DPI, lines_per_inch(resolution), std::move(rows)});
}

// How a page differs, or a stretch of pages that one side does not have.
struct PageDifference {
  int32_t page = 0, last_page = 0;
  bool readable = false;  // on both sides; if not, nothing below is known
  int64_t pixels = 0;
  int32_t lines_one = 0, lines_other = 0;
};

void print_page(const PageDifference &differs) {
  wipe_progress();
  printf("page %d: %lld pixels differ", differs.page, static_cast<long long>(differs.pixels));
  if (differs.lines_one != differs.lines_other) printf("; %d lines and %d", differs.lines_one, differs.lines_other);
  putchar('\n');
}

// Compares a page that both have, and adds it to those that differ.
Status compare_page(const Side &one, const Side &other, const PictureFormat *format, int32_t page,
                    std::vector<PageDifference> &pages) {
  FaxPage found_one, found_other;
  DecodedPage lines_one, lines_other;
  Status status = read_lines(one.document, page, found_one, lines_one);
  status = worse(status, read_lines(other.document, page, found_other, lines_other));
  if (status == FAILED) {
    pages.push_back({page, page});
    return FAILED;
  }
  std::vector<uint8_t> difference = difference_of(std::move(lines_one.lines), std::move(lines_other.lines));
  int64_t pixels = 0;
  for (const uint8_t byte : difference) pixels += std::popcount(byte);
  if (pixels == 0 && lines_one.count == lines_other.count) return status;
  pages.push_back({page, page, true, pixels, lines_one.count, lines_other.count});
  if (!as_json) print_page(pages.back());
  if (format && write_difference(*format, page, one, other, found_one.resolution, std::move(difference)) != DONE)
    return FAILED;
  return DAMAGED;
}

// Two sides and what they have in common.
struct Comparison {
  Side one, other;
  std::string error;  // why they cannot be compared
  int32_t in_one = 0, in_other = 0;
  std::vector<PageDifference> pages;
};

// Reports the pages to be compared that a side does not have.
Status report_missing_up_to(int32_t last, const Side &side, const std::vector<MissingPages> &missing) {
  MissingReport reported(side.document);
  for (const MissingPages &stretch : missing) {
    if (stretch.first <= last) reported.add(stretch);
  }
  reported.finish();
  return missing.empty() || missing.front().first > last ? DONE : FAILED;
}

Status compare_sides(const PictureFormat *format, Comparison &comparison) {
  auto &[one, other, error, in_one, in_other, pages] = comparison;
  in_one = readable_pages(one.document);
  in_other = readable_pages(other.document);
  const int32_t both = std::min(in_one, in_other);
  const std::vector<MissingPages> missing_one = find_missing_pages(one.document),
                                  missing_other = find_missing_pages(other.document);
  Progress progress("pages", both);
  Status status = report_missing_up_to(both, one, missing_one);
  status = worse(status, report_missing_up_to(both, other, missing_other));
  for (int32_t page = 1; page <= both; ++page) {
    const MissingPages *stretch = missing_at(missing_one, page);
    if (!stretch) stretch = missing_at(missing_other, page);
    if (stretch) {
      pages.push_back({page, std::min(stretch->last, both)});
      page = pages.back().last_page;
      continue;
    }
    status = worse(status, compare_page(one, other, format, page, pages));
    progress.step();
  }
  if (in_one == in_other) return status;
  wipe_progress();
  if (!as_json)
    printf("%s has %d pages, %s %d\n", result_name(one.name()).c_str(), in_one, result_name(other.name()).c_str(),
           in_other);
  return worse(status, DAMAGED);
}

void print_json(const Comparison &comparison) {
  const auto &[one, other, error, in_one, in_other, pages] = comparison;
  JsonObject object = result_object();
  object["files"] = {input_name(one.path), input_name(other.path)};
  if (error.empty()) {
    object["equal"] = pages.empty() && in_one == in_other;
    object["page_counts"] = {in_one, in_other};
    object["pages"] = JsonObject::array();
    for (const PageDifference &differs : pages) {
      JsonObject page = {{"page", differs.page}, {"readable", differs.readable}};
      if (differs.last_page != differs.page) page.update({{"last_page", differs.last_page}});
      if (differs.readable)
        page.update({{"pixels", differs.pixels}, {"lines", {differs.lines_one, differs.lines_other}}});
      object["pages"].push_back(page);
    }
  } else {
    object["error"] = error;
  }
  puts(json_line(object).c_str());
}

Status run() {
  const PictureFormat *format = pattern.empty() ? nullptr : wanted_format("", pattern);
  if (!pattern.empty() && !format) return USAGE;
  Comparison comparison;
  comparison.one.path = one_file;
  comparison.other.path = other_file;
  Status status = with_error(comparison.error, [&] { return open_sides(comparison.one, comparison.other); });
  if (status != FAILED) status = worse(status, compare_sides(format, comparison));
  if (as_json) print_json(comparison);
  return status;
}

}  // namespace

const Command compare_command = {"compare", "Compare two files, pixel by pixel", declare, run};

}  // namespace tolvane
