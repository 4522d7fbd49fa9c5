// From a page of the document to the coded bytes of one page record, across included files. Writing pages is
// page_writer's. Nothing is kept between calls: the header text is searched anew for every page, in every file.
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

#include "faxfile/header_text.h"
#include "faxfile/usorbport.h"
#include "support/file.h"
#include "support/handle.h"

namespace tolvane {

int32_t fl_trace_on = 0;

namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|pages|9|01|1|0|0|11/22/26|21:30:00";

constexpr int INCLUSION_DEPTH_MAX = 32;

// The files that a request has come through, so that an inclusion without end is noticed.
struct Chain {
  struct {
    dev_t device;
    ino_t file;
    int32_t page;
  } visits[INCLUSION_DEPTH_MAX + 1];
  int count;
  const char *path;  // of the first file: all names are resolved beside it
};

[[gnu::format(printf, 1, 2)]] void tell(const char *format, ...) {
  if (!fl_trace_on) return;
  va_list arguments;
  va_start(arguments, format);
  vprintf(format, arguments);
  va_end(arguments);
}

// Goes from a record to the next one, which may lie past the end of the file; 0 if there is no length word.
int find_next_record(int32_t fd, int64_t *offset) {
  uint32_t length;
  if (lseek(fd, *offset, SEEK_SET) < 0 || readLongFlipped(fd, &length) != 4) return 0;
  *offset += 4 + int64_t{length};
  return 1;
}

int16_t read_record(int32_t fd, int32_t page, uint8_t **data, int32_t *length) {
  int64_t offset;
  if (!find_first_record(fd, &offset)) return FAXFILE_ERR_READ;
  for (uint16_t at = 1; at != static_cast<uint16_t>(page); ++at)
    if (!find_next_record(fd, &offset)) return FAXFILE_ERR_READ;

  uint32_t count;
  if (lseek(fd, offset, SEEK_SET) < 0 || readLongFlipped(fd, &count) != 4) return FAXFILE_ERR_READ;
  if (count > file_size(fd) - offset - 4 || count > INT32_MAX) return FAXFILE_ERR_READ;
  Block<uint8_t> block(static_cast<uint8_t *>(malloc(count ? count : 1)));  // null would be no page at all
  if (!block || _pread(fd, block.get(), count) != static_cast<ssize_t>(count)) return FAXFILE_ERR_READ;
  *length = static_cast<int32_t>(count);
  *data = block.release();
  return FAXFILE_OK;
}

// Notes that the request has come to a page of a file; 0 if it was there before, or has come too far.
int enter(Chain *chain, int32_t fd, int32_t page) {
  if (chain->count == std::ssize(chain->visits)) return 0;
  struct stat status;
  if (fstat(fd, &status) != 0) return 1;  // reading will say what is wrong
  for (int i = 0; i < chain->count; ++i) {
    const auto &visit = chain->visits[i];
    if (visit.device == status.st_dev && visit.file == status.st_ino && visit.page == page) return 0;
  }
  chain->visits[chain->count++] = {status.st_dev, status.st_ino, page};
  return 1;
}

// Opens an included file beside the file at `path`. Opening must not wait for the other end of a FIFO.
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
  if (file && (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))) file.reset();
  return file;
}

int16_t read_page(Chain *chain, int32_t fd, int32_t page, uint8_t **data, int32_t *length) {
  if (!enter(chain, fd, page)) return FAXFILE_ERR_ARGUMENT;
  char name[INCLUDE_NAME_SIZE] = "";
  if (build_inclusion_list(fd, &page, name) == 0) tell("build_inclusion_list() returned %d, %s\n", page, name);
  if (*name) {
    const Descriptor included = open_included(chain->path, name);
    if (!included || read_page(chain, included.get(), page, data, length) != FAXFILE_OK) return FAXFILE_ERR_ARGUMENT;
  }
  tell("after build_inclusion_list()\n");
  return *data ? FAXFILE_OK : read_record(fd, page, data, length);
}

// Answers build_inclusion_list.
int settle(int64_t mapped, const char *included, int32_t *page, char *name) {
  *page = static_cast<int32_t>(mapped);
  strcpy(name, included);
  tell("return page number set to %d\n", *page);
  return 0;
}
}  // namespace

int build_inclusion_list(int32_t fd, int32_t *page, char *name) {
  HeaderText text;
  if (read_header_text(fd, INCLUSION_HEADER, text) != HeaderFault::none) return 1;
  tell("build_inclusion_list(), looking for page %d\n", *page);

  int64_t virtual_page = 0;  // last page of the document accounted for
  int64_t real_page = 0;     // last page of this file accounted for
  int64_t included_pages = 0;
  for (const char *scan = text.bytes.get(); (scan = strstr(scan, "INCLUDE:"));) {
    scan += strlen("INCLUDE:");
    char included[INCLUDE_NAME_SIZE];
    int16_t at;
    int32_t count;
    if (sscanf(scan, "%207s %hd %d", included, &at, &count) != 3) return 1;
    tell("just scanned %s %d %d\n", included, at, count);
    if (at <= real_page) return 1;
    included_pages += count;
    if (at > real_page + 1) virtual_page += at - real_page - 1;
    tell("virtual page set to %d\n", static_cast<int32_t>(virtual_page));
    real_page = at - 1;
    tell("real page set to %d\n", static_cast<int32_t>(real_page));
    if (*page <= virtual_page) return settle(real_page - (virtual_page - *page), "", page, name);
    virtual_page += count;
    tell("virtual page set to %d\n", static_cast<int32_t>(virtual_page));
    if (*page <= virtual_page) return settle(count - (virtual_page - *page), included, page, name);
  }
  return settle(*page - included_pages, "", page, name);
}

int16_t FaxFileReadSpecificPage(int32_t fd, const char *path, int32_t page, uint8_t **data, int32_t *length) {
  if (fd < 1 || !path || page < 1 || !data || !length) return FAXFILE_ERR_ARGUMENT;
  Chain chain = {};
  chain.path = path;
  return read_page(&chain, fd, page, data, length);
}

int SeekToPage(int32_t fd, uint16_t page) {
  if (page == 0 || page == 0xFFFF) return 0;
  int64_t offset;
  if (!find_first_record(fd, &offset)) return 0;
  for (uint16_t at = 1; at != page; ++at)
    if (!find_next_record(fd, &offset)) return 0;
  return offset <= file_size(fd) && lseek(fd, offset, SEEK_SET) == offset;
}

}  // namespace tolvane
