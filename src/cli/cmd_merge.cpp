// tolvane-fax merge: combines the pages of several fax files in a new one. The header is that of the first file, and so
// are coding and resolution by default.
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <deque>

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
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_merge|9|01|4|0|0|11/23/26|12:46:33";

std::string out;
std::vector<std::string> files;
int32_t coding = -1;
int32_t resolution = -1;
bool keep_inclusions;
bool force;
bool keep_going;

void declare(Usage &usage) {
  usage.add_option("OUT", out, "the new fax file; - is standard output").required();
  usage.add_option("FILE", files, "fax files to combine").required();
  add_coding(usage, "--coding", coding, "how pages are coded (default: as in the first FILE)");
  add_resolution(usage, resolution, "98 or 196 lines per inch (default: as in the first FILE)");
  add_inclusions(usage, keep_inclusions);
  add_keep_going(usage, keep_going);
  add_force(usage, force, "replace OUT even if it is not among the files merged").excludes(add_no_clobber(usage));
}

// Whether a page comes through an inclusion, even one of the file itself. What cannot be found is reported when it is
// read.
bool is_included(const FaxDocument &document, int32_t page) {
  Diagnostics unused;
  const HoldDiagnostics hold(unused);
  FaxPage found;
  return locate_page(document, page, found) == DONE && found.included;
}

// Adds the pages of one file: all, or those of its own with its inclusions as header lines.
Status add_pages(const FaxDocument &document, Transcoder &pages, HeaderLines &lines, Progress &progress) {
  if (!document.inclusions_usable) return failure("%s: %s", document.name(), inclusion_fault(document).c_str());
  if (!keep_going && require_all_pages(document) != DONE) return FAILED;
  report_outside(document);
  const std::vector<MissingPages> missing = find_missing_pages(document);
  MissingReport missing_report(document);
  Status status = report_lost_bytes(document);
  status = worse(status, report_missing_records(document));
  const int32_t before = pages.count();
  for (int32_t page = 1; page <= document.page_count() && status != FAILED; ++page) {
    if (const MissingPages *stretch = missing_at(missing, page)) {
      status = worse(status, pages.finish());  // reports the pages before these
      status = worse(status, missing_report.add(*stretch));
      page = stretch->last;
      continue;
    }
    if (keep_inclusions && is_included(document, page)) continue;
    status = worse(status, pages.add(document, page));
    progress.step();
  }
  if (status != FAILED) status = worse(status, pages.finish());
  missing_report.finish();
  for (const Inclusion &inclusion : document.inclusions) {
    if (keep_inclusions) lines.push_back(inclusion_line(inclusion, inclusion.at + before));
  }
  return status == FAILED ? FAILED : worse(status, check_unchanged(document));
}

// Whether inclusions can be kept: readers look for the files in the directory of the fax, and decode their pages in
// its coding.
Status check_kept(const FaxDocument &document) {
  if (!keep_inclusions || document.inclusions.empty()) return DONE;
  if (out == "-" || !same_file(directory_of(out), directory_of(document.path)))
    return failure("%s: inclusions can be kept only in the same directory", document.name());
  if (document.coding != coding || written_resolution(document) != resolution)
    return failure("%s: inclusions can be kept only at the same coding and resolution", document.name());
  return DONE;
}

// A name forgotten before `*.fax` makes the first fax the output. One that others include must not change.
Status check_output(const std::deque<FaxDocument> &documents) {
  bool is_input = false;
  for (const FaxDocument &document : documents) {
    if (check_not_source(out, document, true) != DONE) return FAILED;
    is_input = is_input || same_file(out, document.path);
  }
  struct stat status;
  const bool has_content =
      out != "-" && stat(out.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
  if (force || is_input || !has_content) return DONE;
  return failure("%s exists and is not among the files merged: not replaced without --force", out.c_str());
}

Status run() {
  EditedFile edited;  // OUT may be among the files
  if (lock_to_replace(out, edited) != DONE) return FAILED;
  std::deque<FaxDocument> documents;
  Status status = DONE;
  int64_t total = 0;
  for (const std::string &file : files) {
    if (open_fax(file, documents.emplace_back()) == DONE) {
      total += documents.back().page_count();
      continue;
    }
    documents.pop_back();
    status = DAMAGED;
    if (!keep_going) return FAILED;
  }
  if (documents.empty()) return failure("%s: no FILE can be read: nothing to merge", out.c_str());
  if (coding < 0) coding = documents.front().coding;
  if (resolution < 0) resolution = written_resolution(documents.front());

  if (check_output(documents) != DONE) return FAILED;
  OutputFile output;
  Transcoder pages;
  if (output.open(out) != DONE || pages.open(output, coding, resolution, keep_going) != DONE) return FAILED;
  HeaderLines lines = leading_lines(0, resolution, coding);
  for (const std::string &line : documents.front().lines) {
    if (!is_structural(line)) lines.push_back(line);
  }
  Progress progress("pages", static_cast<int32_t>(std::min<int64_t>(total, INT_MAX)));
  for (const FaxDocument &document : documents) {
    if (check_kept(document) != DONE) return FAILED;
    status = worse(status, add_pages(document, pages, lines, progress));
    if (status == FAILED) return FAILED;
  }
  const RecordRange all[] = {pages.records()};
  if (set_page_counts(output.name(), lines, pages.count()) != DONE || check_header(output.name(), lines) != DONE ||
      write_fax(output, lines, all) != DONE || output.commit() != DONE)
    return FAILED;
  return status;
}

}  // namespace

const Command merge_command = {"merge", "Combine faxes into one", declare, run};

}  // namespace tolvane
