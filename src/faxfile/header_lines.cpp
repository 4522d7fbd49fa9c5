// Headers as lines of text. The keyword operations of sorbfile find a name anywhere in the text, in a value too, and
// fax_header holds one line per name: neither can rewrite a header without loss. This module only cuts at line feeds.
#include "faxfile/header_lines.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "faxfile/pages.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|header_lines|9|01|1|0|0|11/22/26|22:10:00";

void add_word(std::string &bytes, uint32_t word) {
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(word >> shift & 0xFF);
}

std::string stored_value(std::string value) {
  std::replace(value.begin(), value.end(), '\n', '\r');
  return value;
}

/// Reads the header text without its closing byte.
int16_t read_header_text(int32_t fd, std::string &text) {
  const int64_t size = file_size(fd);
  uint32_t magic = 0, length = 0;
  if (size < 0 || lseek(fd, 0, SEEK_SET) != 0) return FAXFILE_ERR_READ;
  if (readLongFlipped(fd, &magic) != 4 || magic != FAXFILE_MAGIC || readLongFlipped(fd, &length) != 4)
    return FAXFILE_ERR_FORMAT;
  if (length == 0 || length > size - FAXFILE_PREAMBLE) return FAXFILE_ERR_FORMAT;
  text.resize(length);
  if (read_fully(fd, text.data(), length) != static_cast<ssize_t>(length)) return FAXFILE_ERR_READ;
  if (static_cast<uint8_t>(text.back()) != FAXFILE_TERMINATOR) return FAXFILE_ERR_FORMAT;
  text.pop_back();
  return FAXFILE_OK;
}

}  // namespace

int16_t read_header_lines(int32_t fd, HeaderLines &lines) {
  std::string text;
  lines.clear();
  if (const int16_t code = read_header_text(fd, text); code != FAXFILE_OK) return code;
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find('\n', start), text.size());
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return FAXFILE_OK;
}

size_t header_length(const HeaderLines &lines) {
  size_t length = 1;
  for (const std::string &line : lines) length += line.size() + 1;
  return length;
}

int write_header_lines(int32_t fd, const HeaderLines &lines) {
  std::string bytes;
  add_word(bytes, FAXFILE_MAGIC);
  add_word(bytes, static_cast<uint32_t>(header_length(lines)));
  for (const std::string &line : lines) bytes += line + '\n';
  bytes += static_cast<char>(FAXFILE_TERMINATOR);
  return write_fully(fd, bytes.data(), bytes.size());
}

const char *header_line_value(const std::string &line, const char *name) {
  const size_t length = strlen(name);
  return line.size() > length && line[length] == ':' && line.starts_with(name) ? line.c_str() + length + 1 : nullptr;
}

const char *find_header_value(const HeaderLines &lines, const char *name) {
  for (const std::string &line : lines) {
    if (const char *value = header_line_value(line, name)) return value;
  }
  return nullptr;
}

void set_header_value(HeaderLines &lines, const char *name, const std::string &value) {
  const std::string wanted = std::string(name) + ':' + stored_value(value);
  for (std::string &line : lines) {
    if (!header_line_value(line, name)) continue;
    line = wanted;
    return;
  }
  lines.push_back(wanted);
}

int read_inclusions(const HeaderLines &lines, std::vector<Inclusion> &inclusions) {
  inclusions.clear();
  for (size_t i = 0; i < lines.size(); ++i) {
    const char *value = header_line_value(lines[i], faxFileKeywordList[FAXFILE_INCLUDE]);
    if (!value) continue;
    char name[INCLUDE_NAME_SIZE];
    int16_t at = 0;
    int32_t count = 0;
    static_assert(INCLUDE_NAME_SIZE == 208, "the width of the first field");
    if (sscanf(value, "%207s %hd %d", name, &at, &count) != 3 || count < 0) return 0;
    if (at < (inclusions.empty() ? 1 : inclusions.back().at)) return 0;
    inclusions.push_back({i, name, at, count});
  }
  return 1;
}

}  // namespace tolvane
