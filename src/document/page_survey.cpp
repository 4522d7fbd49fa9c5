// Walks the pages of a document once, for the commands that report on it.
#include "document/page_survey.h"

#include <deque>
#include <memory>
#include <utility>

#include "document/page_sources.h"
#include "io/input_file.h"
#include "io/ordered_work.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_survey|9|01|4|0|0|11/23/26|12:44:38";

// A page in work.
struct PageInWork {
  PageFacts facts;
  FaxPage found;
  Diagnostics diagnostics;
  Status status = DONE;
};

// Finds a page, and reads its record if that is needed.
void find_page(const FaxDocument &document, PageInWork &page, Survey depth) {
  PageFacts &facts = page.facts;
  Status read = locate_page(document, facts.page, page.found);
  const PageRecord &place = page.found.place;
  const bool sized = depth == Survey::headers && place.offset >= 0;
  if (read == DONE && !sized) read = read_found_page(document, facts.page, page.found);
  facts.source = input_name(page.found.source);
  facts.source_page = page.found.source_page;
  facts.coding = page.found.coding;
  facts.bytes = sized ? place.length : std::ssize(page.found.record);
  facts.readable = read == DONE;
  if (read != DONE) page.status = DAMAGED;
}

void decode_found(const FaxDocument &document, PageInWork &page, Survey depth) {
  PageFacts &facts = page.facts;
  if (!facts.readable || depth == Survey::headers) return;
  DecodedPage decoded;
  const auto decode = depth == Survey::checksums ? decode_page : count_lines;
  const Status status = decode(document.name(), facts.page, page.found.record, page.found.coding, decoded);
  // Of a page with more lines than can be decoded their number is known.
  facts.decoded = status != FAILED || (decoded.count > 0 && !decoded.out_of_memory);
  if (depth == Survey::checksums && status != FAILED) facts.checksum = page_checksum(decoded);
  facts.lines = decoded.coded_lines();
  facts.damaged_lines = decoded.damaged_lines();
  facts.damage = std::move(decoded.damage);
  page.status = status == FAILED ? DAMAGED : status;
}

// Finds a page, or the stretch of missing pages that begins with it.
void begin_page(const FaxDocument &document, const std::vector<MissingPages> &missing, MissingReport &missing_report,
                Survey depth, PageInWork &page) {
  PageFacts &facts = page.facts;
  const HoldDiagnostics hold(page.diagnostics);
  if (const MissingPages *stretch = missing_at(missing, facts.page)) {
    facts.last_page = stretch->last;
    facts.source = input_name(stretch->source);
    facts.source_page = stretch->source_page;
    page.status = missing_report.add(*stretch);
  } else {
    facts.last_page = facts.page;
    find_page(document, page, depth);
  }
}

}  // namespace

int32_t readable_pages(const FaxDocument &document) {
  return document.inclusions_usable ? document.page_count() : document.record_count();
}

Status survey_pages(const FaxDocument &document, std::vector<PageFacts> &pages, Survey depth) {
  const int32_t count = readable_pages(document);
  Progress progress("pages", count);
  Status status = report_lost_bytes(document);
  report_outside(document);
  const std::vector<MissingPages> missing = find_missing_pages(document);
  MissingReport missing_report(document);
  std::deque<std::unique_ptr<PageInWork>> under_way;          // oldest first
  OrderedWork work(depth == Survey::headers ? 1 : SIZE_MAX);  // headers alone are not worth a thread
  for (int32_t next = 1; next <= count || !work.empty();) {
    if (next <= count && work.has_room()) {
      PageInWork &page = *under_way.emplace_back(std::make_unique<PageInWork>());
      page.facts.page = next;
      begin_page(document, missing, missing_report, depth, page);
      next = page.facts.last_page + 1;
      work.add([&document, &page, depth] {
        const HoldDiagnostics hold(page.diagnostics);
        decode_found(document, page, depth);
      });
      continue;
    }
    work.take();
    PageInWork &page = *under_way.front();
    pass_on_diagnostics(page.diagnostics);
    status = worse(status, page.status);
    pages.push_back(std::move(page.facts));
    under_way.pop_front();
    progress.step();
  }
  missing_report.finish();
  return worse(status, check_unchanged(document));
}

}  // namespace tolvane
