// Documents as the commands see them: which pages are selected, what the survey of pages reports, and what becomes of
// pages that are copied into another fax file.
#include <algorithm>

#include "cli/page_selection.h"
#include "document/fax_composition.h"
#include "document/page_coding.h"
#include "document/page_survey.h"
#include "document/transcoder.h"
#include "fuzz.h"
#include "io/ordered_work.h"
#include "io/output_file.h"

using namespace tolvane;

namespace {

void require_ascending(const std::vector<PageFacts> &pages, int32_t count) {
  int32_t next = 1;
  for (const PageFacts &facts : pages) {
    require(facts.page == next && facts.last_page >= facts.page, "pages in order");
    next = facts.last_page + 1;
  }
  require(next == count + 1, "every page surveyed");
}

void require_agreement(const FaxDocument &document, const PageFacts &facts, const PageFacts &lines,
                       const PageFacts &place) {
  require(facts.source == place.source && facts.source_page == place.source_page && facts.readable == place.readable &&
              facts.bytes == place.bytes && facts.last_page == place.last_page,
          "the same place however closely a page is looked at");
  FaxPage page;
  if (facts.last_page > facts.page || !facts.readable) return;
  require(read_fax_page(document, facts.page, page) == DONE, "a page that is readable can be read");
  require(std::ssize(page.record) == facts.bytes, "the bytes of the record");
  DecodedPage decoded;
  const Status status = decode_page("page", facts.page, page.record, page.coding, decoded);
  require(lines.lines == facts.lines && lines.damaged_lines == facts.damaged_lines, "lines counted as decoded");
  if (status == FAILED) return;
  require(facts.checksum == page_checksum(decoded), "the checksum of the pixels");
  require((status == DAMAGED) == (facts.damaged_lines > 0) && facts.lines == decoded.coded_lines(),
          "the damage that the decoder reports");
}

// What a page is after it was copied: its own pixels, or those at another resolution.
void require_copy(const FaxDocument &from, int32_t page, const FaxDocument &to, int32_t at) {
  FaxPage source, copy;
  require(read_fax_page(from, page, source) == DONE && read_fax_page(to, at, copy) == DONE, "a page that was copied");
  DecodedPage before, after;
  decode_page("source", page, source.record, source.coding, before);
  const Status status = decode_page("copy", at, copy.record, copy.coding, after);
  const int32_t resolution = std::max(source.resolution, 0);
  if (source.coding == copy.coding && resolution == copy.resolution) {
    require(source.record == copy.record, "a record copied as it is");
    return;
  }
  require(status == DONE, "no damage in what was coded anew");
  if (resolution == copy.resolution)
    require(after.lines == before.lines, "the same pixels");
  else
    require(after.count == (resolution == 0 ? 2 * before.count : (before.count + 1) / 2), "lines doubled or merged");
}

}  // namespace

void fuzz_selection(Input input) {
  const int32_t count = static_cast<int32_t>(input.pick(100));
  const int32_t first = 1 + static_cast<int32_t>(input.pick(100)), last = first + static_cast<int32_t>(input.pick(20));
  std::vector<MissingPages> missing;
  if (last <= count) missing.push_back({first, last, "missing", 1, "for the test"});
  std::vector<int32_t> pages;
  std::vector<const MissingPages *> left_out;
  const Status status = select_pages(input.text(), "", count, missing, pages, left_out);
  require(status == DONE || status == USAGE, "a selection or a usage fault");
  if (status != DONE) return;
  require(left_out.size() <= missing.size(), "a stretch that is left out once");
  std::string numbers;
  for (const int32_t page : pages) {
    require(page >= 1 && page <= count && !missing_at(missing, page), "pages that the document has");
    numbers += (numbers.empty() ? "" : ",") + std::to_string(page);
  }
  std::vector<int32_t> again;
  if (!pages.empty())
    require(select_pages(numbers, "", count, {}, again, left_out) == DONE && again == pages,
            "the same pages by number");
}

void fuzz_survey(Input input) {
  Jobs = 1;
  FaxDocument document;
  if (open_fax(write_faxes(input), document) != DONE) return;
  std::vector<PageFacts> places, lines, all;
  survey_pages(document, places, Survey::headers);
  const Status counted = survey_pages(document, lines, Survey::lines);
  const Status decoded = survey_pages(document, all, Survey::checksums);
  require(counted == decoded || decoded == DAMAGED, "no damage that only a count finds");
  require_ascending(all, readable_pages(document));
  require(places.size() == all.size() && lines.size() == all.size(), "the same pages at every depth");
  for (size_t i = 0; i < std::min<size_t>(all.size(), 20); ++i)
    require_agreement(document, all[i], lines[i], places[i]);
}

void fuzz_transcoder(Input input) {
  Jobs = 1;
  constexpr int32_t CODINGS[] = {0, 1, 3};
  const int32_t coding = CODINGS[input.pick(3)], resolution = static_cast<int32_t>(input.pick(2));
  const bool keep_going = input.pick(2) == 1;
  FaxDocument document;
  if (open_fax(write_faxes(input), document) != DONE) return;
  Transcoder transcoder;
  OutputFile output;
  const std::string path = scratch().path("copy.fax");
  require(output.open(path) == DONE && transcoder.open(output, coding, resolution, keep_going) == DONE, "a spool file");
  std::vector<int32_t> taken;
  const int32_t count = std::min(readable_pages(document), 20);
  Status status = DONE;
  for (int32_t page = 1; page <= count && status != FAILED; ++page) {
    status = worse(status, transcoder.add(document, page));
    if (status != FAILED) taken.push_back(page);
  }
  if (status != FAILED) status = worse(status, transcoder.finish());
  if (status == FAILED) return;
  require(transcoder.count() <= count && (keep_going || transcoder.count() == count), "every page, or those left out");

  std::vector<std::string> header = leading_lines(transcoder.count(), resolution, coding);
  for (const std::string &line : document.lines)
    if (!is_structural(line)) header.push_back(line);
  if (check_header("copy", header) != DONE) return;
  const RecordRange records[] = {transcoder.records()};
  require(write_fax(output, header, records) == DONE && output.commit() == DONE, "a fax file");
  FaxDocument copy;
  require(open_fax(path, copy) == DONE && copy.lines == header && copy.record_count() == transcoder.count() &&
              copy.lost_bytes == 0 && copy.coding == coding && copy.resolution == resolution,
          "a fax file read as written");
  if (transcoder.count() == count)
    for (const int32_t page : taken) require_copy(document, page, copy, page);
}
