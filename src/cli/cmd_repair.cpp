// tolvane-fax repair: corrects what the header of a fax says about its pages, and rescues a last page that is cut
// short. Whole page records are copied as they are: damage inside them stays, and check reports it.
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "cli/commands.h"
#include "cli/options.h"
#include "document/fax_composition.h"
#include "document/page_coding.h"
#include "document/page_sources.h"
#include "faxfile/header_lines.h"
#include "faxfile/header_modes.h"
#include "faxfile/session_params.h"
#include "faxfile/usorbport.h"
#include "formats/fax_lines.h"
#include "io/file_names.h"
#include "io/output_file.h"
#include "io/terminal_output.h"
#include "support/handle.h"
#include "support/printable.h"
#include "support/replace_file.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_repair|9|01|6|0|0|11/23/26|15:55:59";

constexpr int32_t CREDIBLE_LINES = 16;  // so many good lines are no coincidence: the bytes are a page

std::string file;
std::string out;
bool in_place;
bool dry_run;
int32_t coding = -1;
int32_t resolution = -1;

void declare(Usage &usage) {
  usage.add_option("FILE", file, "the fax file; - is standard input").required();
  usage.add_option("OUT", out, "the new file; - is standard output");
  usage.add_flag("--in-place", in_place, "replace FILE").excludes(add_no_clobber(usage));
  usage.add_flag("-n,--dry-run", dry_run, "report what would be done and write nothing");
  add_coding(usage, "--coding", coding, "the coding if the header has none (default: detect)");
  add_resolution(usage, resolution, "the resolution if the header has none (default: normal)");
}

// A fax under repair.
struct Repair {
  FaxDocument document;
  Descriptor spool;     // the rescued page
  int32_t records = 0;  // page records that are kept, the rescued one not counted
  bool lines_lost = false;
  std::vector<std::string> notes;  // what was done
};

// Notes what is done, to be printed when it has been.
[[gnu::format(printf, 2, 3)]] void note(Repair &repair, const char *format, ...) {
  char text[200];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  repair.notes.emplace_back(text);
}

bool read_bytes(const FaxDocument &document, int64_t offset, int64_t size, std::vector<uint8_t> &bytes) {
  bytes.resize(static_cast<size_t>(size));
  return lseek(document.fd.get(), offset, SEEK_SET) == offset &&
         read_fully(document.fd.get(), bytes.data(), bytes.size()) == static_cast<ssize_t>(size);
}

// Decodes without reporting damage; a page that cannot be decoded has no lines. DONE, or FAILED after a message:
// without memory nothing is known of the page.
Status try_decode(const FaxDocument &document, std::span<const uint8_t> record, int32_t as, DecodedPage &page) {
  Diagnostics unused;
  bool decoded = false;
  {
    const HoldDiagnostics hold(unused);
    decoded = decode_page(document.name(), 1, record, as, page) != FAILED;
  }
  if (page.out_of_memory) return failure("%s: out of memory", document.name());
  if (!decoded) page = {};
  return DONE;
}

// Finds the coding in which the first page, whole or cut short, has the most good lines. DONE, or FAILED after a
// message.
Status detect_coding(FaxDocument &document) {
  std::vector<uint8_t> record;
  const bool whole = !document.records.empty();
  const int64_t offset = whole ? document.records[0].offset + 4 : document.records_start + 4;
  const int64_t size = whole ? document.records[0].length : std::max<int64_t>(document.lost_bytes - 4, 0);
  if (!read_bytes(document, offset, size, record)) return system_failure(document.name());
  int32_t most = 0;
  for (const int32_t each : {COMP_MH, COMP_MR, COMP_MMR}) {
    DecodedPage page;
    if (try_decode(document, record, each, page) != DONE) return FAILED;
    const int32_t good = page.coded_lines() - 2 * page.damaged_lines();
    if (good > most) document.coding = each, most = good;
  }
  if (most > 0) return DONE;
  return failure("%s: the coding of its pages cannot be detected: use --coding", document.name());
}

// Sets COMPRESSION and RESOLUTION where the header does not say.
Status repair_modes(Repair &repair) {
  FaxDocument &document = repair.document;
  const char *compression = faxFileKeywordList[FAXFILE_COMPRESSION], *lines = faxFileKeywordList[FAXFILE_RESOLUTION];
  const bool has_coding = find_header_value(document.lines, compression) && document.coding >= 0;
  if (!has_coding) {
    document.coding = coding;
    if (coding < 0 && detect_coding(document) != DONE) return FAILED;
    set_header_coding(document.lines, document.coding);
    note(repair, "COMPRESSION set to %s", coding_name(document.coding));
  }
  if (document.resolution < 0) {
    document.resolution = std::max(resolution, 0);
    set_header_value(document.lines, lines, std::string(1, static_cast<char>(VRtoascii(document.resolution))));
    note(repair, "RESOLUTION set to %s", VRtostring(document.resolution));
  }
  return DONE;
}

// Pages that the header counts; -1 if it does not say.
int32_t counted_pages(const FaxDocument &document) {
  const char *pages = find_header_value(document.lines, faxFileKeywordList[FAXFILE_PAGES]);
  return pages ? atoi(pages) : -1;
}

