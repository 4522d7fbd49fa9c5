// Creates, opens and closes fax files, and edits header lines by keyword number, directly in the file. The header as a
// list in memory is in fax_header. The header comes before the pages, so every line added moves them, in place, because
// a descriptor is open; deleting and changing a line by path write a new file, which takes the name in one step.
#include "faxfile/sorbfile.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "faxfile/fax_lock.h"
#include "faxfile/header_text.h"
#include "faxfile/in_place.h"
#include "faxfile/page_writer.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "support/replace_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|sorbfile|9|01|4|0|0|11/23/26|12:13:55";

constexpr uint32_t VALUE_HEADER_MAX = 32767;  // bytes of a header whose values fit the buffers of callers
constexpr mode_t NEW_FILE_MODE = 0666;        // before the process mask

// Reads a header that is about to be changed.
int16_t load(int32_t fd, HeaderText &header) {
  return header_fault_code(read_header_text(fd, WHOLE_HEADER, header));
}

// Opens a fax file and locks it. While this waits for the lock, another editor may replace the file: then the new one
// is opened.
int16_t open_to_edit(const char *path, Descriptor &file, FaxEditLock &lock) {
  do {
    lock.release();
    int32_t fd;
    if (const int16_t code = FaxFileOpen(path, &fd); code != FAXFILE_OK) return code;
    file.reset(fd);
    if (!lock.take(fd)) return FAXFILE_ERR_WRITE;
  } while (!is_file_at(file.get(), path));
  return FAXFILE_OK;
}

int16_t open_fax(const char *path, int access, int32_t *fd) {
  if (!path || !fd) return FAXFILE_ERR_ARGUMENT;
  *fd = -1;
  // Without blocking: a FIFO is no fax file, and opening it must not wait for a writer.
  Descriptor file(open(path, access | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  file = above_standard_streams(std::move(file));
  if (!file) return FAXFILE_ERR_OPEN;
  uint32_t magic;
  if (readLongFlipped(file.get(), &magic) != FAXFILE_WORD || magic != FAXFILE_MAGIC) return FAXFILE_ERR_FORMAT;
  *fd = file.release();
  return FAXFILE_OK;
}

// Finds the value of the first match of a name, from the next colon to the end of that line; without data if there is
// no match.
int16_t find_value(const HeaderText &header, const char *name, std::string_view &value) {
  value = {};
  const char *match = strstr(header.bytes.get(), name);
  if (!match) return FAXFILE_OK;
  const char *colon = strchr(match, ':');
  const char *line_feed = colon ? strchr(colon, '\n') : nullptr;
  if (!line_feed) return FAXFILE_ERR_FORMAT;
  value = {colon + 1, line_feed};
  return FAXFILE_OK;
}

// Replaces the file at `path` by one with these header lines and the pages of the file that is open.
int16_t replace(const char *path, int32_t fd, const HeaderText &header, std::string_view lines) {
  const off_t pages = FAXFILE_PREAMBLE + static_cast<off_t>(header.length);
  Replacement file;
  if (!file.begin(path)) return errno == EEXIST || errno == ENAMETOOLONG ? FAXFILE_ERR_TEMPNAME : FAXFILE_ERR_CREATE;
  const bool written =
      write_header_text(file.fd(), lines) && lseek(fd, pages, SEEK_SET) == pages && copy_bytes(fd, file.fd(), -1);
  return written && file.commit() ? FAXFILE_OK : FAXFILE_ERR_WRITE;
}

// Replaces the lines of the header by these, and one more, in place.
int16_t change_lines(int32_t fd, const HeaderText &header, std::string_view lines, const char *name,
                     const char *value) {
  const size_t count = header_line_size(name, value);
  const Block<char> line(static_cast<char *>(malloc(count + 1)));
  if (!line) return FAXFILE_ERR_MEMORY;
  *put_header_line(line.get(), name, value, LineFeeds::replaced) = static_cast<char>(FAXFILE_TERMINATOR);
  if (lines.size() + count >= UINT32_MAX) return FAXFILE_ERR_WRITE;

  const off_t pages = FAXFILE_PREAMBLE + static_cast<off_t>(header.length);
  SpoolMapping following;
  Descriptor spool;
  const int64_t size = file_size(fd);
  if (size < 0) return FAXFILE_ERR_READ;
  if (size > pages) {
    int32_t saved;
    if (lseek(fd, pages, SEEK_SET) != pages || !SaveFaxPages(fd, &saved)) return FAXFILE_ERR_CREATE;
    spool.reset(saved);
    if (!following.map(saved)) return FAXFILE_ERR_MEMORY;
  }
  uint8_t length[FAXFILE_WORD], old_length[FAXFILE_WORD];
  put_word(length, static_cast<uint32_t>(lines.size() + count + 1));
  put_word(old_length, header.length);
  const bool done =
      replace_end(fd, FAXFILE_WORD,
                  {piece(length, sizeof length), piece(lines.data(), lines.size()), piece(line.get(), count + 1),
                   following.bytes()},
                  {piece(old_length, sizeof old_length), piece(header.bytes.get(), header.size), following.bytes()});
  return done ? FAXFILE_OK : FAXFILE_ERR_WRITE;
}

int16_t add_line(int32_t fd, const HeaderText &header, const char *name, const char *value) {
  return change_lines(fd, header, {header.bytes.get(), header.size - 1}, name, value);
}

// Where the first match of a keyword begins in a header text and where its line ends, after the line feed; false if the
// line does not end. Without a match both are null.
bool find_line(const HeaderText &header, const char *name, const char **begin, const char **end) {
  *begin = strstr(header.bytes.get(), name);
  const char *line_feed = *begin ? strchr(*begin, '\n') : nullptr;
  *end = line_feed ? line_feed + 1 : nullptr;
  return !*begin || *end;
}

// Rewrites a file without the first match of a keyword, and with a new last line for it if there is a value. If there
// is no match, the line is added in place.
int16_t rewrite(const char *path, int16_t keyword, const char *value) {
  Descriptor file;
  FaxEditLock lock;
  HeaderText header;
  char name[FAXFILE_KEYWORD_LIMIT + 1];
  if (const int16_t code = open_to_edit(path, file, lock); code != FAXFILE_OK) return code;
  if (!_pgetstring(keyword, name, FAXFILE_KEYWORD_LIMIT)) return FAXFILE_ERR_ARGUMENT;
  if (const int16_t code = load(file.get(), header); code != FAXFILE_OK) return code;

  const char *text = header.bytes.get(), *match, *rest;
  if (!find_line(header, name, &match, &rest)) return FAXFILE_ERR_FORMAT;
  if (!match) return value ? add_line(file.get(), header, name, value) : FAXFILE_OK;
  const Block<char> lines(static_cast<char *>(malloc(header.size + (value ? header_line_size(name, value) : 0))));
  if (!lines) return FAXFILE_ERR_MEMORY;
  char *end = std::copy(rest, text + header.size - 1, std::copy(text, match, lines.get()));
  if (value) end = put_header_line(end, name, value, LineFeeds::replaced);
  return replace(path, file.get(), header, {lines.get(), end});
}
}  // namespace

int16_t FaxFileCreate(const char *path, int32_t *fd) {
  if (!path || !fd) return FAXFILE_ERR_ARGUMENT;
  *fd = -1;
  Descriptor file(open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, NEW_FILE_MODE));
  file = above_standard_streams(std::move(file));
  if (!file || !write_header_text(file.get(), "")) return FAXFILE_ERR_CREATE;
  *fd = file.release();
  return FAXFILE_OK;
}

