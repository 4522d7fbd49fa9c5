// Files to write, which appear complete or not at all. `-` is standard output.
#pragma once

#include <sys/stat.h>

#include <string>

#include "io/report.h"
#include "support/handle.h"

namespace tolvane {

/// A file to write. It is made beside its final name and takes that name, replacing a file that has it, only in
/// `commit`; without `commit`, and when a signal ends the program, it is removed. The mode and owner of a file that is
/// replaced are kept. What cannot be replaced (standard output, a device, a pipe) is written to in `commit`.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  /// DONE with an empty file open for reading and writing, or FAILED after a message.
  Status open(const std::string &path);
  int fd() const { return fd_.get(); }
  /// The path of the file being made, for operations that take one; empty if it has none.
  const std::string &working_path() const { return working_path_; }
  /// For messages: the path, or "standard output".
  const char *name() const { return name_.c_str(); }

  /// DONE with the file complete and on disk under its name, or FAILED after a message with nothing changed.
  Status commit();

 private:
  Status write_through();

  std::string name_, final_path_, working_path_;
  Descriptor fd_;
};

/// Gives a file that is to replace another one its owner and group, as far as the user may, and its permission bits.
///
/// @param old  of the file that is replaced
/// @return false with errno set
bool keep_rights(const std::string &path, const struct stat &old);

}  // namespace tolvane
