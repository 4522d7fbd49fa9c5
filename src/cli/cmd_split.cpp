// tolvane-fax split: splits a fax file into several with the same header. Pages are counted with included ones; with
// inclusions kept, only the file's own pages count, and an inclusion stays with the page after it.
#include <algorithm>
#include <map>

#include "cli/commands.h"
#include "cli/options.h"
#include "document/fax_composition.h"
#include "document/page_sources.h"
#include "document/transcoder.h"
#include "faxfile/header_lines.h"
#include "io/file_names.h"
#include "io/output_file.h"
#include "support/replace_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_split|9|01|5|0|0|11/23/26|14:58:01";

constexpr size_t LONGEST_HEADER = 32767;  // bytes: each part has a header of its own

std::string file;
std::string pattern;
int32_t every = 1;
std::vector<int32_t> before;
bool keep_inclusions;

void declare(Usage &usage) {
  usage.add_option("FILE", file, "the fax file to split; - is standard input").required();
  usage.add_option("PATTERN", pattern, "names of the new files: %d or %03d is replaced by their number, from 1")
      .required()
      .check([](const std::string &text) {
        return is_numbered_pattern(text) ? std::string() : "\"" + text + "\" needs one %d";
      });
  Option size = add_number(usage, "--every", every, 1, MOST_RECORDS, "pages per new file");
  usage.add_option("--before", before, "begin new files before these pages and nowhere else")
      .delimiter(',')
      .type_name("N,N...")
      .one_word_each()
      .range(1, MOST_RECORDS)
      .excludes(size);
  add_inclusions(usage, keep_inclusions);
  add_no_clobber(usage);
}

// The first page of each part, and the page after the last.
std::vector<int32_t> part_starts(int32_t pages) {
  std::vector<int32_t> starts = {1};
  if (before.empty()) {
    for (int64_t start = int64_t{1} + every; start <= pages; start += every)
      starts.push_back(static_cast<int32_t>(start));
  } else {
    starts.insert(starts.end(), before.begin(), before.end());
    std::sort(starts.begin(), starts.end());
    starts.erase(std::unique(starts.begin(), starts.end()), starts.end());
  }
  starts.push_back(pages + 1);
  return starts;
}

// The pages that are split, as readers count them: all, or those that are records of the document's own.
std::vector<int32_t> pages_to_split(const FaxDocument &document, Status &status) {
  std::vector<int32_t> pages;
  status = worse(status, require_all_pages(document));
  for (int32_t page = 1; page <= document.page_count() && status != FAILED; ++page) {
    FaxPage found;
    status = worse(status, locate_page(document, page, found));
    if (!keep_inclusions || !found.included) pages.push_back(page);
  }
  return pages;
}

// Whether every page before which a file shall begin is there.
Status check_starts(const FaxDocument &document, ptrdiff_t pages) {
  for (const int32_t start : before) {
    if (start > pages) return usage_fault("--before: no page %d: %s has %td to split", start, document.name(), pages);
  }
  return DONE;
}

// Whether no new file takes the place of one that is still to be read, or of another new one.
Status check_names(const FaxDocument &document, int32_t parts) {
  std::map<FilePlace, int32_t> places;
  for (int32_t part = 1; part <= parts; ++part) {
    const std::string name = numbered_name(pattern, part);
    if (check_not_source(name, document) != DONE) return FAILED;
    const auto [place, is_new] = places.try_emplace(place_of(name), part);
    if (!is_new) return failure("%s and %s are one file", numbered_name(pattern, place->second).c_str(), name.c_str());
  }
  return DONE;
}

// The new files, written from the records of the pages in order.
class Parts {
 public:
  // @param starts  the first page of each part among those to split, and the page after the last
  Parts(const FaxDocument &document, const std::vector<int32_t> &starts)
      : document_(document), starts_(starts), progress_("files", static_cast<int32_t>(starts.size()) - 1) {}

