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
[[gnu::used]] const char SCCS_ID[] = "@(#)|sorbfile|9|01|1|0|0|11/22/26|21:50:00";

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
    if (!lock.take(fd)) return FAXFILE_ERR_OPEN;
  } while (!is_file_at(file.get(), path));
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

// Adds a line after those of the header, in place.
int16_t add_line(int32_t fd, const HeaderText &header, const char *name, const char *value) {
  const size_t count = header_line_size(name, value);
  const Block<char> line(static_cast<char *>(malloc(count + 1)));
  if (!line) return FAXFILE_ERR_MEMORY;
  *put_header_line(line.get(), name, value, LineFeeds::replaced) = static_cast<char>(FAXFILE_TERMINATOR);
  if (header.length + count > UINT32_MAX) return FAXFILE_ERR_WRITE;

  const off_t pages = FAXFILE_PREAMBLE + static_cast<off_t>(header.length);
  SpoolMapping following;
  Descriptor spool;
  if (file_size(fd) > pages) {
    int32_t saved;
    if (lseek(fd, pages, SEEK_SET) != pages || !SaveFaxPages(fd, &saved)) return FAXFILE_ERR_CREATE;
    spool.reset(saved);
    if (!following.map(saved)) return FAXFILE_ERR_MEMORY;
  }
  uint8_t length[FAXFILE_WORD], old_length[FAXFILE_WORD];
  put_word(length, static_cast<uint32_t>(header.length + count));
  put_word(old_length, header.length);
  const char *text = header.bytes.get();
  const bool done = replace_end(
      fd, FAXFILE_WORD,
      {piece(length, sizeof length), piece(text, header.size - 1), piece(line.get(), count + 1), following.bytes()},
      {piece(old_length, sizeof old_length), piece(text, header.size), following.bytes()});
  return done ? FAXFILE_OK : FAXFILE_ERR_WRITE;
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

  char *const text = header.bytes.get();
  char *end = text + header.size - 1;
  char *const match = strstr(text, name);
  if (!match) return value ? add_line(file.get(), header, name, value) : FAXFILE_OK;
  const char *const line_feed = strchr(match, '\n');
  if (!line_feed) return FAXFILE_ERR_FORMAT;
  end = std::copy<const char *>(line_feed + 1, end, match);
  if (!value) return replace(path, file.get(), header, {text, end});

  const Block<char> longer(static_cast<char *>(malloc(header.size + header_line_size(name, value))));
  if (!longer) return FAXFILE_ERR_MEMORY;
  end = put_header_line(std::copy(text, end, longer.get()), name, value, LineFeeds::replaced);
  return replace(path, file.get(), header, {longer.get(), end});
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
  if (!path || !fd) return FAXFILE_ERR_ARGUMENT;
  *fd = -1;
  // Non-blocking, so that a FIFO is no fax file and not a wait for one.
  Descriptor file(open(path, O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  file = above_standard_streams(std::move(file));
  if (!file) return FAXFILE_ERR_OPEN;
  uint32_t magic;
  if (readLongFlipped(file.get(), &magic) != 4 || magic != FAXFILE_MAGIC) return FAXFILE_ERR_FORMAT;
  *fd = file.release();
  return FAXFILE_OK;
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
  if (!take_to_change(lock, fd)) return FAXFILE_ERR_WRITE;
  const int16_t code = load(fd, header);
  return code == FAXFILE_OK ? add_line(fd, header, name, value) : code;
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
