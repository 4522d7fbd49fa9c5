// From a page of the document to the coded bytes of one page record, across included files. Pages are written in
// page_writer. The header text is searched anew for every page, in every file; only places of records are remembered.
#include "faxfile/pages.h"

#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <iterator>
#include <string_view>
#include <utility>

#include "faxfile/fax_lock.h"
#include "faxfile/header_text.h"
#include "faxfile/record_index.h"
#include "faxfile/usorbport.h"
#include "support/file.h"
#include "support/handle.h"

namespace tolvane {

int32_t fl_trace_on = 0;

namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|pages|9|01|4|0|0|11/23/26|11:25:00";

constexpr int INCLUSION_DEPTH_MAX = 32;

// The files that a request has come through, to notice an inclusion without end.
struct Chain {
  struct {
    dev_t device;
    ino_t file;
    int32_t page;
  } visits[INCLUSION_DEPTH_MAX + 1];
  int count;
  const char *path;  // of the first file: all names are resolved beside it
};

[[gnu::format(printf, 1, 2)]] void trace(const char *format, ...) {
  if (!fl_trace_on) return;
  va_list arguments;
  va_start(arguments, format);
  vprintf(format, arguments);
  va_end(arguments);
}

int16_t read_record(int32_t fd, int32_t page, uint8_t **data, int32_t *length) {
  const FaxHeaderLock lock(fd, FaxHeaderLock::Kind::shared);
  const auto number = static_cast<uint16_t>(page);  // the format's readers compare 16 bits
  int64_t offset;
  if (const int16_t code = find_record(fd, number == 0 ? UINT16_MAX + 1 : number, &offset); code != FAXFILE_OK)
    return code;
  uint32_t count;
  const ssize_t got = lseek(fd, offset, SEEK_SET) < 0 ? -1 : readLongFlipped(fd, &count);
  const int64_t size = file_size(fd);
  if (got < 0 || size < 0) return FAXFILE_ERR_READ;
  if (got < static_cast<ssize_t>(FAXFILE_WORD)) return offset == size ? FAXFILE_ERR_NO_PAGE : FAXFILE_ERR_FORMAT;
  if (count > size - offset - static_cast<int64_t>(FAXFILE_WORD) || count > INT32_MAX) return FAXFILE_ERR_FORMAT;
  Block<uint8_t> block(static_cast<uint8_t *>(malloc(count ? count : 1)));  // null would be no page at all
  if (!block) return FAXFILE_ERR_MEMORY;
  if (_pread(fd, block.get(), count) != static_cast<ssize_t>(count)) return FAXFILE_ERR_READ;
  *length = static_cast<int32_t>(count);
  *data = block.release();
  return FAXFILE_OK;
}

// Notes that the request has come to a page of a file; false if it has been there before, or has come too far.
bool note_visit(Chain *chain, int32_t fd, int32_t page) {
  if (chain->count == std::ssize(chain->visits)) return false;
  struct stat status;
  if (fstat(fd, &status) != 0) return true;  // reading reports what is wrong
  for (int i = 0; i < chain->count; ++i) {
    const auto &visit = chain->visits[i];
    if (visit.device == status.st_dev && visit.file == status.st_ino && visit.page == page) return false;
  }
  chain->visits[chain->count++] = {status.st_dev, status.st_ino, page};
  return true;
}

// Opens an included fax file beside the file at `path`: a stranger may have written any name into the header. Opening
// must not wait for the other end of a FIFO.
Descriptor open_included(const char *path, const char *name) {
  const char *cut = strrchr(path, '/');
  if (!cut) cut = strrchr(path, '\\');
  const std::string_view directory = cut ? std::string_view(path, static_cast<size_t>(cut - path)) : ".";
  if (directory.size() >= PATH_LIMIT) return Descriptor();

  char composed[PATH_LIMIT];
  const int length =
      snprintf(composed, sizeof composed, "%.*s/%s", static_cast<int>(directory.size()), directory.data(), name);
  if (length < 0 || static_cast<size_t>(length) >= sizeof composed) return Descriptor();
  Descriptor file(open(composed, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status;
  uint32_t magic;
  const bool is_fax = file && fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
                      readLongFlipped(file.get(), &magic) == FAXFILE_WORD && magic == FAXFILE_MAGIC;
  return is_fax ? std::move(file) : Descriptor();
}

int16_t read_page(Chain *chain, int32_t fd, int32_t page, uint8_t **data, int32_t *length) {
  if (!note_visit(chain, fd, page)) return FAXFILE_ERR_INCLUDED;
  char name[INCLUDE_NAME_SIZE] = "";
  if (build_inclusion_list(fd, &page, name) == 0) trace("build_inclusion_list() returned %d, %s\n", page, name);
  if (*name) {
    const Descriptor included = open_included(chain->path, name);
    if (!included) return FAXFILE_ERR_INCLUDED;
    const int16_t code = read_page(chain, included.get(), page, data, length);
    if (code != FAXFILE_OK) return code == FAXFILE_ERR_NO_PAGE ? FAXFILE_ERR_INCLUDED : code;
  }
  trace("after build_inclusion_list()\n");
  return *data ? FAXFILE_OK : read_record(fd, page, data, length);
}

// The next INCLUDE line, wherever the text of one occurs; null if there is none.
const char *find_inclusion(const char *scan) {
  return strstr(scan, "INCLUDE:");
}

// Reads the fields of the line at `scan` and moves after its name; false if there are fewer than three.
bool read_inclusion(const char **scan, char (&name)[INCLUDE_NAME_SIZE], int16_t *at, int32_t *count) {
  *scan += strlen("INCLUDE:");
  static_assert(INCLUDE_NAME_SIZE == 208, "the width of the first field");
  return sscanf(*scan, "%207s %hd %d", name, at, count) == 3;
}

// Answers build_inclusion_list.
int place_found(int64_t mapped, const char *included, int32_t *page, char *name) {
  *page = static_cast<int32_t>(mapped);
  strcpy(name, included);
  trace("return page number set to %d\n", *page);
  return 0;
}
}  // namespace

int build_inclusion_list(int32_t fd, int32_t *page, char *name) {
  HeaderText text;
  if (read_header_text(fd, INCLUSION_HEADER, text) != HeaderFault::none) return 1;
  trace("build_inclusion_list(), looking for page %d\n", *page);

  int64_t virtual_page = 0;  // last page of the document accounted for
  int64_t real_page = 0;     // last page of this file accounted for
  int64_t included_pages = 0;
  for (const char *scan = text.bytes.get(); (scan = find_inclusion(scan));) {
    char included[INCLUDE_NAME_SIZE];
    int16_t at;
    int32_t count;
    if (!read_inclusion(&scan, included, &at, &count)) return 1;
    trace("just scanned %s %d %d\n", included, at, count);
    if (at <= real_page) return 1;
    included_pages += count;
    if (at > real_page + 1) virtual_page += at - real_page - 1;
    trace("virtual page set to %d\n", static_cast<int32_t>(virtual_page));
    real_page = at - 1;
    trace("real page set to %d\n", static_cast<int32_t>(real_page));
    if (*page <= virtual_page) return place_found(real_page - (virtual_page - *page), "", page, name);
    virtual_page += count;
    trace("virtual page set to %d\n", static_cast<int32_t>(virtual_page));
    if (*page <= virtual_page) return place_found(count - (virtual_page - *page), included, page, name);
  }
  return place_found(*page - included_pages, "", page, name);
}

int16_t FaxFileReadSpecificPage(int32_t fd, const char *path, int32_t page, uint8_t **data, int32_t *length) {
  if (fd < 1 || !path || page < 1 || !data || !length) return FAXFILE_ERR_ARGUMENT;
  Chain chain = {};
  chain.path = path;
  const int16_t code = read_page(&chain, fd, page, data, length);
  if (code == FAXFILE_OK) return code;
  return code == FAXFILE_ERR_INCLUDED || chain.count > 1 ? FAXFILE_ERR_ARGUMENT : FAXFILE_ERR_READ;
}

int16_t FaxFileReadDocumentPage(int32_t fd, const char *path, int32_t page, uint8_t **data, int32_t *length) {
  if (fd < 1 || !path || page < 1 || !data || *data || !length) return FAXFILE_ERR_ARGUMENT;
  Chain chain = {};
  chain.path = path;
  return read_page(&chain, fd, page, data, length);
}

int16_t FaxFileCountPages(int32_t fd, int32_t *pages) {
  if (fd < 1 || !pages) return FAXFILE_ERR_ARGUMENT;
  HeaderText text;
  *pages = 0;
  if (const HeaderFault fault = read_header_text(fd, WHOLE_HEADER, text); fault != HeaderFault::none)
    return header_fault_code(fault);
  const FaxHeaderLock lock(fd, FaxHeaderLock::Kind::shared);
  return count_records(fd, pages);
}

int16_t FaxFileCountDocumentPages(int32_t fd, int32_t *pages) {
  if (const int16_t code = FaxFileCountPages(fd, pages); code != FAXFILE_OK) return code;
  HeaderText text;
  const HeaderFault fault = read_header_text(fd, INCLUSION_HEADER, text);
  if (fault == HeaderFault::too_long) return FAXFILE_OK;  // readers of pages look for no inclusions in it either
  if (fault != HeaderFault::none) return header_fault_code(fault);
  const int64_t records = *pages;
  int64_t total = records;
  int16_t last = 1;
  for (const char *scan = text.bytes.get(); (scan = find_inclusion(scan));) {
    char included[INCLUDE_NAME_SIZE];
    int16_t at;
    int32_t count;
    const bool usable = read_inclusion(&scan, included, &at, &count) && at >= last && at <= records + 1 && count >= 0;
    if (!usable) return FAXFILE_ERR_FORMAT;
    last = at;
    total += count;
  }
  if (total > INT32_MAX) return FAXFILE_ERR_FORMAT;
  *pages = static_cast<int32_t>(total);
  return FAXFILE_OK;
}

int SeekToPage(int32_t fd, uint16_t page) {
  if (page == 0 || page == 0xFFFF) return 0;
  const FaxHeaderLock lock(fd, FaxHeaderLock::Kind::shared);
  int64_t offset;
  return find_record(fd, page, &offset) == FAXFILE_OK && offset <= file_size(fd) &&
         lseek(fd, offset, SEEK_SET) == offset;
}

}  // namespace tolvane
