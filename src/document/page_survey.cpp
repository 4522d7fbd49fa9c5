// Walks the pages of a document once, for the commands that report on it.
#include "document/page_survey.h"

#include "document/page_sources.h"
#include "io/input_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_survey|9|01|1|0|0|11/22/26|21:40:00";

Status survey_page(const FaxDocument &document, PageFacts &facts) {
  FaxPage found;
  const Status read = read_fax_page(document, facts.page, found);
  facts.source = input_name(found.source);
  facts.source_page = found.source_page;
  facts.coding = found.coding;
  if (read != DONE) return DAMAGED;
  facts.readable = true;
  facts.bytes = std::ssize(found.record);
  DecodedPage decoded;
  const Status status = count_lines(document.name(), facts.page, found.record, found.coding, decoded);
  facts.lines = decoded.coded_lines();
  facts.damaged_lines = decoded.damaged_lines();
  facts.damage = decoded.damage;
  return status == FAILED ? DAMAGED : status;
}

}  // namespace

int32_t readable_pages(const FaxDocument &document) {
  return document.inclusions_usable ? document.page_count() : document.record_count();
}

Status survey_pages(const FaxDocument &document, std::vector<PageFacts> &pages) {
  const int32_t count = readable_pages(document);
  Progress progress("pages", count);
  Status status = report_lost_bytes(document);
  const std::vector<MissingPages> missing = find_missing_pages(document);
  for (int32_t page = 1; page <= count; ++page) {
    PageFacts &facts = pages.emplace_back();
    facts.page = facts.last_page = page;
    if (const MissingPages *stretch = missing_at(missing, page)) {
      page = facts.last_page = stretch->last;
      facts.source = input_name(stretch->source);
      facts.source_page = stretch->source_page;
      status = worse(status, report_missing(document, *stretch));
    } else {
      status = worse(status, survey_page(document, facts));
    }
    progress.step();
  }
  return status;
}

}  // namespace tolvane
