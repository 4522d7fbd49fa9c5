// Fax files made, opened and closed, and their header lines by keyword number, straight on the file. The header as a
// list in memory is fax_header's. The header stands in front of the pages, so every line added moves them; deleting and
// changing a line write a whole new file instead, which takes the old one's name in one step.
#include "faxfile/sorbfile.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "faxfile/header_text.h"
#include "faxfile/page_writer.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "support/replace_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|sorbfile|9|01|1|0|0|11/22/26|21:50:00";

constexpr uint32_t VALUE_HEADER_MAX = 32767;  // bytes of a header whose values fit the buffers of callers
constexpr mode_t NEW_FILE_MODE = 0666;        // before the process mask

// A fax file about to be rewritten.
struct OldFile {
  Descriptor file;
  HeaderText header{};
  Descriptor pages{};  // spool file with all page records; none if there are none
};

// Copies the page records, from the file position on, out to a spool file, if there are any.
int save_pages(int32_t fd, Descriptor *pages) {
  if (file_size(fd) <= lseek(fd, 0, SEEK_CUR)) return 1;
  int32_t spool;
  if (!SaveFaxPages(fd, &spool)) return 0;
  pages->reset(spool);
  return 1;
}

int write_pages(Descriptor *pages, int32_t fd) {
  if (!*pages) return 1;
  if (!WriteSavedPages(pages->get(), fd)) return 0;
  pages->release();
  return 1;
}

int write_length(int32_t fd, size_t length) {
  const auto word = static_cast<uint32_t>(length);
  return lseek(fd, 4, SEEK_SET) == 4 && writeLongFlipped(fd, &word) == 4;
}

int write_at(int32_t fd, int64_t offset, const char *bytes, size_t count) {
  return lseek(fd, offset, SEEK_SET) == offset && _pwrite(fd, bytes, count) >= 0;
}

// Reads all that is needed of the file that `old` has open.
int16_t load(OldFile *old) {
  const int32_t fd = old->file.get();
  if (const auto fault = read_header_text(fd, WHOLE_HEADER, old->header); fault != HeaderFault::none)
    return header_fault_code(fault);
  return save_pages(fd, &old->pages) ? FAXFILE_OK : FAXFILE_ERR_CREATE;
}

// Replaces the file at `path` by one with these header lines and the pages of the old file.
int16_t replace(const char *path, std::string_view lines, OldFile *old) {
  Replacement file;
  if (!file.begin(path)) return errno == EEXIST || errno == ENAMETOOLONG ? FAXFILE_ERR_TEMPNAME : FAXFILE_ERR_CREATE;
  const bool written = write_header_text(file.fd(), lines) && write_pages(&old->pages, file.fd());
  return written && file.commit() ? FAXFILE_OK : FAXFILE_ERR_WRITE;
}

// Rewrites a file without the first match of a keyword, and with a new last line for it if there is a value.
int16_t rewrite(const char *path, int16_t keyword, const char *value) {
  int32_t fd;
  if (const int16_t code = FaxFileOpen(path, &fd); code != FAXFILE_OK) return code;
  OldFile old{.file = Descriptor(fd)};
  char name[FAXFILE_KEYWORD_LIMIT + 1];
  if (!_pgetstring(keyword, name, FAXFILE_KEYWORD_LIMIT)) return FAXFILE_ERR_ARGUMENT;
  if (const int16_t code = load(&old); code != FAXFILE_OK) return code;

  char *const text = old.header.bytes.get();
  char *end = text + old.header.size - 1;
  char *const match = strstr(text, name);
  if (!match && !value) return FAXFILE_OK;
  if (match) {
    const char *const line_feed = strchr(match, '\n');
    if (!line_feed) return FAXFILE_ERR_FORMAT;
    end = std::copy<const char *>(line_feed + 1, end, match);
  }
  if (!value) return replace(path, {text, end}, &old);

  const Block<char> longer(static_cast<char *>(malloc(old.header.size + header_line_size(name, value))));
  if (!longer) return FAXFILE_ERR_MEMORY;
  end = put_header_line(std::copy(text, end, longer.get()), name, value, LineFeeds::replaced);
  return replace(path, {longer.get(), end}, &old);
}
}  // namespace

