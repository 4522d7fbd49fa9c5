// Preamble and header text as bytes. What the lines mean is up to the callers, and so is the place of a name: this
// module cuts at line feeds and joins lines, nothing else.
#include "faxfile/header_text.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "faxfile/fax_lock.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|header_text|9|01|4|0|0|11/23/26|11:25:00";

HeaderFault preamble_fault(ssize_t got, uint32_t magic, uint32_t length, const HeaderRules &rules) {
  if (got < 0) return HeaderFault::unreadable;
  if (got < FAXFILE_PREAMBLE) return HeaderFault::too_small;
  if (rules.checked_preamble && magic != FAXFILE_MAGIC) return HeaderFault::bad_magic;
  if (rules.checked_preamble && length == 0) return HeaderFault::no_length;
  return length > rules.longest_text ? HeaderFault::too_long : HeaderFault::none;
}
}  // namespace

void FreeHeaderText::operator()(char *bytes) const {
  free(bytes);
}

HeaderFault read_header_text(int32_t fd, const HeaderRules &rules, HeaderText &text) {
  text = {};
  const FaxHeaderLock lock(fd, FaxHeaderLock::Kind::shared);
  if (lseek(fd, 0, SEEK_SET) < 0) return HeaderFault::not_seekable;
  uint8_t preamble[FAXFILE_PREAMBLE] = {};
  const ssize_t got = read_fully(fd, preamble, sizeof preamble);
  if (got == FAXFILE_PREAMBLE) text.length = get_word(preamble + FAXFILE_WORD);
  if (const auto fault = preamble_fault(got, get_word(preamble), text.length, rules); fault != HeaderFault::none)
    return fault;

  const int64_t size = file_size(fd);
  if (size < 0) return HeaderFault::unreadable;
  const int64_t left = std::max<int64_t>(size - FAXFILE_PREAMBLE, 0);
  if (rules.whole_text && text.length > left) return HeaderFault::cut_short;
  const auto wanted = static_cast<size_t>(std::min<int64_t>(text.length, left));
  text.bytes.reset(static_cast<char *>(malloc(wanted + 1)));
  if (!text.bytes) return HeaderFault::no_memory;
  const ssize_t count = read_fully(fd, text.bytes.get(), wanted);
  if (count < 0) return HeaderFault::unreadable;
  text.size = static_cast<size_t>(count);
  text.bytes.get()[text.size] = '\0';

  if (rules.whole_text && text.size < text.length) return HeaderFault::cut_short;
  const bool terminated = text.size > 0 && static_cast<uint8_t>(text.bytes.get()[text.size - 1]) == FAXFILE_TERMINATOR;
  return rules.terminated_text && !terminated ? HeaderFault::cut_short : HeaderFault::none;
}

int16_t header_fault_code(HeaderFault fault) {
  switch (fault) {
    case HeaderFault::none:
      return FAXFILE_OK;
    case HeaderFault::not_seekable:
    case HeaderFault::unreadable:
      return FAXFILE_ERR_READ;
    case HeaderFault::too_long:
    case HeaderFault::no_memory:
      return FAXFILE_ERR_MEMORY;
    default:
      return FAXFILE_ERR_FORMAT;
  }
}

int16_t find_first_record(int32_t fd, int64_t *offset) {
  uint32_t length;
  const ssize_t got = lseek(fd, FAXFILE_WORD, SEEK_SET) < 0 ? -1 : readLongFlipped(fd, &length);
  if (got != FAXFILE_WORD) return got < 0 ? FAXFILE_ERR_READ : FAXFILE_ERR_FORMAT;
  *offset = FAXFILE_PREAMBLE + length;
  return FAXFILE_OK;
}

bool take_header_line(std::string_view &rest, std::string_view &line) {
  if (rest.empty()) return false;
  line = rest.substr(0, rest.find('\n'));
  rest.remove_prefix(std::min(line.size() + 1, rest.size()));
  return true;
}

size_t header_line_size(const char *name, const char *value) {
  return strlen(name) + strlen(value) + 2;
}

char *put_header_line(char *out, const char *name, const char *value, LineFeeds line_feeds) {
  out = std::copy_n(name, strlen(name), out);
  *out++ = ':';
  out = std::replace_copy(value, value + strlen(value), out, '\n', line_feeds == LineFeeds::kept ? '\n' : '\r');
  *out++ = '\n';
  return out;
}

int write_header_text(int32_t fd, std::string_view lines) {
  const size_t length = lines.size() + 1;
  if (length > UINT32_MAX) {
    errno = EFBIG;
    return 0;
  }
  const Block<char> block(static_cast<char *>(malloc(FAXFILE_PREAMBLE + length)));
  if (!block) return 0;
  put_word(block.get(), FAXFILE_MAGIC);
  put_word(block.get() + FAXFILE_WORD, static_cast<uint32_t>(length));
  char *const end = std::copy(lines.begin(), lines.end(), block.get() + FAXFILE_PREAMBLE);
  *end = static_cast<char>(FAXFILE_TERMINATOR);
  return write_fully(fd, block.get(), FAXFILE_PREAMBLE + length);
}

}  // namespace tolvane
