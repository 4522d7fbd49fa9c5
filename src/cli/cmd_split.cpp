// tolvane-fax split: splits a fax file into several with the same header. Pages are counted with included ones; with
// inclusions kept, only the file's own pages count, and an inclusion stays with the page after it.
#include <algorithm>

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
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_split|9|01|2|0|0|11/23/26|06:01:36";

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
    if (!keep_inclusions || found.source == document.path) pages.push_back(page);
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

// Whether no new file takes the place of one that is still to be read.
Status check_names(const FaxDocument &document, int32_t parts) {
  for (int32_t part = 1; part <= parts; ++part)
    if (check_not_source(numbered_name(pattern, part), document) != DONE) return FAILED;
  return DONE;
}

// Writes the pages from `first` up to, not including, `end`, counted among those to split.
Status write_part(const FaxDocument &document, const std::vector<int32_t> &pages, int32_t first, int32_t end,
                  const std::string &name) {
  OutputFile output;
  Transcoder records;
  if (output.open(name) != DONE || records.open(output, document.coding, written_resolution(document)) != DONE)
    return FAILED;
  Status status = DONE;
  for (int32_t i = first; i < end && status != FAILED; ++i)
    status = worse(status, records.add(document, pages[static_cast<size_t>(i) - 1]));
  if (status != FAILED) status = worse(status, records.finish());
  if (status == FAILED) return FAILED;

  HeaderLines lines = leading_lines(records.count(), written_resolution(document), document.coding);
  std::copy_if(document.lines.begin(), document.lines.end(), std::back_inserter(lines),
               [](const std::string &line) { return !is_structural(line); });
  const bool last = end > document.record_count();
  for (const Inclusion &inclusion : document.inclusions) {
    if (keep_inclusions && inclusion.at >= first && (inclusion.at < end || last))
      lines.push_back(inclusion_line(inclusion, inclusion.at - first + 1));
  }
  const RecordRange all[] = {records.records()};
  if (set_page_counts(output.name(), lines, records.count()) != DONE || write_fax(output, lines, all) != DONE ||
      commit_new_fax(output, name) != DONE)
    return FAILED;
  return status;
}

Status run() {
  FaxDocument document;
  if (open_fax(file, document) != DONE) return FAILED;
  if (!document.inclusions_usable) return failure("%s: %s", document.name(), inclusion_fault(document).c_str());
  if (keep_inclusions && !document.inclusions.empty() && !same_file(directory_of(pattern), directory_of(file)))
    return failure("%s: inclusions can be kept only in the same directory", document.name());
  Status status = report_lost_bytes(document);
  report_outside(document);
  const std::vector<int32_t> pages = pages_to_split(document, status);
  if (status == FAILED) return FAILED;
  if (check_starts(document, std::ssize(pages)) != DONE) return USAGE;
  const std::vector<int32_t> starts = part_starts(static_cast<int32_t>(pages.size()));
  if (check_names(document, static_cast<int32_t>(starts.size()) - 1) != DONE) return FAILED;

  Progress progress("files", static_cast<int32_t>(starts.size()) - 1);
  for (size_t i = 0; i + 1 < starts.size(); ++i) {
    const std::string name = numbered_name(pattern, static_cast<int32_t>(i) + 1);
    status = worse(status, write_part(document, pages, starts[i], starts[i + 1], name));
    if (status == FAILED) return FAILED;
    progress.step();
  }
  return status;
}

}  // namespace

const Command split_command = {"split", "Split a fax into several", declare, run};

}  // namespace tolvane
