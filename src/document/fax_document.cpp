// Pages are read by the library's own reader, the one that the viewer uses; this module adds where each page comes
// from. Header lines are compared by their whole name, but for inclusions: readers find these in any value.
#include "document/fax_document.h"

#include <errno.h>
#include <unistd.h>

#include <cstring>
#include <string_view>
#include <utility>

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
[[gnu::used]] const char SCCS_ID[] = "@(#)|fax_document|9|01|5|0|0|11/23/26|14:40:40";

// Entries in the lists of all included files that are remembered: records, of 16 bytes, and inclusions.
constexpr size_t MOST_REMEMBERED = 1 << 19;

constexpr char CHANGED[] = "the file has changed while it was read";

const char *keyword(FaxKeyword number) {
  return faxFileKeywordList[number];
}

bool includes(const std::string &line) {
  return header_line_value(line, keyword(FAXFILE_INCLUDE));
}

// Walks the records to the end of the file, or to one that is cut short. False with errno set.
bool walk_records(FaxDocument &document) {
  const int64_t size = file_size(document.fd.get());
  document.records_start = lseek(document.fd.get(), 0, SEEK_CUR);  // after the header
  if (size < 0 || document.records_start < 0) return false;
  int64_t at = document.records_start;
  while (size - at >= 4) {
    uint32_t length = 0;
    errno = 0;  // which a short read leaves
    if (lseek(document.fd.get(), at, SEEK_SET) != at || readLongFlipped(document.fd.get(), &length) != 4) return false;
    if (length > size - at - 4) break;
    document.records.push_back({at, length});
    at += 4 + int64_t{length};
  }
  document.lost_bytes = size - at;
  return true;
}

bool mentions_inclusion(const std::string &line) {
  return line.find("INCLUDE:") != std::string::npos;
}

// A text that is no inclusion does no harm where there is none.
void read_inclusions_as_readers_do(FaxDocument &document) {
  const std::vector<std::string> &lines = document.lines;
  const bool is_scanned = header_length(lines) <= LONGEST_SCANNED;
  document.inclusions.clear();
  document.mentions_inclusions = std::any_of(lines.begin(), lines.end(), mentions_inclusion);
  document.inclusions_whole =
      !document.mentions_inclusions || (is_scanned && find_inclusions(lines, document.inclusions) == 1);
  const bool is_text = is_scanned && document.inclusions.empty() && std::none_of(lines.begin(), lines.end(), includes);
  document.inclusions_usable = document.inclusions_whole || is_text;
  document.included_pages = sum_of_counts(document.inclusions);
}

// Reads the header of the file that the document has open. Returns what is wrong, or nothing.
std::string load_header(const std::string &path, FaxDocument &document) {
  document.path = path;
  document.directory = directory_of(path);
  document.shown_name = input_name(path);
  const int16_t code = read_header_lines(document.fd.get(), document.lines);
  if (code == FAXFILE_ERR_FORMAT) return document.shown_name + ": not a fax file, or its header is damaged";
  if (code == FAXFILE_ERR_MEMORY) return document.shown_name + ": no memory for its header";
  if (code != FAXFILE_OK) return document.shown_name + ": " + cause();
  document.coding = header_coding(document.lines);
  document.resolution = header_resolution(document.lines);
  read_inclusions_as_readers_do(document);
  return {};
}

bool is_same_time(const timespec &one, const timespec &other) {
  return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

// Whether an open file has been changed in place. The time of its status says nothing of that: it changes as well when
// the file loses its name to another one.
bool has_changed(int fd, const struct stat &before) {
  struct stat now;
  return fstat(fd, &now) != 0 || before.st_size != now.st_size || !is_same_time(before.st_mtim, now.st_mtim);
}

bool is_same_file(const struct stat &before, const struct stat &now) {
  return before.st_dev == now.st_dev && before.st_ino == now.st_ino && before.st_size == now.st_size &&
         is_same_time(before.st_mtim, now.st_mtim) && is_same_time(before.st_ctim, now.st_ctim);
}

// Reads the header, and the records. An editor that holds the header back has changed the file: it is read again.
std::string load(const std::string &path, FaxDocument &document) {
  std::string fault;
  for (int tries = 3; tries > 0; --tries) {
    if (fstat(document.fd.get(), &document.status) != 0) return input_name(path) + ": " + cause();
    fault = load_header(path, document);
    if (!has_changed(document.fd.get(), document.status)) break;
  }
  return !fault.empty() || walk_records(document) ? fault : document.shown_name + ": " + cause();
}

// Adds a file to those that need not be read again; all others give way if there are too many.
void remember(IncludedFiles &files, const std::string &name, const std::shared_ptr<const FaxDocument> &fax) {
  const size_t size = fax->records.size() + fax->inclusions.size() + 1;
  if (files.size + size > MOST_REMEMBERED) {
    files.by_name.clear();
    files.size = 0;
  }
  files.size += size;
  files.by_name[name] = fax;
}

}  // namespace

