// tolvane-fax compare: compares two faxes page by page, in pixels. Coding and header are not compared: a fax and its
// conversion are equal if every page has the same lines.
#include <algorithm>
#include <bit>
#include <cstdio>

#include "cli/commands.h"
#include "cli/options.h"
#include "document/page_coding.h"
#include "document/page_sources.h"
#include "document/page_survey.h"
#include "formats/fax_lines.h"
#include "formats/page_writers.h"
#include "io/file_names.h"
#include "io/output_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_compare|9|01|1|0|0|11/23/26|06:25:00";

std::string one_file, other_file;
std::string pattern;

void declare(Usage &usage) {
  usage.add_option("A", one_file, "a fax file; - is standard input").required();
  usage.add_option("B", other_file, "a fax file").required();
  usage.add_option("--difference", pattern, "write a picture of the pixels that differ; %d is the page number")
      .type_name("PATTERN")
      .check([](const std::string &text) {
        return is_numbered_pattern(text) ? std::string() : "\"" + text + "\" needs one %d";
      });
  add_no_clobber(usage);
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

Status write_difference(const PictureFormat &format, const std::string &path, int32_t resolution,
                        std::vector<uint8_t> &&rows) {
  const auto height = static_cast<int32_t>(rows.size() / LINE_BYTES);
  PagePicture picture = {FAX_WIDTH, height, FAX_X_DPI, lines_per_inch(resolution), std::move(rows)};
  OutputFile output;
  if (output.open(path) != DONE) return FAILED;
  bool given = false;
  const auto next = [&](PagePicture &wanted) {
    if (given) return false;
    wanted = std::move(picture);
    return given = true;
  };
  return format.write(output, TiffCoding::g4, next) == DONE ? output.commit() : FAILED;
}

// Compares a page that both have, and prints how it differs.
Status compare_page(const FaxDocument &one, const FaxDocument &other, const PictureFormat *format, int32_t page) {
  FaxPage found_one, found_other;
  DecodedPage lines_one, lines_other;
  const Status status =
      worse(read_lines(one, page, found_one, lines_one), read_lines(other, page, found_other, lines_other));
  if (status == FAILED) return FAILED;
  std::vector<uint8_t> difference = difference_of(std::move(lines_one.lines), std::move(lines_other.lines));
  int64_t pixels = 0;
  for (const uint8_t byte : difference) pixels += std::popcount(byte);
  if (pixels == 0 && lines_one.count == lines_other.count) return status;
  printf("page %d: %lld pixels differ", page, static_cast<long long>(pixels));
  if (lines_one.count != lines_other.count) printf("; %d lines and %d", lines_one.count, lines_other.count);
  putchar('\n');
  if (!format) return DAMAGED;
  const std::string path = numbered_name(pattern, page);
  if (check_not_source(path, one) != DONE || check_not_source(path, other) != DONE ||
      write_difference(*format, path, found_one.resolution, std::move(difference)) != DONE)
    return FAILED;
  return DAMAGED;
}

Status run() {
  const PictureFormat *format = pattern.empty() ? nullptr : wanted_format("", pattern);
  if (!pattern.empty() && !format) return USAGE;
  FaxDocument one, other;
  if (open_fax(one_file, one) != DONE || open_fax(other_file, other) != DONE) return FAILED;
  const int32_t in_one = readable_pages(one), in_other = readable_pages(other), both = std::min(in_one, in_other);
  Progress progress("pages", both);
  Status status = worse(report_lost_bytes(one), report_lost_bytes(other));
  for (const FaxDocument *document : {&one, &other}) report_outside(*document);
  for (int32_t page = 1; page <= both; ++page) {
    status = worse(status, compare_page(one, other, format, page));
    progress.step();
  }
  if (in_one == in_other) return status;
  printf("%s has %d pages, %s %d\n", one.name(), in_one, other.name(), in_other);
  return worse(status, DAMAGED);
}

}  // namespace

const Command compare_command = {"compare", "Compare two faxes, pixel by pixel", declare, run};

}  // namespace tolvane
