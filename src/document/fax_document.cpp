// Pages are read by the library's own reader, the one that the viewer uses; this module adds where each page comes
// from. Header lines are compared by their whole name, never searched: a value may contain the name of a keyword.
#include "document/fax_document.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "document/page_coding.h"
#include "faxfile/header_modes.h"
#include "faxfile/pages.h"
#include "faxfile/session_params.h"
#include "faxfile/usorbport.h"
#include "io/file_names.h"
#include "io/input_file.h"
#include "support/replace_file.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|fax_document|9|01|3|0|0|11/23/26|09:04:19";

const char *keyword(FaxKeyword number) {
  return faxFileKeywordList[number];
}

// Walks the records to the end of the file, or to one that is cut short. False with errno set.
bool walk_records(FaxDocument &document) {
  const int64_t size = file_size(document.fd.get());
  document.records_start = lseek(document.fd.get(), 0, SEEK_CUR);  // after the header
  if (size < 0 || document.records_start < 0) return false;
  int64_t at = document.records_start;
  while (size - at >= 4) {
    uint32_t length = 0;
    if (lseek(document.fd.get(), at, SEEK_SET) != at || readLongFlipped(document.fd.get(), &length) != 4) return false;
    if (length > size - at - 4) break;
    document.records.push_back({at, length});
    at += 4 + int64_t{length};
  }
  document.lost_bytes = size - at;
  return true;
}

std::string errno_text(const std::string &name) {
  return name + ": " + (errno == EINVAL ? "not a regular file" : strerror(errno));
}

// Reads the header of the file that the document has open. Returns what is wrong, or nothing.
std::string load_header(const std::string &path, FaxDocument &document) {
  document.path = path;
  document.directory = directory_of(path);
  document.shown_name = input_name(path);
  const int16_t code = read_header_lines(document.fd.get(), document.lines);
  if (code == FAXFILE_ERR_FORMAT) return document.shown_name + ": not a fax file, or its header is damaged";
  if (code == FAXFILE_ERR_MEMORY) return document.shown_name + ": no memory for its header";
  if (code != FAXFILE_OK) return errno_text(document.shown_name);
  document.coding = header_coding(document.lines);
  document.resolution = header_resolution(document.lines);
  document.mentions_inclusions = std::any_of(document.lines.begin(), document.lines.end(), [](const auto &line) {
    return line.find("INCLUDE:") != std::string::npos;
  });
  document.inclusions_usable = read_inclusions(document.lines, document.inclusions) == 1 &&
                               (!document.mentions_inclusions || header_length(document.lines) <= LONGEST_SCANNED);
  document.inclusions_clear = document.inclusions_usable &&
                              std::all_of(document.lines.begin(), document.lines.end(), [](const std::string &line) {
                                return line.find("INCLUDE:", line.starts_with("INCLUDE:") ? 1 : 0) == std::string::npos;
                              });
  document.included_pages = sum_of_counts(document.inclusions);
  return {};
}

// The same, and its records.
std::string load(const std::string &path, FaxDocument &document) {
  const std::string fault = load_header(path, document);
  return !fault.empty() || walk_records(document) ? fault : errno_text(document.shown_name);
}

}  // namespace

bool No_outside = false;

Status open_fax(const std::string &path, FaxDocument &document) {
  document.fd = open_input(path);
  if (!document.fd) return FAILED;
  const std::string fault = load(path, document);
  return fault.empty() ? DONE : failure("%s", fault.c_str());
}

void lock_to_replace(const std::string &path, EditedFile &edited) {
  const auto report_wait = [](const char *name) {
    report_on_terminal("%s: waiting for another program that changes it", name);
  };
  if (path != "-") edited.file.reset(open_locked(path.c_str(), edited.lock, report_wait));
}

Status open_fax_to_edit(const std::string &path, FaxDocument &document, EditedFile &edited) {
  lock_to_replace(path, edited);
  return open_fax(path, document);
}

std::string open_included_fax(const std::string &directory, const std::string &name, FaxDocument &document) {
  const std::string path = directory + '/' + name;
  document.fd = open_regular(path);
  if (!document.fd) return errno_text(path);
  if (No_outside && lies_outside(document.fd.get(), directory)) return path + ": outside the directory of the document";
  return load(path, document);
}

bool lies_outside(int fd, const std::string &directory) {
  const Block<char> resolved(realpath(directory.c_str(), nullptr));
  if (!resolved) return true;
  std::string top = resolved.get();
  if (!top.ends_with('/')) top += '/';
  return !path_of_descriptor(fd).starts_with(top);
}

