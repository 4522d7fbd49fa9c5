// Patterns know no escapes: a `%` that is not part of the number makes the whole pattern invalid.
#include "io/file_names.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <utility>

#include "support/replace_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|file_names|9|01|4|0|0|11/23/26|15:10:07";

// The place of the number in a pattern, from its `%` to after its `d`. Empty if there is not exactly one.
std::pair<size_t, size_t> number_place(const std::string &pattern) {
  const size_t percent = pattern.find('%');
  if (percent == std::string::npos) return {0, 0};
  const size_t letter = pattern.find_first_not_of("0123456789", percent + 1);
  if (letter == std::string::npos || pattern[letter] != 'd' || letter - percent > 3) return {0, 0};
  if (pattern.find('%', letter) != std::string::npos) return {0, 0};
  return {percent, letter + 1};
}

// The digits for a number between `begin` and `end` of a pattern.
std::string digits_for(const std::string &pattern, size_t begin, size_t end, int32_t number) {
  const std::string width = pattern.substr(begin + 1, end - begin - 2);
  std::string digits = std::to_string(number);
  const size_t wanted = width.empty() ? 0 : std::stoul(width);
  if (digits.size() < wanted) digits.insert(0, wanted - digits.size(), '0');
  return digits;
}

// Whether a path names an open descriptor: two that are of one file are written to one after the other.
bool leads_to_descriptor(const std::string &path) {
  return path.starts_with("/dev/fd/") || path.starts_with("/proc/self/fd/");
}

}  // namespace

bool same_file(const std::string &one, const std::string &other) {
  std::error_code failed;
  return std::filesystem::equivalent(one, other, failed);
}

FilePlace place_of(const std::string &path) {
  constexpr int LINKS_FOLLOWED_MAX = 40;  // as the kernel
  struct stat status;
  const FilePlace as_given = {0, 0, std::filesystem::path(path).lexically_normal().string()};
  if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) return as_given;
  std::string end = path;
  std::error_code failed;
  for (int links = 0; links < LINKS_FOLLOWED_MAX && !leads_to_descriptor(end); ++links) {
    const std::filesystem::path target = std::filesystem::read_symlink(end, failed);
    if (failed) break;
    end = (std::filesystem::path(end).parent_path() / target).string();
  }
  if (stat(directory_of(end).c_str(), &status) != 0) return as_given;
  return {status.st_dev, status.st_ino, end.substr(end.rfind('/') + 1)};
}

bool is_numbered_pattern(const std::string &pattern) {
  return number_place(pattern).second != 0;
}

bool is_broken_pattern(const std::string &pattern) {
  bool has_number = false;
  for (size_t at = pattern.find('%'); at != std::string::npos; at = pattern.find('%', at + 1)) {
    const size_t letter = pattern.find_first_not_of("0123456789", at + 1);
    has_number = has_number || (letter != std::string::npos && pattern[letter] == 'd');
  }
  return has_number && !is_numbered_pattern(pattern);
}

std::string numbered_name(const std::string &pattern, int32_t number) {
  const auto [begin, end] = number_place(pattern);
  return pattern.substr(0, begin) + digits_for(pattern, begin, end, number) + pattern.substr(end);
}

bool has_page(const std::string &pattern) {
  return is_numbered_pattern(pattern) || pattern.find("{page}") != std::string::npos;
}

bool has_input_name(const std::string &pattern) {
  return pattern.find("{name}") != std::string::npos;
}

std::string output_name(const std::string &pattern, const std::string &input, int32_t page) {
  const std::pair<std::string_view, std::string> words[] = {
      {"{name}", input == "-" ? "stdin" : std::filesystem::path(input).stem().string()},
      {"{dir}", directory_of(input)},
      {"{page}", std::to_string(page)}};
  const auto [begin, end] = number_place(pattern);
  std::string name;
  for (size_t at = 0; at < pattern.size();) {
    const auto *word = std::find_if(std::begin(words), std::end(words), [&](const auto &each) {
      return std::string_view(pattern).substr(at).starts_with(each.first);
    });
    if (word != std::end(words)) {
      name += word->second;
      at += word->first.size();
    } else if (at == begin && end > 0) {
      name += digits_for(pattern, begin, end, page);
      at = end;
    } else {
      name += pattern[at++];
    }
  }
  return name;
}

}  // namespace tolvane
