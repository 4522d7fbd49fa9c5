// The forms of keyword values. Five keywords control how pages are read; the values of all others are free text.
#include "cli/keyword_values.h"

#include <algorithm>
#include <iterator>

#include "faxfile/header_lines.h"
#include "faxfile/session_params.h"
#include "faxfile/usorbport.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|keyword_values|9|01|4|0|0|11/23/26|11:25:00";

bool is_count(const std::string &value) {
  return !value.empty() && value.size() < 10 && value.find_first_not_of("0123456789") == std::string::npos;
}

bool is_resolution(const std::string &value) {
  return value.size() == 1 && value != " " && asciitoVR(static_cast<unsigned char>(value[0])) >= 0;
}

bool is_compression(const std::string &value) {
  return value.size() == 1 && value != " " && asciitoDF(static_cast<unsigned char>(value[0])) >= 0;
}

bool is_inclusion(const std::string &value) {
  std::vector<Inclusion> inclusions;
  return read_inclusions({"INCLUDE:" + value}, inclusions) == 1;
}

const struct {
  FaxKeyword keyword;
  bool (*accepts)(const std::string &value);
  const char *form;
} forms[] = {
    {FAXFILE_PAGES, is_count, "a number"},
    {FAXFILE_INCLUDE_PAGES, is_count, "a number"},
    {FAXFILE_RESOLUTION, is_resolution, "0 normal, 1 fine, 3 300 lpi, 4 400 lpi or 5 600 lpi"},
    {FAXFILE_COMPRESSION, is_compression, "0 MH, 1 MR, 2 UMMR or 3 MMR"},
    {FAXFILE_INCLUDE, is_inclusion, "a file name, a page number from 1 and a count, separated by blanks"},
};

}  // namespace

bool is_keyword_name(const std::string &name) {
  return std::find(std::begin(faxFileKeywordList), std::end(faxFileKeywordList), name) != std::end(faxFileKeywordList);
}

Status check_keyword_name(const std::string &name) {
  return is_keyword_name(name) ? DONE : usage_fault("no keyword has the name \"%s\"", name.c_str());
}

Status parse_keyword(const std::string &text, KeywordValue &keyword) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos) return usage_fault("\"%s\" is not of the form NAME=VALUE", text.c_str());
  keyword = {text.substr(0, equals), text.substr(equals + 1)};
  if (check_keyword_name(keyword.first) != DONE) return USAGE;
  for (const auto &form : forms) {
    if (keyword.first != faxFileKeywordList[form.keyword] || form.accepts(keyword.second)) continue;
    return usage_fault("%s takes %s", keyword.first.c_str(), form.form);
  }
  return DONE;
}

Status add_keyword_line(const std::string &text, HeaderLines &lines) {
  KeywordValue keyword;
  if (parse_keyword(text, keyword) != DONE) return USAGE;
  HeaderLines line;
  set_header_value(line, keyword.first.c_str(), keyword.second);
  lines.push_back(line.front());
  return DONE;
}

}  // namespace tolvane
