// Fax files made, opened and closed, and their header lines by keyword number, straight on the file. The header as a
// list in memory is fax_header's. The header stands in front of the pages, so every line added moves them; deleting and
// changing a line write a whole new file instead, which takes the old one's name in one step.
#include "faxfile/sorbfile.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "faxfile/page_writer.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "support/replace_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|sorbfile|9|01|1|0|0|11/22/26|21:50:00";

constexpr uint32_t REWRITTEN_HEADER_MAX = 65535;  // bytes of header text that can be rewritten: 16 bits
constexpr mode_t NEW_FILE_MODE = 0666;            // before the process mask

// A fax file about to be rewritten.
struct OldFile {
  Descriptor file;
  Block<char> text;  // header text, closed with a zero
  size_t length;     // of the header text, its terminator included
  Descriptor pages;  // spool file with all page records; none if there are none
};

// Reads magic and header length; the file then stands at the header text.
int16_t read_preamble(int32_t fd, uint32_t *length) {
  if (file_size(fd) == 0) return FAXFILE_ERR_FORMAT;
  uint32_t magic = 0;
  if (lseek(fd, 0, SEEK_SET) != 0 || readLongFlipped(fd, &magic) <= 0) return FAXFILE_ERR_READ;
  if (magic != FAXFILE_MAGIC) return FAXFILE_ERR_FORMAT;
  return readLongFlipped(fd, length) == 4 && *length != 0 ? FAXFILE_OK : FAXFILE_ERR_FORMAT;
}

// Reads the header text behind the preamble and leaves the file at the first page record.
int16_t read_text(int32_t fd, size_t length, Block<char> *text) {
  if (static_cast<int64_t>(length) > file_size(fd) - FAXFILE_PREAMBLE) return FAXFILE_ERR_FORMAT;
  text->reset(static_cast<char *>(malloc(length + 1)));
  if (!*text) return FAXFILE_ERR_MEMORY;
  if (_pread(fd, text->get(), length) != static_cast<ssize_t>(length)) return FAXFILE_ERR_FORMAT;
  text->get()[length] = '\0';
  return text->get()[length - 1] == FAXFILE_TERMINATOR ? FAXFILE_OK : FAXFILE_ERR_FORMAT;
}

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

// Puts a keyword line and the terminator at `out`, and gives the end. Line feeds of the value become carriage returns,
// so that it stays one line.
char *put_line(char *out, const char *name, const char *value) {
  out = stpcpy(stpcpy(out, name), ":");
  out = std::replace_copy(value, value + strlen(value), out, '\n', '\r');
  *out++ = '\n';
  *out++ = static_cast<char>(FAXFILE_TERMINATOR);
  return out;
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
  uint32_t length;
  if (const int16_t code = read_preamble(fd, &length); code != FAXFILE_OK) return code;
  if (length > REWRITTEN_HEADER_MAX) return FAXFILE_ERR_FORMAT;
  old->length = length;
  if (const int16_t code = read_text(fd, length, &old->text); code != FAXFILE_OK) return code;
  return save_pages(fd, &old->pages) ? FAXFILE_OK : FAXFILE_ERR_CREATE;
}

// Replaces the file at `path` by one with this header text and the pages of the old file.
int16_t replace(const char *path, const char *text, size_t length, OldFile *old) {
  Replacement file;
  if (!file.begin(path)) return errno == EEXIST || errno == ENAMETOOLONG ? FAXFILE_ERR_TEMPNAME : FAXFILE_ERR_CREATE;
  const auto word = static_cast<uint32_t>(length);
  const bool written = writeLongFlipped(file.fd(), &FAXFILE_MAGIC) == 4 && writeLongFlipped(file.fd(), &word) == 4 &&
                       _pwrite(file.fd(), text, length) >= 0 && write_pages(&old->pages, file.fd());
  return written && file.commit() ? FAXFILE_OK : FAXFILE_ERR_WRITE;
}

