// Values are one line of text here: whatever else a format may hold is made one.
#include "formats/metadata.h"

#include <stdio.h>

#include <algorithm>
#include <cstring>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|metadata|9|01|5|0|0|11/23/26|14:58:01";

constexpr size_t LONGEST_VALUE = 200;  // bytes: short enough for the fixed fields of header readers
constexpr char BETWEEN[] = "; ";       // two facts

}  // namespace

void add_header_value(HeaderValues &values, const char *keyword, const std::string &text) {
  std::string value = text.substr(0, text.find('\0'));
  std::replace_if(
      value.begin(), value.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
  for (size_t at; (at = value.find("INCLUDE:")) != value.npos;) value[at + strlen("INCLUDE")] = ' ';
  const size_t first = value.find_first_not_of(' ');
  if (first == std::string::npos || !header_value(values, keyword).empty()) return;
  size_t end = first + LONGEST_VALUE;
  while (end > first && end < value.size() && (value[end] & 0xC0) == 0x80) --end;  // within a character of UTF-8
  value = value.substr(first, end > first ? end - first : LONGEST_VALUE);
  value.erase(value.find_last_not_of(' ') + 1);
  values.emplace_back(keyword, value);
}

std::string header_value(const HeaderValues &values, const char *keyword) {
  const auto found = std::find_if(values.begin(), values.end(), [&](const auto &row) { return row.first == keyword; });
  return found == values.end() ? "" : found->second;
}

std::string listed_fact(const std::string &facts, const std::string &name) {
  const std::string list = BETWEEN + facts, wanted = BETWEEN + name + "=";
  const size_t found = list.find(wanted);
  if (found == list.npos) return "";
  const size_t start = found + wanted.size();
  return list.substr(start, list.find(BETWEEN, start) - start);
}

void remove_fact(std::string &facts, const std::string &name) {
  std::string list = BETWEEN + facts;
  const size_t start = list.find(BETWEEN + name + "=");
  if (start == list.npos) return;
  const size_t end = list.find(BETWEEN, start + 1);
  list.erase(start, end == list.npos ? end : end - start);
  facts = list.erase(0, strlen(BETWEEN));
}

bool parse_date(const std::string &text, std::tm &date) {
  date = {};
  char first = 0, second = 0, between = ' ';
  const int fields = sscanf(text.c_str(), "%4d%c%2d%c%2d%c%2d:%2d:%2d", &date.tm_year, &first, &date.tm_mon, &second,
                            &date.tm_mday, &between, &date.tm_hour, &date.tm_min, &date.tm_sec);
  const bool separated = first == second && (first == '-' || first == ':') && (between == ' ' || between == 'T');
  const bool in_range = date.tm_year >= 1900 && date.tm_mon >= 1 && date.tm_mon <= 12 && date.tm_mday >= 1 &&
                        date.tm_mday <= 31 && date.tm_hour >= 0 && date.tm_hour < 24 && date.tm_min >= 0 &&
                        date.tm_min < 60 && date.tm_sec >= 0 && date.tm_sec <= 60;
  date.tm_year -= 1900;
  date.tm_mon -= 1;
  return (fields == 5 || fields >= 8) && separated && in_range;
}

std::string format_date(const std::tm &date, const char *form) {
  char text[64];
  return {text, strftime(text, sizeof text, form, &date)};
}

}  // namespace tolvane