int16_t FaxFileOpen(const char *path, int32_t *fd) {
  return open_fax(path, O_RDWR, fd);
}

int16_t FaxFileOpenReadOnly(const char *path, int32_t *fd) {
  return open_fax(path, O_RDONLY, fd);
}

int16_t FaxFileClose(int32_t fd) {
  if (fd == 0) return FAXFILE_ERR_ARGUMENT;
  const int lost = give_up_pages(fd);
  if (close(fd) != 0) return FAXFILE_ERR_CLOSE;
  return lost > 0 ? FAXFILE_ERR_ARGUMENT : FAXFILE_OK;
}

int16_t FaxFileAddKeyword(int32_t fd, int16_t keyword, const char *value) {
  char name[FAXFILE_KEYWORD_LIMIT + 1];
  if (fd == 0 || !value || !_pgetstring(keyword, name, FAXFILE_KEYWORD_LIMIT)) return FAXFILE_ERR_ARGUMENT;
  FaxEditLock lock;
  HeaderText header;
  if (!take_with_pages(lock, fd)) return FAXFILE_ERR_WRITE;
  const int16_t code = load(fd, header);
  return code == FAXFILE_OK ? add_line(fd, header, name, value) : code;
}

int16_t FaxFileChangeKeyword(int32_t fd, int16_t keyword, const char *value) {
  char name[FAXFILE_KEYWORD_LIMIT + 1];
  if (fd < 1 || !value || !_pgetstring(keyword, name, FAXFILE_KEYWORD_LIMIT)) return FAXFILE_ERR_ARGUMENT;
  FaxEditLock lock;
  HeaderText header;
  if (!take_with_pages(lock, fd)) return FAXFILE_ERR_WRITE;
  if (const int16_t code = load(fd, header); code != FAXFILE_OK) return code;
  const char *text = header.bytes.get(), *match, *rest;
  if (!find_line(header, name, &match, &rest)) return FAXFILE_ERR_FORMAT;
  if (!match) return add_line(fd, header, name, value);
  const Block<char> lines(static_cast<char *>(malloc(header.size)));
  if (!lines) return FAXFILE_ERR_MEMORY;
  const char *end = std::copy(rest, text + header.size - 1, std::copy(text, match, lines.get()));
  return change_lines(fd, header, {lines.get(), end}, name, value);
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
  std::string_view value;
  if (const int16_t code = find_value(header, name, value); code != FAXFILE_OK) return code;
  *std::copy(value.begin(), value.end(), buffer) = '\0';
  return FAXFILE_OK;
}

int16_t FaxFileGetKeywordText(int32_t fd, int16_t keyword, char *buffer, int32_t size, int32_t *length) {
  char name[FAXFILE_KEYWORD_LIMIT + 1];
  if (fd < 1 || !buffer || size < 1 || !length || !_pgetstring(keyword, name, FAXFILE_KEYWORD_LIMIT))
    return FAXFILE_ERR_ARGUMENT;
  *buffer = '\0';
  *length = -1;
  HeaderText header;
  if (const int16_t code = load(fd, header); code != FAXFILE_OK) return code;
  std::string_view value;
  if (const int16_t code = find_value(header, name, value); code != FAXFILE_OK) return code;
  if (!value.data()) return FAXFILE_OK;
  if (value.size() > INT32_MAX) return FAXFILE_ERR_MEMORY;
  *length = static_cast<int32_t>(value.size());
  if (*length >= size) return FAXFILE_ERR_MEMORY;
  *std::copy(value.begin(), value.end(), buffer) = '\0';
  return FAXFILE_OK;
}

}  // namespace tolvane