// Rewrites a file without the first match of a keyword, and with a new last line for it if there is a value.
int16_t rewrite(const char *path, int16_t keyword, const char *value) {
  int32_t fd;
  if (const int16_t code = FaxFileOpen(path, &fd); code != FAXFILE_OK) return code;
  OldFile old{.file = Descriptor(fd), .text = {}, .length = 0, .pages = Descriptor()};
  char name[FAXFILE_KEYWORD_LIMIT + 1];
  if (!_pgetstring(keyword, name, FAXFILE_KEYWORD_LIMIT)) return FAXFILE_ERR_ARGUMENT;
  if (const int16_t code = load(&old); code != FAXFILE_OK) return code;

  char *text = old.text.get();
  char *end = text + old.length - 1;
  char *match = strstr(text, name);
  if (!match && !value) return FAXFILE_OK;
  if (match) {
    const char *line_feed = strchr(match, '\n');
    if (!line_feed) return FAXFILE_ERR_FORMAT;
    memmove(match, line_feed + 1, static_cast<size_t>(end - line_feed));  // the terminator with it
    end -= line_feed + 1 - match;
  }
  if (!value) return replace(path, text, static_cast<size_t>(end + 1 - text), &old);

  const auto kept = static_cast<size_t>(end - text);
  const Block<char> longer(static_cast<char *>(malloc(kept + strlen(name) + strlen(value) + 3)));
  if (!longer) return FAXFILE_ERR_MEMORY;
  memcpy(longer.get(), text, kept);
  end = put_line(longer.get() + kept, name, value);
  return replace(path, longer.get(), static_cast<size_t>(end - longer.get()), &old);
}
}  // namespace

int16_t FaxFileCreate(const char *path, int32_t *fd) {
  if (!path || !fd) return FAXFILE_ERR_ARGUMENT;
  *fd = -1;
  Descriptor file(open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, NEW_FILE_MODE));
  constexpr uint8_t EMPTY[] = {0xBA, 0xDB, 0xAD, 0x16, 0, 0, 0, 1, FAXFILE_TERMINATOR};
  if (!file || _pwrite(file.get(), EMPTY, sizeof EMPTY) < 0) return FAXFILE_ERR_CREATE;
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
  uint32_t length;
  if (const int16_t code = read_preamble(fd, &length); code != FAXFILE_OK) return code;
  const int64_t size = file_size(fd);
  const int64_t last = FAXFILE_PREAMBLE + length - 1;
  uint8_t terminator;
  if (lseek(fd, last, SEEK_SET) != last || _pread(fd, &terminator, 1) != 1 || terminator != FAXFILE_TERMINATOR)
    return FAXFILE_ERR_FORMAT;

  const Block<char> line(static_cast<char *>(malloc(strlen(name) + strlen(value) + 3)));
  if (!line) return FAXFILE_ERR_MEMORY;
  const auto count = static_cast<size_t>(put_line(line.get(), name, value) - line.get());
  Descriptor pages;
  if (!save_pages(fd, &pages)) return FAXFILE_ERR_CREATE;

  if (write_at(fd, last, line.get(), count) && write_length(fd, length + count - 1) &&
      lseek(fd, last + static_cast<int64_t>(count), SEEK_SET) > 0 && write_pages(&pages, fd))
    return FAXFILE_OK;
  write_length(fd, length);
  write_at(fd, last, reinterpret_cast<const char *>(&terminator), 1);
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
  uint32_t full_length;
  if (const int16_t code = read_preamble(fd, &full_length); code != FAXFILE_OK) return code;
  const auto length = static_cast<int16_t>(full_length);  // longer headers are out of this operation's range
  if (length <= 0) return length == 0 ? FAXFILE_ERR_FORMAT : FAXFILE_ERR_MEMORY;
  Block<char> text;
  if (const int16_t code = read_text(fd, static_cast<size_t>(length), &text); code != FAXFILE_OK) return code;

  const char *match = strstr(text.get(), name);
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
