// Keywords as they are given on the command line, NAME=VALUE, held against what the header may hold.
#pragma once

#include <string>
#include <utility>

#include "io/report.h"

namespace tolvane {

/// A name of the keyword list, and a value.
using KeywordValue = std::pair<std::string, std::string>;

/// Takes NAME=VALUE apart. DONE; USAGE after a complaint: no `=`, no keyword of that name, or a value that a keyword
/// with a form cannot have.
Status parse_keyword(const std::string &text, KeywordValue &keyword);

/// Whether there is a keyword of that name. DONE, or USAGE after a complaint.
Status check_keyword_name(const std::string &name);

}  // namespace tolvane
