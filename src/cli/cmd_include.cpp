// tolvane-fax include: makes a fax file include pages of another one in its directory. Only the header changes. Readers
// scan the INCLUDE lines once, in the order of the pages, so the new line has a place among the others.
#include <cstdio>

#include "cli/commands.h"
#include "cli/options.h"
#include "document/fax_composition.h"
#include "document/fax_document.h"
#include "document/page_coding.h"
#include "faxfile/header_lines.h"
#include "faxfile/pages.h"
#include "faxfile/session_params.h"
#include "faxfile/usorbport.h"
#include "io/file_names.h"
#include "io/output_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_include|9|01|5|0|0|11/23/26|14:47:36";

std::string included_name;
int32_t place;
int32_t count;
std::string file;
std::string removed_name;
int32_t removed_place;

void declare(Usage &usage) {
  usage.add_option("NAME", included_name, "the fax file with the pages, relative to the directory of FILE");
  usage.add_option("AT", place, "include them before this page of FILE's own, from 1").range(1, MOST_RECORDS + 1);
  usage.add_option("COUNT", count, "include pages 1 to COUNT").range(1, MOST_RECORDS);
  usage.add_option("FILE", file, "the fax file to change");
  Option removal = usage.add_option("--remove", removed_name, "no longer include this file: --remove NAME FILE");
  add_number(usage, "--at", removed_place, 1, MOST_RECORDS + 1, "with --remove: only before this page").needs(removal);
}

// The operands of a new inclusion are all required; a removal has FILE alone, which the parser takes for NAME.
Status check_operands() {
  if (removed_name.empty()) {
    const char *missing = included_name.empty() ? "NAME" : place == 0 ? "AT" : count == 0 ? "COUNT" : "FILE";
    return file.empty() ? usage_fault("%s is required", missing) : DONE;
  }
  if (place != 0) return usage_fault("--remove takes FILE alone");
  file = included_name;
  return file.empty() ? usage_fault("FILE is required") : DONE;
}

// Removes the inclusions of a file, also those that readers cannot use.
Status remove_inclusions(FaxDocument &document) {
  const char *pages_name = faxFileKeywordList[FAXFILE_INCLUDE_PAGES];
  const size_t removed = std::erase_if(document.lines, [](const std::string &line) {
    char name[INCLUDE_NAME_SIZE] = "";
    int at = 0;
    const char *value = header_line_value(line, faxFileKeywordList[FAXFILE_INCLUDE]);
    static_assert(INCLUDE_NAME_SIZE == 208, "the width of the first field");
    return value && sscanf(value, "%207s %d", name, &at) >= 1 && removed_name == name &&
           (removed_place == 0 || removed_place == at);
  });
  if (removed == 0)
    return failure("%s does not include %s%s", document.name(), removed_name.c_str(),
                   removed_place == 0 ? "" : " there");
  if (!find_header_value(document.lines, faxFileKeywordList[FAXFILE_INCLUDE]))
    std::erase_if(document.lines, [&](const std::string &line) { return header_line_value(line, pages_name); });
  return DONE;
}

// Whether the pages are available, also those that the included file includes itself, and none is in the file being
// changed. Readers look for all of these files in the directory of that one.
Status check_sources(const FaxDocument &document, FaxDocument &included) {
  bool leads_back = same_file(included.path, document.path);
  included.directory = document.directory;
  for (int32_t page = 1; page <= count && !leads_back; ++page) {
    FaxPage found;
    if (locate_page(included, page, found) != DONE) return FAILED;
    if (found.place.offset < 0) return read_found_page(included, page, found);
    leads_back = same_file(found.source, document.path);
  }
  return leads_back ? failure("%s includes %s in turn", included.name(), document.name()) : DONE;
}

// Whether the pages are available and have the coding and resolution of the document: readers use one for all.
Status check_included(const FaxDocument &document) {
  if (included_name.size() >= INCLUDE_NAME_SIZE || included_name.find_first_of(" \t\n\v\f\r") != std::string::npos)
    return failure("%s: the name of an included file must have no blanks and at most %zu characters: rename it",
                   included_name.c_str(), INCLUDE_NAME_SIZE - 1);
  FaxDocument included;
  if (open_fax(document.directory + '/' + included_name, included) != DONE) return FAILED;
  if (No_outside && lies_outside(included.fd.get(), document.directory))
    return failure("%s: outside the directory of %s", included.name(), document.name());
  if (included.coding != document.coding || written_resolution(included) != written_resolution(document))
    return failure("%s is in %s, %s, but %s in %s, %s: recode one of them with merge", included.name(),
                   coding_name(included.coding), VRtostring(written_resolution(included)), document.name(),
                   coding_name(document.coding), VRtostring(written_resolution(document)));
  if (count > included.page_count())
    return failure("%s has %d pages, not %d", included.name(), included.page_count(), count);
  return check_sources(document, included);
}

// Adds the new line after those for the same or an earlier page.
void add_inclusion(FaxDocument &document) {
  const std::string line = inclusion_line({0, included_name, place, count}, place);
  std::vector<Inclusion> inclusions;
  read_inclusions(document.lines, inclusions);
  for (const Inclusion &inclusion : inclusions) {
    if (inclusion.at <= place) continue;
    document.lines.insert(document.lines.begin() + static_cast<ptrdiff_t>(inclusion.line), line);
    return;
  }
  document.lines.push_back(line);
}

Status include_pages(FaxDocument &document) {
  if (check_included(document) != DONE) return FAILED;
  if (place > document.record_count() + 1)
    return failure("%s: no page %d to include before: the file has %d pages of its own", document.name(), place,
                   document.record_count());
  add_inclusion(document);
  return DONE;
}

Status run() {
  if (const Status status = check_operands(); status != DONE) return status;
  FaxDocument document;
  EditedFile edited;
  if (open_fax_to_edit(file, document, edited) != DONE) return FAILED;
  if ((removed_name.empty() ? include_pages : remove_inclusions)(document) != DONE) return FAILED;
  const Status missing = report_missing_records(document);
  OutputFile output;
  if (set_page_counts(document.name(), document.lines, document.record_count()) != DONE ||
      check_header(document.name(), document.lines) != DONE || output.open(file) != DONE)
    return FAILED;
  return worse(missing, write_fax_header_lines(document, output));
}

}  // namespace

const Command include_command = {"include", "Include pages of another fax without copying them", declare, run};

}  // namespace tolvane
