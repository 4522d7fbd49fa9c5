// Files in and out: whole inputs in memory, and outputs that appear complete or not at all. `-` is standard input or
// output.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <span>
#include <string>

#include "report.h"

namespace tolvane {

/// For messages: the path, or "standard input" for `-`.
std::string input_name(const std::string &path);

/// Opens a file to read; a pipe is copied to a nameless file first, so that any position can be reached.
///
/// @return a descriptor that the caller closes; -1 after a complaint: not there, no permission, a directory, empty
int open_input(const std::string &path);

/// A file to read, mapped whole. Standard input may be a pipe.
class InputFile {
 public:
  InputFile() = default;
  ~InputFile();
  InputFile(const InputFile &) = delete;
  InputFile &operator=(const InputFile &) = delete;

  /// DONE, or FAILED after a complaint: not there, no permission, not a file, empty.
  Status open(const std::string &path);

  /// For messages: the path, or "standard input".
  const char *name() const { return name_.c_str(); }
  std::span<const uint8_t> bytes() const { return {data_, size_}; }

 private:
  std::string name_;
  const uint8_t *data_ = nullptr;
  size_t size_ = 0;
};

/// A file to write. It is made beside its final name and takes that name, replacing a file that has it, only in
/// `commit`; without `commit`, and when a signal ends the program, it is removed. The rights of a file that is replaced
/// are kept. What cannot be replaced (standard output, a device, a pipe) is written to in `commit`.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  /// DONE with an empty file open for reading and writing, or FAILED after a complaint.
  Status open(const std::string &path);
  int fd() const { return fd_; }
  /// The path of the file being made, for operations that take one; empty if it has none.
  const std::string &working_path() const { return working_path_; }
  /// For messages: the path, or "standard output".
  const char *name() const { return name_.c_str(); }

  /// DONE with the file complete and on disk under its name, or FAILED after a complaint with nothing changed.
  Status commit();

 private:
  Status write_through();

  std::string name_, final_path_, working_path_;
  int fd_ = -1;
};

/// Gives a file that is to replace another one its owner and group, as far as the user may, and its permission bits.
///
/// @param old  of the file that is replaced
/// @return 1; 0 with errno set
int keep_rights(const std::string &path, const struct stat &old);

/// Has a file removed when a signal ends the program; four at a time.
void note_unfinished_file(const std::string &path);
/// The file stays.
void forget_unfinished_file(const std::string &path);

/// An open, empty, nameless file in the directory `beside` is in, gone when it is closed; -1 with errno set. Beside
/// what has no path, as standard output, it is in the directory for temporary files.
int open_spool(const std::string &beside);

/// Copies bytes between descriptors from their present positions: `count` of them, or all that come if it is negative.
///
/// @return 1; 0 with errno set, which is 0 when the source ended early
int copy_bytes(int source, int target, off_t count);

/// Whether two paths name one file.
bool same_file(const std::string &one, const std::string &other);

/// Whether a pattern holds one number, `%d` or with a width as `%03d`, and no other `%`.
bool is_numbered_pattern(const std::string &pattern);

/// The name that a pattern gives for a number.
std::string numbered_name(const std::string &pattern, int32_t number);

/// The directory part of a path, "." if it has none.
std::string directory_of(const std::string &path);

}  // namespace tolvane
