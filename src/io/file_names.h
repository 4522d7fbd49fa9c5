// Names of files: comparing them, taking them apart, and making numbered ones.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <tuple>

namespace tolvane {

/// Whether two paths name one file.
bool same_file(const std::string &one, const std::string &other);

/// Where a file is, or would be made: links are followed. Paths of one file that will be replaced have equal places;
/// hard links have not.
struct FilePlace {
  dev_t device;     ///< of the directory
  ino_t directory;  ///< 0: there is none, or what has the path is no regular file; then `name` is the path
  std::string name;
  bool operator==(const FilePlace &) const = default;
  bool operator<(const FilePlace &other) const {
    return std::tie(device, directory, name) < std::tie(other.device, other.directory, other.name);
  }
};
FilePlace place_of(const std::string &path);

/// Whether a pattern contains one number, `%d` or with a width as in `%03d` or `%3d`, which is filled with zeros, and
/// no other `%`.
bool is_numbered_pattern(const std::string &pattern);

/// Whether a pattern that is none was meant to be one: it has a `%d`, with or without a width.
bool is_broken_pattern(const std::string &pattern);

/// The name that a pattern gives for a number.
std::string numbered_name(const std::string &pattern, int32_t number);

/// Whether a pattern names a file for each page: it has `{page}`, or is a numbered pattern.
bool has_page(const std::string &pattern);

/// Whether a pattern has `{name}`.
bool has_input_name(const std::string &pattern);

/// The name that a pattern gives for a page of an input. `{name}` is the name of the input without directory and
/// ending, "stdin" for `-`; `{dir}` is its directory; `{page}` and the number of a numbered pattern are the page.
std::string output_name(const std::string &pattern, const std::string &input, int32_t page);

}  // namespace tolvane
