// Files to read. `-` is standard input, which may be a pipe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "io/report.h"
#include "support/handle.h"

namespace tolvane {

/// For messages: the path, or "standard input" for `-`.
std::string input_name(const std::string &path);

/// The name of the input that this thread has opened last, for messages about what has no name: memory.
///
/// @return valid until the next one is opened; empty if there was none
const char *last_input();

/// Opens a file to read. A pipe is copied to a nameless file first, so that any position can be reached.
///
/// @return none after a message: missing, no permission, a directory, empty unless that is allowed
Descriptor open_input(const std::string &path, bool may_be_empty = false);

/// Opens a regular file to read, without blocking and without a message: a file that another file names.
///
/// @return none with errno set: EINVAL if it is no regular file
Descriptor open_regular(const std::string &path);

/// A file to read, mapped whole.
class InputFile {
 public:
  InputFile() = default;
  ~InputFile();
  InputFile(const InputFile &) = delete;
  InputFile &operator=(const InputFile &) = delete;

  /// DONE, or FAILED after a message: missing, no permission, not a file, empty unless that is allowed.
  Status open(const std::string &path, bool may_be_empty = false);

  /// For messages: the path, or "standard input".
  const char *name() const { return name_.c_str(); }
  int fd() const { return fd_.get(); }
  std::span<const uint8_t> bytes() const { return {data_, size_}; }

 private:
  std::string name_;
  Descriptor fd_;
  const uint8_t *data_ = nullptr;
  size_t size_ = 0;
};

}  // namespace tolvane