bool No_outside = false;

Status open_fax(const std::string &path, FaxDocument &document) {
  document.fd = open_input(path);
  if (!document.fd) return FAILED;
  document.included_files = std::make_shared<IncludedFiles>();
  const std::string fault = load(path, document);
  return fault.empty() ? DONE : failure("%s", fault.c_str());
}

Status lock_to_replace(const std::string &path, EditedFile &edited) {
  const auto report_wait = [](const char *name) {
    report_on_terminal("%s: waiting for another program that changes it", name);
  };
  if (path == "-") return DONE;
  edited.file.reset(open_locked(path.c_str(), edited.lock, report_wait));
  if (edited.file || errno != EBUSY) return DONE;
  return failure("%s: not changed: another program has locked it for reading", path.c_str());
}

Status open_fax_to_edit(const std::string &path, FaxDocument &document, EditedFile &edited) {
  struct stat status;
  const bool is_file = path == "-" || stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode);
  if (!is_file && !S_ISDIR(status.st_mode)) return failure("%s: not a regular file", path.c_str());
  return lock_to_replace(path, edited) == DONE ? open_fax(path, document) : FAILED;
}

std::string open_included_fax(const FaxDocument &document, const std::string &name, IncludedFax &included) {
  const std::string path = document.directory + '/' + name;
  struct stat status;
  Descriptor fd = open_regular(path);
  if (!fd || fstat(fd.get(), &status) != 0)
    return path + ": " + (errno == EINVAL ? "not a regular file" : strerror(errno));
  if (No_outside && lies_outside(fd.get(), document.directory)) return path + ": outside the directory of the document";
  const auto place = document.included_files->by_name.find(name);
  if (place != document.included_files->by_name.end() && is_same_file(place->second->status, status)) {
    included = {place->second, std::move(fd)};
    return {};
  }
  const auto read = std::make_shared<FaxDocument>();
  read->fd = std::move(fd);
  if (std::string fault = load(path, *read); !fault.empty()) return fault;
  included = {read, std::move(read->fd)};
  read->lines = {};
  remember(*document.included_files, name, read);
  return {};
}

bool lies_outside(int fd, const std::string &directory) {
  const Block<char> resolved(realpath(directory.c_str(), nullptr));
  if (!resolved) return true;
  std::string top = resolved.get();
  if (!top.ends_with('/')) top += '/';
  return !path_of_descriptor(fd).starts_with(top);
}

bool hides_inclusion(const std::string &line) {
  const std::string_view text = "INCLUDE:";
  return line.find(text, line.starts_with(text) ? text.size() : 0) != std::string::npos;
}

std::string inclusion_fault(const FaxDocument &document) {
  if (header_length(document.lines) > LONGEST_SCANNED)
    return "readers find no INCLUDE lines in a header of more than " + std::to_string(LONGEST_SCANNED) + " bytes";
  const char *name = keyword(FAXFILE_INCLUDE);
  size_t next = document.inclusions.empty() ? 0 : document.inclusions.back().line + 1;
  while (next < document.lines.size() && !mentions_inclusion(document.lines[next])) ++next;
  const std::string line = next < document.lines.size() ? document.lines[next] : name;
  return "\"" + line + "\" is out of order or has no name, page and count (see keywords set --force)";
}

