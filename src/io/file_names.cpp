// Patterns know no escapes: a `%` that is not part of the number makes the whole pattern invalid.
#include "io/file_names.h"

#include <filesystem>
#include <utility>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|file_names|9|01|2|0|0|11/23/26|05:51:43";

// The place of the number in a pattern, from its `%` to after its `d`. Empty if there is not exactly one.
std::pair<size_t, size_t> number_place(const std::string &pattern) {
  const size_t percent = pattern.find('%');
  if (percent == std::string::npos) return {0, 0};
  const size_t letter = pattern.find_first_not_of("0123456789", percent + 1);
  if (letter == std::string::npos || pattern[letter] != 'd' || letter - percent > 3) return {0, 0};
  if (pattern.find('%', letter) != std::string::npos) return {0, 0};
  return {percent, letter + 1};
}

}  // namespace

bool same_file(const std::string &one, const std::string &other) {
  std::error_code failed;
  return std::filesystem::equivalent(one, other, failed);
}

bool is_numbered_pattern(const std::string &pattern) {
  return number_place(pattern).second != 0;
}

std::string numbered_name(const std::string &pattern, int32_t number) {
  const auto [begin, end] = number_place(pattern);
  const std::string width = pattern.substr(begin + 1, end - begin - 2);
  std::string digits = std::to_string(number);
  const size_t wanted = width.empty() ? 0 : std::stoul(width);
  if (digits.size() < wanted) digits.insert(0, wanted - digits.size(), width[0] == '0' ? '0' : ' ');
  return pattern.substr(0, begin) + digits + pattern.substr(end);
}

}  // namespace tolvane
