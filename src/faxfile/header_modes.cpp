// The viewer takes COMPRESSION from the header list, where the last line of a name counts, and RESOLUTION from its
// quick reader, where the first one does.
#include "faxfile/header_modes.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "faxfile/header_text.h"
#include "faxfile/session_params.h"
#include "faxfile/usorbport.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|header_modes|9|01|3|0|0|11/23/26|14:40:40";

const char *keyword(FaxKeyword number) {
  return faxFileKeywordList[number];
}

const char *last_header_value(const HeaderLines &lines, const char *name) {
  const char *found = nullptr;
  for (const std::string &line : lines) {
    if (const char *value = header_line_value(line, name)) found = value;
  }
  return found;
}

// The first character of a value after white space; 0 if there is none.
int32_t code_character(const char *value) {
  return static_cast<unsigned char>(value[strspn(value, " \t\n\v\f\r")]);
}

// Whether readers find no inclusions, though there are some.
bool hides_all_inclusions(const HeaderLines &lines) {
  const bool includes = std::any_of(lines.begin(), lines.end(),
                                    [](const std::string &line) { return line.find("INCLUDE:") != std::string::npos; });
  return includes && header_length(lines) > INCLUSION_HEADER.longest_text;
}

}  // namespace

int32_t header_coding(const HeaderLines &lines) {
  const char *value = last_header_value(lines, keyword(FAXFILE_COMPRESSION));
  return value && *value ? asciitoDF(code_character(value)) : 0;
}

int32_t header_resolution(const HeaderLines &lines) {
  const char *value = find_header_value(lines, keyword(FAXFILE_RESOLUTION));
  return value ? asciitoVR(code_character(value)) : -1;
}

void set_header_coding(HeaderLines &lines, int32_t coding) {
  const char *name = keyword(FAXFILE_COMPRESSION);
  const std::string character(1, static_cast<char>(DFtoascii(coding)));
  for (std::string &line : lines) {
    if (header_line_value(line, name)) line = std::string(name) + ':' + character;
  }
  set_header_value(lines, name, character);
}

bool set_header_page_count(HeaderLines &lines, int32_t pages) {
  const char *name = keyword(FAXFILE_PAGES), *count = find_header_value(lines, name);
  if (count && atoi(count) == pages) return false;
  set_header_value(lines, name, std::to_string(pages));
  return true;
}

bool header_loses_readers(const HeaderLines &before, const HeaderLines &after) {
  return (before.size() <= MOST_HEADER_LINES && after.size() > MOST_HEADER_LINES) ||
         (!hides_all_inclusions(before) && hides_all_inclusions(after));
}

}  // namespace tolvane
