// tolvane-fax convert: rewrites files in another page coding, in place. Only the coding changes: all header lines stay,
// and each page has the lines that the library's converter gives it.
#include <sys/stat.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <new>
#include <utility>

#include "cli/commands.h"
#include "cli/file_work.h"
#include "cli/options.h"
#include "document/fax_composition.h"
#include "document/fax_document.h"
#include "document/page_coding.h"
#include "document/page_sources.h"
#include "faxfile/header_lines.h"
#include "faxfile/header_modes.h"
#include "io/ordered_work.h"
#include "io/output_file.h"
#include "support/handle.h"
#include "t4/page_converter.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_convert|9|01|5|0|0|11/23/26|14:40:40";

FileList input;
int32_t coding = -1;

void declare(Usage &usage) {
  add_files(usage, input, "fax files to convert in place");
  add_coding(usage, "--to", coding, "the new coding of their pages").required();
}

// A page in work.
struct PageInWork {
  int32_t number = 0;
  std::vector<uint8_t> record;  // as it was
  PageConverter converter;
  Diagnostics diagnostics;
  Status status = DONE;
};

Status read_page(const FaxDocument &document, PageInWork &page) {
  const PageRecord &place = document.records[static_cast<size_t>(page.number) - 1];
  if (const char *fault = read_record(document.fd.get(), document.status, place, page.record))
    return failure("%s: page %d cannot be read: %s", document.name(), page.number, fault);
  say_verbose("%s: page %d: %zu bytes in %s", document.name(), page.number, page.record.size(),
              coding_name(document.coding));
  return DONE;
}

Status convert_page(const FaxDocument &document, PageInWork &page) {
  bool is_damaged = false;
  const DamageSink damage = {&is_damaged, [](void *found, Damage) { *static_cast<bool *>(found) = true; }};
  const ConvertResult result =
      page.converter.convert(page.record, document.coding, coding, document.resolution, damage);
  DecodedPage decoded;
  const Status status =
      is_damaged ? count_lines(document.name(), page.number, page.record, document.coding, decoded) : DONE;
  if (result == ConvertResult::done) return status;
  const char *fault = result == ConvertResult::no_memory ? "out of memory" : "it cannot be decoded";
  return is_damaged ? FAILED : failure("%s: page %d: %s", document.name(), page.number, fault);
}

// Writes all pages in the new coding, in order.
Status write_pages(const FaxDocument &document, const OutputFile &output) {
  Progress progress("pages", document.record_count());
  std::deque<std::unique_ptr<PageInWork>> under_way;  // oldest first
  OrderedWork work;
  Status status = DONE;
  for (int32_t next = 1; next <= document.record_count() || !work.empty();) {
    if (next <= document.record_count() && work.has_room()) {
      PageInWork &page = *under_way.emplace_back(std::make_unique<PageInWork>());
      page.number = next++;
      const HoldDiagnostics hold(page.diagnostics);
      page.status = read_page(document, page);
      work.add([&document, &page] {
        const HoldDiagnostics held(page.diagnostics);
        if (page.status == DONE) page.status = convert_page(document, page);
      });
      continue;
    }
    work.take();
    const std::unique_ptr<PageInWork> page = std::move(under_way.front());
    under_way.pop_front();
    pass_on_diagnostics(page->diagnostics);
    status = worse(status, page->status);
    if (page->status == FAILED) return FAILED;
    const std::span<const uint8_t> record = page->converter.record();
    if (!write_fully(output.fd(), record.data(), record.size()))
      return system_failure(output.name(), "cannot be written");
    progress.step();
  }
  return status;
}

// The header lines with the new coding and the true number of pages.
HeaderLines new_header(const FaxDocument &document) {
  HeaderLines lines = document.lines;
  set_header_coding(lines, coding);
  if (set_header_page_count(lines, document.record_count()))
    report("%s: #PAGES corrected to %d", document.name(), document.record_count());
  return lines;
}

// Whether the file can be converted. DONE, or FAILED after a message.
Status check_source(const FaxDocument &document) {
  if (encodable_modes(document) != DONE) return FAILED;
  if (document.resolution < 0) return failure("%s: the header has no RESOLUTION (see repair)", document.name());
  if (document.lost_bytes > 0)
    return failure("%s: the last page is cut short: not converted (see repair)", document.name());
  return DONE;
}

Status write_converted(const FaxDocument &document) {
  OutputFile output;
  if (output.open(document.path) != DONE) return FAILED;
  const HeaderLines lines = new_header(document);
  if (check_changed_header(document.name(), document.lines, lines) != DONE) return FAILED;
  if (!write_header_lines(output.fd(), lines)) return system_failure(output.name(), "cannot be written");
  Status status = report_missing_records(document);
  status = worse(status, write_pages(document, output));
  return status == FAILED || output.commit() != DONE ? FAILED : status;
}

// Converts a file.
//
// @param includes  receives whether the file has the coding now and includes others
Status convert_file(const std::string &path, bool &includes) {
  FaxDocument document;
  EditedFile edited;
  if (open_fax_to_edit(path, document, edited) != DONE) return FAILED;
  Status status = DONE;
  if (document.coding != coding) {
    if (check_source(document) != DONE) return FAILED;
    status = write_converted(document);
  }
  if (status == FAILED) return failure("%s: not converted", document.name());
  includes = !document.inclusions.empty();
  return status;
}

// Viewers decode an included page in the coding of the file that includes it. What cannot be read here has been
// converted nevertheless.
Status warn_of_other_codings(const std::string &path) {
  FaxDocument document;
  if (open_fax(path, document) != DONE) return DAMAGED;
  const std::vector<MissingPages> missing = find_missing_pages(document);
  for (int32_t page = 1; page <= document.page_count() && !document.inclusions.empty(); ++page) {
    FaxPage found;
    if (const MissingPages *stretch = missing_at(missing, page)) {
      page = stretch->last;
      continue;
    }
    if (locate_page(document, page, found) != DONE || found.coding == document.coding) continue;
    report("%s includes pages of %s, which is still in %s: convert that too", document.name(), found.source.c_str(),
           coding_name(found.coding));
    return DAMAGED;
  }
  return DONE;
}

Status run() {
  if (const Status status = input.complete(); status != DONE) return status;
  const std::vector<std::string> &files = input.files;
  if (std::find(files.begin(), files.end(), "-") != files.end())
    return usage_fault("files are converted in place: standard input cannot be");
  // No memory is needed once a file has been replaced: its status would be wrong without.
  const auto includes = std::make_unique<bool[]>(files.size());
  Status status = for_each_file(files, [&](size_t i) -> FileReport {
    const Status converted = convert_file(files[i], includes[i]);
    return [converted] { return converted; };
  });
  for (size_t i = 0; i < files.size(); ++i) {
    if (!includes[i]) continue;
    try {
      status = worse(status, warn_of_other_codings(files[i]));
    } catch (const std::bad_alloc &) {
      report("%s: converted, but no memory to look at its inclusions", files[i].c_str());
      status = worse(status, DAMAGED);
    }
  }
  return status;
}

}  // namespace

const Command convert_command = {"convert", "Rewrite faxes in another coding, in place", declare, run};

}  // namespace tolvane
