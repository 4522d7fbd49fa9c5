// Names of files: comparing them, taking them apart, and making numbered ones.
#pragma once

#include <cstdint>
#include <string>

namespace tolvane {

/// Whether two paths name one file.
bool same_file(const std::string &one, const std::string &other);

/// Whether a pattern contains one number, `%d` or with a width as in `%03d`, and no other `%`.
bool is_numbered_pattern(const std::string &pattern);

/// The name that a pattern gives for a number.
std::string numbered_name(const std::string &pattern, int32_t number);

}  // namespace tolvane