  Status add(std::span<const uint8_t> record) {
    if (page_ == starts_[part_] && begin() != DONE) return FAILED;
    if (append_record(files_.file().name(), files_.file().fd(), record) != DONE) return FAILED;
    return ++page_ < starts_[part_ + 1] ? DONE : end();
  }

  // The one part of a fax without pages.
  Status add_empty() { return begin() == DONE ? end() : FAILED; }

  // Commits the parts that are complete.
  Status commit() { return files_.commit(); }

 private:
  HeaderLines header() const {
    const int32_t first = starts_[part_], after = starts_[part_ + 1];
    HeaderLines lines = leading_lines(after - first, written_resolution(document_), document_.coding);
    std::copy_if(document_.lines.begin(), document_.lines.end(), std::back_inserter(lines),
                 [](const std::string &line) { return !is_structural(line); });
    const bool last = after > document_.record_count();
    for (const Inclusion &inclusion : document_.inclusions) {
      if (keep_inclusions && inclusion.at >= first && (inclusion.at < after || last))
        lines.push_back(inclusion_line(inclusion, inclusion.at - first + 1));
    }
    return lines;
  }

  Status begin() {
    const int32_t pages = starts_[part_ + 1] - starts_[part_];
    const std::string name = numbered_name(pattern, static_cast<int32_t>(part_) + 1);
    if (pages > MOST_RECORDS)
      return failure("%s: more than %d pages in one file: use several", name.c_str(), MOST_RECORDS);
    if (files_.open(name) != DONE) return FAILED;
    HeaderLines lines = header();
    if (header_length(lines) > LONGEST_HEADER)
      return failure("%s: the header would be longer than %zu bytes", files_.file().name(), LONGEST_HEADER);
    if (set_page_counts(files_.file().name(), lines, pages) != DONE ||
        check_changed_header(files_.file().name(), document_.lines, lines) != DONE)
      return FAILED;
    return write_fax(files_.file(), lines, {});
  }

  Status end() {
    const auto commit_locked = [](OutputFile &part) { return commit_new_fax(part, part.name()); };
    ++part_;
    progress_.step();
    return files_.file().replaces() ? files_.close_alone(commit_locked) : files_.close();
  }

  const FaxDocument &document_;
  const std::vector<int32_t> &starts_;
  Progress progress_;
  OutputBatch files_;
  size_t part_ = 0;
  int32_t page_ = 1;
};

Status run() {
  FaxDocument document;
  if (open_fax(file, document) != DONE) return FAILED;
  if (!document.inclusions_usable) return failure("%s: %s", document.name(), inclusion_fault(document).c_str());
  if (check_inclusion_lines(document, 0) != DONE) return FAILED;
  if (keep_inclusions && !document.inclusions.empty() && !same_file(directory_of(pattern), directory_of(file)))
    return failure("%s: inclusions can be kept only in the same directory", document.name());
  Status status = report_lost_bytes(document);
  status = worse(status, report_missing_records(document));
  report_outside(document);
  const std::vector<int32_t> pages = pages_to_split(document, status);
  if (status == FAILED) return FAILED;
  if (check_starts(document, std::ssize(pages)) != DONE) return USAGE;
  const std::vector<int32_t> starts = part_starts(static_cast<int32_t>(pages.size()));
  if (check_names(document, static_cast<int32_t>(starts.size()) - 1) != DONE) return FAILED;

  Parts parts(document, starts);
  if (pages.empty() && parts.add_empty() != DONE) return FAILED;
  Transcoder records;
  records.open([&](std::span<const uint8_t> record) { return parts.add(record); }, document.coding,
               written_resolution(document));
  for (size_t i = 0; i < pages.size() && status != FAILED; ++i) status = worse(status, records.add(document, pages[i]));
  if (status != FAILED) status = worse(status, records.finish());
  return worse(status, parts.commit());
}

}  // namespace

const Command split_command = {"split", "Split a fax into several", declare, run};

}  // namespace tolvane