int16_t FaxFileCreate(const char *path, int32_t *fd) {
  if (!path || !fd) return FAXFILE_ERR_ARGUMENT;
  *fd = -1;
  Descriptor file(open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, NEW_FILE_MODE));
  if (!file || !write_header_text(file.get(), "")) return FAXFILE_ERR_CREATE;
  *fd = file.release();
  return FAXFILE_OK;
}

int16_t FaxFileOpen(const char *path, int32_t *fd) {
  if (!path || !fd) return FAXFILE_ERR_ARGUMENT;
  *fd = -1;
  // Non-blocking, so that a FIFO is no fax file and not a wait for one.
  Descriptor file(open(path, O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file) return FAXFILE_ERR_OPEN;
  uint32_t magic;
  if (readLongFlipped(file.get(), &magic) != 4 || magic != FAXFILE_MAGIC) return FAXFILE_ERR_FORMAT;
  *fd = file.release();
  return FAXFILE_OK;
}

int16_t FaxFileClose(int32_t fd) {
  if (fd == 0) return FAXFILE_ERR_ARGUMENT;
  return close(fd) == 0 ? FAXFILE_OK : FAXFILE_ERR_CLOSE;
}

int16_t FaxFileAddKeyword(int32_t fd, int16_t keyword, const char *value) {
  char name[FAXFILE_KEYWORD_LIMIT + 1];
  if (fd == 0 || !value || !_pgetstring(keyword, name, FAXFILE_KEYWORD_LIMIT)) return FAXFILE_ERR_ARGUMENT;
  HeaderText header;
  if (const auto fault = read_header_text(fd, WHOLE_HEADER, header); fault != HeaderFault::none)
    return header_fault_code(fault);
  const int64_t size = file_size(fd);
  const int64_t last = FAXFILE_PREAMBLE + header.length - 1;
  const size_t count = header_line_size(name, value) + 1;
  const Block<char> line(static_cast<char *>(malloc(count)));
  if (!line) return FAXFILE_ERR_MEMORY;
  *put_header_line(line.get(), name, value, LineFeeds::replaced) = static_cast<char>(FAXFILE_TERMINATOR);
  Descriptor pages;
  if (!save_pages(fd, &pages)) return FAXFILE_ERR_CREATE;

  if (write_at(fd, last, line.get(), count) && write_length(fd, header.length + count - 1) &&
      lseek(fd, last + static_cast<int64_t>(count), SEEK_SET) > 0 && write_pages(&pages, fd))
    return FAXFILE_OK;
  write_length(fd, header.length);
  write_at(fd, last, header.bytes.get() + header.length - 1, 1);
  restore_tail(fd, last + 1, pages.get(), size);
  return FAXFILE_ERR_WRITE;
}

int16_t FaxFileModifyKeyword(const char *path, int16_t keyword, const char *value) {
  return value ? rewrite(path, keyword, value) : FAXFILE_ERR_ARGUMENT;
}

int16_t FaxFileDeleteKeyword(const char *path, int16_t keyword) {
  return rewrite(path, keyword, nullptr);
}

int16_t FaxFileGetKeywordValue(int32_t fd, int16_t keyword, char *buffer) {
  char name[FAXFILE_KEYWORD_LIMIT + 1];
  if (fd == 0 || !buffer || !_pgetstring(keyword, name, FAXFILE_KEYWORD_LIMIT)) return FAXFILE_ERR_ARGUMENT;
  HeaderText header;
  const HeaderFault fault = read_header_text(fd, WHOLE_HEADER, header);
  if (header.length > VALUE_HEADER_MAX && fault != HeaderFault::bad_magic) return FAXFILE_ERR_MEMORY;
  if (fault != HeaderFault::none) return header_fault_code(fault);

  const char *match = strstr(header.bytes.get(), name);
  if (!match) {
    *buffer = '\0';
    return FAXFILE_OK;
  }
  const char *colon = strchr(match, ':');
  const char *line_feed = colon ? strchr(colon, '\n') : nullptr;
  if (!line_feed) return FAXFILE_ERR_FORMAT;
  const auto count = static_cast<size_t>(line_feed - colon - 1);
  memcpy(buffer, colon + 1, count);
  buffer[count] = '\0';
  return FAXFILE_OK;
}

}  // namespace tolvane
