// Headers as lines of text. The keyword operations of sorbfile find a name anywhere in the text, in a value too, and
// fax_header holds one line per name: neither can rewrite a header without loss. This module only cuts at line feeds.
#include "faxfile/header_lines.h"

#include <cstdio>
#include <cstring>

#include "faxfile/header_text.h"
#include "faxfile/pages.h"
#include "faxfile/usorbport.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|header_lines|9|01|3|0|0|11/23/26|14:40:40";

// Adds the inclusion of which the fields are at `text`; false if it is not a valid one.
bool add_inclusion(size_t line, const char *text, std::vector<Inclusion> &inclusions) {
  char name[INCLUDE_NAME_SIZE];
  int16_t at = 0;
  int32_t count = 0;
  static_assert(INCLUDE_NAME_SIZE == 208, "the width of the first field");
  if (sscanf(text, "%207s %hd %d", name, &at, &count) != 3 || count < 0) return false;
  if (at < (inclusions.empty() ? 1 : inclusions.back().at)) return false;
  inclusions.push_back({line, name, at, count});
  return true;
}

std::string joined(const HeaderLines &lines) {
  std::string text;
  text.reserve(header_length(lines));
  for (const std::string &line : lines) text.append(line) += '\n';
  return text;
}
}  // namespace

int16_t read_header_lines(int32_t fd, HeaderLines &lines) {
  HeaderText text;
  lines.clear();
  if (const HeaderFault fault = read_header_text(fd, WHOLE_HEADER, text); fault != HeaderFault::none)
    return header_fault_code(fault);
  std::string_view rest(text.bytes.get(), text.size - 1), line;
  while (take_header_line(rest, line)) lines.emplace_back(line);
  return FAXFILE_OK;
}

size_t header_length(const HeaderLines &lines) {
  size_t length = 1;
  for (const std::string &line : lines) length += line.size() + 1;
  return length;
}

int write_header_lines(int32_t fd, const HeaderLines &lines) {
  return write_header_text(fd, joined(lines));
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
  std::string wanted(header_line_size(name, value.c_str()), '\0');
  put_header_line(wanted.data(), name, value.c_str(), LineFeeds::replaced);
  wanted.pop_back();
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
    if (value && !add_inclusion(i, value, inclusions)) return 0;
  }
  return 1;
}

int find_inclusions(const HeaderLines &lines, std::vector<Inclusion> &inclusions) {
  inclusions.clear();
  const std::string text = joined(lines);
  const char *at = text.c_str(), *line_end = strchr(at, '\n');
  size_t line = 0;
  while ((at = strstr(at, "INCLUDE:"))) {
    for (; line_end && line_end < at; line_end = strchr(line_end + 1, '\n')) ++line;
    at += strlen("INCLUDE:");
    if (!add_inclusion(line, at, inclusions)) return 0;
  }
  return 1;
}

}  // namespace tolvane
