// tolvane-fax check: decodes every page of fax files and compares headers with the facts. Faults are reported on
// standard error; each file gets one line on standard output.
#include <cstdio>

#include "cli/commands.h"
#include "cli/file_work.h"
#include "cli/options.h"
#include "document/fax_composition.h"
#include "document/page_survey.h"
#include "faxfile/header_lines.h"
#include "faxfile/usorbport.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_check|9|01|2|0|0|11/23/26|06:45:30";

FileList input;

void declare(Usage &usage) {
  add_files(usage, input, "fax files; - is standard input");
}

// Compares a count in the header with the true one.
Status check_count(const FaxDocument &document, FaxKeyword keyword, int32_t true_count) {
  const char *name = faxFileKeywordList[keyword];
  const char *value = find_header_value(document.lines, name);
  if (!value && true_count == 0) return DONE;
  if (value && atol(value) == true_count) return DONE;
  report("%s: %s is %s, but the file has %d", document.name(), name, value ? value : "missing", true_count);
  return DAMAGED;
}

// Checks the lines that say how pages are read.
Status check_modes(const FaxDocument &document) {
  Status status = DONE;
  if (document.coding != COMP_MH && document.coding != COMP_MR && document.coding != COMP_MMR) {
    report("%s: COMPRESSION is not a coding that can be decoded", document.name());
    status = DAMAGED;
  }
  if (document.resolution < 0) {
    report("%s: RESOLUTION is missing or invalid", document.name());
    status = DAMAGED;
  }
  return status;
}

Status check_header_text(const FaxDocument &document) {
  if (!document.inclusions_usable) {
    report("%s: %s", document.name(), inclusion_fault(document).c_str());
    return DAMAGED;
  }
  Status status = worse(check_count(document, FAXFILE_PAGES, document.record_count()),
                        check_count(document, FAXFILE_INCLUDE_PAGES, document.included_pages));
  for (const Inclusion &inclusion : document.inclusions) {
    if (inclusion.at <= document.record_count() + 1) continue;
    report("%s: the pages of %s are included before page %d, but the file has %d", document.name(),
           inclusion.name.c_str(), inclusion.at, document.record_count());
    status = DAMAGED;
  }
  return worse(status, check_header(document.name(), document.lines) == DONE ? DONE : DAMAGED);
}

// Viewers decode an included page in the coding of the document, not in that of its own file.
Status check_included(const FaxDocument &document, const std::vector<PageFacts> &pages) {
  Status status = DONE;
  for (const PageFacts &page : pages) {
    if (!page.readable || page.coding == document.coding) continue;
    report("%s: page %d: %s has pages in %s, which viewers decode as %s", document.name(), page.page,
           page.source.c_str(), coding_name(page.coding), coding_name(document.coding));
    status = DAMAGED;
  }
  return status;
}

FileReport check_file(const std::string &path) {
  FaxDocument document;
  if (open_fax(path, document) != DONE) return [] { return FAILED; };
  Status status = worse(check_modes(document), check_header_text(document));
  std::vector<PageFacts> pages;
  status = worse(status, survey_pages(document, pages));
  status = worse(status, check_included(document, pages));
  int64_t lines = 0;
  for (const PageFacts &page : pages) lines += page.lines;
  return [=, name = document.shown_name, count = pages.size()] {
    wipe_progress();
    printf("%s: %s, %zu page%s, %lld lines\n", name.c_str(), status == DONE ? "good" : "damaged", count,
           count == 1 ? "" : "s", static_cast<long long>(lines));
    return status;
  };
}

Status run() {
  if (const Status status = input.complete(); status != DONE) return status;
  return for_each_file(input.files, [](size_t i) { return check_file(input.files[i]); });
}

}  // namespace

const Command check_command = {"check", "Decode every page and report faults", declare, run};

}  // namespace tolvane