// Drops empty records after the pages that the header counts: bytes of zero that fill up a block. A page that is cut
// short may follow them.
void drop_padding(Repair &repair) {
  const FaxDocument &document = repair.document;
  const int32_t counted = counted_pages(document);
  repair.records = document.record_count();
  if (counted < 1 || counted >= document.record_count() || document.lost_bytes >= 4) return;
  const auto is_empty = [](const PageRecord &record) { return record.length == 0; };
  if (!std::all_of(document.records.begin() + counted, document.records.end(), is_empty)) return;
  note(repair, "removed %lld trailing bytes",
       static_cast<long long>((document.record_count() - counted) * 4 + document.lost_bytes));
  repair.records = counted;
}

// Decodes the bytes after the last whole record as a page and keeps its good lines. DONE, or FAILED after a message.
Status read_cut_page(const FaxDocument &document, std::vector<uint8_t> &lines) {
  DecodedPage page;
  std::vector<uint8_t> record;
  if (document.lost_bytes <= 4) return DONE;
  if (document.coding == COMP_UMMR)
    return failure("%s: not repaired: its last %lld bytes may be a page, and pages in %s cannot be decoded",
                   document.name(), static_cast<long long>(document.lost_bytes), coding_name(document.coding));
  if (!read_bytes(document, records_end(document) + 4, document.lost_bytes - 4, record))
    return system_failure(document.name());
  if (try_decode(document, record, document.coding, page) != DONE) return FAILED;
  // The line in which the data end is not whole.
  const bool ends_within = !page.damage.empty() && page.damage.back().line >= page.count;
  if (page.count > 0 && ends_within) page.lines.resize(page.lines.size() - LINE_BYTES);
  lines = std::move(page.lines);
  return DONE;
}

// Rescues the lines of a last page that is cut short, or removes bytes that are no page.
Status repair_tail(Repair &repair) {
  FaxDocument &document = repair.document;
  drop_padding(repair);
  if (document.lost_bytes == 0 || repair.records < document.record_count()) return DONE;
  std::vector<uint8_t> lines;
  if (read_cut_page(document, lines) != DONE) return FAILED;
  const auto count = static_cast<int32_t>(lines.size() / LINE_BYTES);
  const bool is_counted = counted_pages(document) > document.record_count();
  if (count == 0 || (!is_counted && count < CREDIBLE_LINES)) {
    note(repair, "removed %lld trailing bytes", static_cast<long long>(document.lost_bytes));
    repair.lines_lost = is_counted;
    return DONE;
  }
  std::vector<uint8_t> record;
  repair.spool = open_spool(nullptr);
  if (!repair.spool) return system_failure(document.name(), "no temporary file can be made for its last page");
  if (encode_page(document.shown_name + ": the last page", lines, document.coding, document.resolution, record) !=
          DONE ||
      append_record(document.name(), repair.spool.get(), record) != DONE)
    return FAILED;
  note(repair, "page %d is cut short: kept its first %d lines", document.record_count() + 1, count);
  repair.lines_lost = true;
  return DONE;
}

// Corrects #PAGES and INCLUDE_PAGES.
Status repair_counts(Repair &repair) {
  FaxDocument &document = repair.document;
  const HeaderLines before = document.lines;
  if (set_page_counts(document.name(), document.lines, repair.records + (repair.spool ? 1 : 0)) != DONE) return FAILED;
  for (const FaxKeyword keyword : {FAXFILE_PAGES, FAXFILE_INCLUDE_PAGES}) {
    const char *name = faxFileKeywordList[keyword];
    const char *was = find_header_value(before, name), *is = find_header_value(document.lines, name);
    if (is && (!was || atol(was) != atol(is))) note(repair, "%s set to %s", name, is);
  }
  return check_header(document.name(), document.lines);
}

Status write_repaired(const Repair &repair) {
  const FaxDocument &document = repair.document;
  const std::string path = in_place ? file : out;
  if (!in_place && check_not_source(path, document) != DONE) return FAILED;
  OutputFile output;
  if (output.open(path) != DONE) return FAILED;
  const bool all = repair.records == document.record_count();
  const int64_t end = all ? records_end(document) : document.records[static_cast<size_t>(repair.records)].offset;
  std::vector<RecordRange> ranges = {{document.fd.get(), document.records_start, end}};
  if (repair.spool) ranges.push_back({repair.spool.get(), 0, file_size(repair.spool.get())});
  if (write_fax(output, document.lines, ranges) != DONE || check_unchanged(document) != DONE) return FAILED;
  return in_place ? output.commit() : commit_new_fax(output, path);
}

Status run() {
  if (!dry_run && in_place == !out.empty()) return usage_fault("give either OUT or --in-place");
  if (in_place && file == "-") return usage_fault("standard input cannot be repaired in place");
  Repair repair;
  EditedFile edited;
  const Status opened = in_place ? open_fax_to_edit(file, repair.document, edited) : open_fax(file, repair.document);
  if (opened != DONE || repair_modes(repair) != DONE || repair_tail(repair) != DONE || repair_counts(repair) != DONE)
    return FAILED;
  const bool writes = !dry_run && (!repair.notes.empty() || !in_place);
  if (repair.notes.empty()) note(repair, "nothing to repair");
  std::string notes;  // made before the file is replaced: after that a lack of memory would give a wrong status
  for (const std::string &text : repair.notes) notes += result_name(repair.document.shown_name) + ": " + text + '\n';
  const bool to_output = out == "-" || same_file(out, "/dev/stdout");
  if (to_output) notes = printable(notes, "\n");
  if (writes && write_repaired(repair) != DONE) return FAILED;
  fputs(notes.c_str(), to_output ? stderr : stdout);
  return repair.lines_lost ? DAMAGED : DONE;
}

}  // namespace

const Command repair_command = {"repair", "Correct a header and rescue a page that is cut short", declare, run};

}  // namespace tolvane
