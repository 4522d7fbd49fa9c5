// Keywords on the command line, NAME=VALUE, checked against what a header may contain.
#pragma once

#include <string>
#include <utility>

#include "faxfile/header_lines.h"
#include "io/report.h"

namespace tolvane {

/// A name of the keyword list, and a value.
using KeywordValue = std::pair<std::string, std::string>;

/// Parses NAME=VALUE. DONE; USAGE after a message: no `=`, no keyword of that name, or a value that is not of the form
/// of its keyword.
Status parse_keyword(const std::string &text, KeywordValue &keyword);

/// Appends the line of NAME=VALUE to a header, also if it has lines of that name. Returns as `parse_keyword`.
Status add_keyword_line(const std::string &text, HeaderLines &lines);

/// Whether there is a keyword of that name.
bool is_keyword_name(const std::string &name);

/// The same. DONE, or USAGE after a message.
Status check_keyword_name(const std::string &name);

}  // namespace tolvane
