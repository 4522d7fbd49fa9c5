// tolvane-fax check: decodes every page of fax files and compares headers with the facts. Faults are reported on
// standard error; each file gets one line on standard output.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "cli/commands.h"
#include "cli/file_work.h"
#include "cli/json_lines.h"
#include "cli/options.h"
#include "document/fax_composition.h"
#include "document/page_survey.h"
#include "faxfile/header_lines.h"
#include "faxfile/usorbport.h"
#include "io/terminal_output.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_check|9|01|7|0|0|11/23/26|15:55:59";

FileList input;
bool as_json;

void declare(Usage &usage) {
  add_files(usage, input, "fax files; - is standard input");
  usage.add_flag("--json", as_json, "print one line with a JSON object per file");
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

// Zero bytes that fill a header up do no harm.
bool has_no_name(const std::string &line) {
  const size_t colon = line.find(':');
  const bool is_fill = !line.empty() && line.find_first_not_of('\0') == line.npos;
  return !is_fill && (colon == 0 || colon == line.npos);
}

Status check_header_text(const FaxDocument &document) {
  if (report_invalid_inclusions(document) != DONE) return DAMAGED;
  Status status = check_count(document, FAXFILE_PAGES, document.record_count());
  status = worse(status, check_count(document, FAXFILE_INCLUDE_PAGES, document.included_pages));
  for (const Inclusion &inclusion : document.inclusions) {
    if (inclusion.at <= document.record_count() + 1) continue;
    report("%s: the pages of %s are included before page %d, but the file has %d", document.name(),
           inclusion.name.c_str(), inclusion.at, document.record_count());
    status = DAMAGED;
  }
  const auto unnamed = std::find_if(document.lines.begin(), document.lines.end(), has_no_name);
  if (unnamed != document.lines.end()) {
    report("%s: the viewer cannot read the header line \"%s\", which has no name and colon", document.name(),
           unnamed->c_str());
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

// What was found in a fax.
struct Verdict {
  std::string path, name;
  Status status = DONE;
  int64_t pages = 0, lines = 0;
  Diagnostics faults;
};

Status find_faults(const FaxDocument &document, Verdict &verdict) {
  std::vector<PageFacts> pages;
  Status status = check_modes(document);
  status = worse(status, check_header_text(document));
  status = worse(status, survey_pages(document, pages));
  status = worse(status, check_included(document, pages));
  for (const PageFacts &page : pages) {
    verdict.pages += int64_t{page.last_page} - page.page + 1;
    verdict.lines += page.lines;
  }
  return status;
}

void print_text(const Verdict &verdict) {
  printf("%s: %s, %lld page%s, %lld lines\n", result_name(verdict.name).c_str(),
         verdict.status == DONE ? "good" : "damaged", static_cast<long long>(verdict.pages),
         verdict.pages == 1 ? "" : "s", static_cast<long long>(verdict.lines));
}

void print_json(const Verdict &verdict) {
  JsonObject object = file_object(verdict.path);
  object.update({{"good", verdict.status == DONE}, {"pages", verdict.pages}, {"lines", verdict.lines}});
  print_members(object);
  {
    PrintedArray faults("faults");
    const std::string start = verdict.name + ": ";
    verdict.faults.for_each([&](const Diagnostic &one) {
      const size_t name = one.text.starts_with(start) ? start.size() : 0;
      if (one.is_fault) faults.add(one.text.substr(name));
    });
  }
  puts("}");
}

// The diagnostics can be many: they are held once, and printed with the verdict.
FileReport check_file(const std::string &path) {
  const auto verdict = std::make_shared<Verdict>();
  verdict->path = path;
  {
    const HoldDiagnostics hold(verdict->faults);
    FaxDocument document;
    verdict->status = open_fax(path, document);
    verdict->name = document.shown_name;
    if (verdict->status == DONE) verdict->status = find_faults(document, *verdict);
  }
  return [verdict] {
    print_diagnostics(verdict->faults);
    if (verdict->status == FAILED) return unreadable_file(verdict->path, last_fault(verdict->faults), as_json)();
    wipe_progress();
    (as_json ? print_json : print_text)(*verdict);
    return verdict->status;
  };
}

Status run() {
  if (const Status status = input.complete(); status != DONE) return status;
  return for_each_file(input.files, [](size_t i) { return check_file(input.files[i]); });
}

}  // namespace

const Command check_command = {"check", "Decode every page and report faults", declare, run};

}  // namespace tolvane