std::string inclusion_fault(const FaxDocument &document) {
  if (header_length(document.lines) > LONGEST_SCANNED)
    return "readers find no INCLUDE lines in a header of more than " + std::to_string(LONGEST_SCANNED) + " bytes";
  const char *name = keyword(FAXFILE_INCLUDE);
  size_t next = document.inclusions.empty() ? 0 : document.inclusions.back().line + 1;
  while (next < document.lines.size() && !header_line_value(document.lines[next], name)) ++next;
  const std::string line = next < document.lines.size() ? document.lines[next] : name;
  return "\"" + line + "\" is out of order or has no name, page and count (see keywords set --force)";
}

Status report_lost_bytes(const FaxDocument &document) {
  if (document.lost_bytes == 0) return DONE;
  report("%s: the last %lld bytes are a page that is cut short", document.name(),
         static_cast<long long>(document.lost_bytes));
  return DAMAGED;
}

Status encodable_modes(const FaxDocument &document) {
  if (document.coding != COMP_MH && document.coding != COMP_MR && document.coding != COMP_MMR)
    return failure("%s: pages cannot be coded in %s", document.name(), coding_name(document.coding));
  if (document.resolution > 1)
    return failure("%s: pages cannot be made at %s", document.name(), VRtostring(document.resolution));
  return DONE;
}

int32_t written_resolution(const FaxDocument &document) {
  return std::max(document.resolution, 0);
}

int32_t sum_of_counts(const std::vector<Inclusion> &inclusions) {
  int64_t sum = 0;
  for (const Inclusion &inclusion : inclusions) sum += inclusion.count;
  return static_cast<int32_t>(std::min<int64_t>(sum, INT_MAX - MOST_RECORDS - 1));
}

int64_t records_end(const FaxDocument &document) {
  return document.records.empty() ? document.records_start
                                  : document.records.back().offset + 4 + document.records.back().length;
}

Status locate_page(const FaxDocument &document, int32_t page, FaxPage &found) {
  found.source = document.path;
  found.source_page = page;
  FaxDocument included;
  const FaxDocument *file = &document;
  for (int32_t depth = 0; file->mentions_inclusions; ++depth) {
    char name[INCLUDE_NAME_SIZE] = "";
    if (build_inclusion_list(file->fd.get(), &found.source_page, name) != 0) {
      if (!file->inclusions_clear) break;  // readers then take the number for that of a record
      return failure("%s: page %d: the header of %s cannot be read again", document.name(), page, file->name());
    }
    if (!*name) break;
    if (depth == DEEPEST_INCLUSION) return failure("%s: page %d: endless inclusions", document.name(), page);
    FaxDocument next;
    const std::string fault = open_included_fax(document.directory, name, next);
    if (!fault.empty()) return failure("%s: page %d is not available: %s", document.name(), page, fault.c_str());
    included = std::move(next);
    found.source = included.path;
    file = &included;
  }
  const bool there = found.source_page >= 1 && found.source_page <= file->record_count();
  found.place = there ? file->records[static_cast<size_t>(found.source_page) - 1] : PageRecord{-1, 0};
  found.coding = file->coding;
  found.resolution = file->resolution;
  found.included = std::move(included.fd);
  return DONE;
}

Status read_fax_page(const FaxDocument &document, int32_t page, FaxPage &found) {
  if (locate_page(document, page, found) != DONE) return FAILED;
  // The walk over the records has found the page: no page costs another walk.
  const int fd = (found.included ? found.included : document.fd).get();
  const std::string source = input_name(found.source);
  if (found.place.offset < 0)
    return failure("%s: page %d is not available: %s has no page %d of its own", document.name(), page, source.c_str(),
                   found.source_page);
  const off_t data = found.place.offset + 4;
  found.record.resize(static_cast<size_t>(found.place.length));
  const bool at_record = lseek(fd, data, SEEK_SET) == data;
  const ssize_t got = at_record ? read_fully(fd, found.record.data(), found.record.size()) : -1;
  if (got != std::ssize(found.record)) {
    if (got >= 0) errno = 0;
    return failure("%s: page %d cannot be read from %s: %s", document.name(), page, source.c_str(), cause());
  }
  say_verbose("%s: page %d: %zu bytes in %s, page %d of %s", document.name(), page, found.record.size(),
              coding_name(found.coding), found.source_page, source.c_str());
  return DONE;
}

}  // namespace tolvane