Status check_inclusion_lines(const FaxDocument &document, int32_t place) {
  for (const Inclusion &inclusion : document.inclusions) {
    const std::string &line = document.lines[inclusion.line];
    if (inclusion.at > place && hides_inclusion(line))
      return failure("%s: \"INCLUDE:\" inside the line %s is read as an inclusion (see keywords set)", document.name(),
                     line.substr(0, line.find(':')).c_str());
  }
  return DONE;
}

Status report_invalid_inclusions(const FaxDocument &document) {
  if (document.inclusions_usable) return DONE;
  report("%s: %s", document.name(), inclusion_fault(document).c_str());
  return DAMAGED;
}

Status report_lost_bytes(const FaxDocument &document) {
  if (document.lost_bytes == 0) return DONE;
  report("%s: the last %lld bytes are a page that is cut short", document.name(),
         static_cast<long long>(document.lost_bytes));
  return DAMAGED;
}

Status report_missing_records(const FaxDocument &document) {
  const char *value = find_header_value(document.lines, keyword(FAXFILE_PAGES));
  const long promised = value ? atol(value) : 0;
  const int64_t found = int64_t{document.record_count()} + (document.lost_bytes > 0);
  if (promised <= found) return DONE;
  const long missing = promised - found;
  report("%s: %ld of %ld pages that #PAGES promises are missing", document.name(), missing, promised);
  return DAMAGED;
}

Status check_unchanged(const FaxDocument &document) {
  if (!has_changed(document.fd.get(), document.status)) return DONE;
  return failure("%s: %s", document.name(), CHANGED);
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

const char *read_record(int fd, const struct stat &status, const PageRecord &place, std::vector<uint8_t> &record) {
  const off_t data = place.offset + 4;
  record.resize(static_cast<size_t>(place.length));
  if (lseek(fd, data, SEEK_SET) != data) return cause();
  const ssize_t got = read_fully(fd, record.data(), record.size());
  if (got < 0) return cause();
  return got != std::ssize(record) || has_changed(fd, status) ? CHANGED : nullptr;
}

Status locate_page(const FaxDocument &document, int32_t page, FaxPage &found) {
  found.source = document.path;
  found.source_page = page;
  IncludedFax included;
  const FaxDocument *file = &document;
  int fd = document.fd.get();
  for (int32_t depth = 0; file->mentions_inclusions; ++depth) {
    char name[INCLUDE_NAME_SIZE] = "";
    if (build_inclusion_list(fd, &found.source_page, name) != 0) {
      if (!file->inclusions_whole) break;  // readers then take the number for that of a record
      return failure("%s: page %d: the header of %s cannot be read again", document.name(), page, file->name());
    }
    if (!*name) break;
    if (depth == DEEPEST_INCLUSION) return failure("%s: page %d: endless inclusions", document.name(), page);
    IncludedFax next;
    const std::string fault = open_included_fax(document, name, next);
    if (!fault.empty()) return failure("%s: page %d is not available: %s", document.name(), page, fault.c_str());
    included = std::move(next);
    file = included.fax.get();
    fd = included.fd.get();
    found.source = file->path;
  }
  const bool there = found.source_page >= 1 && found.source_page <= file->record_count();
  found.place = there ? file->records[static_cast<size_t>(found.source_page) - 1] : PageRecord{-1, 0};
  found.coding = file->coding;
  found.resolution = file->resolution;
  found.status = file->status;
  found.included = std::move(included.fd);
  return DONE;
}

Status read_found_page(const FaxDocument &document, int32_t page, FaxPage &found) {
  const Descriptor included = std::move(found.included);
  const std::string source = input_name(found.source);
  if (found.place.offset < 0)
    return failure("%s: page %d is not available: %s has no page %d of its own", document.name(), page, source.c_str(),
                   found.source_page);
  const int fd = (included ? included : document.fd).get();
  if (const char *fault = read_record(fd, found.status, found.place, found.record))
    return failure("%s: page %d cannot be read from %s: %s", document.name(), page, source.c_str(), fault);
  say_verbose("%s: page %d: %zu bytes in %s, page %d of %s", document.name(), page, found.record.size(),
              coding_name(found.coding), found.source_page, source.c_str());
  return DONE;
}

Status read_fax_page(const FaxDocument &document, int32_t page, FaxPage &found) {
  return locate_page(document, page, found) == DONE ? read_found_page(document, page, found) : FAILED;
}

}  // namespace tolvane
