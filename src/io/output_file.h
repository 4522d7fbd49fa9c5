// Files to write, which appear complete or not at all. `-` is standard output.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>

#include "io/report.h"
#include "support/handle.h"
#include "support/replace_file.h"

namespace tolvane {

/// Set by `--no-clobber`: no file is replaced.
extern bool NoClobber;

/// Whether an output may have this path. DONE; FAILED after a message if there is a file that may not be replaced.
Status check_clobber(const std::string &path);

/// A file to write. It is made beside its final name and takes that name, replacing a file that has it, only in
/// `commit`; without `commit`, and when a signal ends the program, it is removed. The mode and owner of a file that is
/// replaced are kept. What cannot be replaced (standard output, a device, a pipe, a descriptor as /dev/fd/3) is written
/// to in `commit`, a descriptor from where it is.
class OutputFile {
 public:
  /// DONE with an empty file open for reading and writing, or FAILED after a message.
  ///
  /// @param needs_name  the file being made has a name, for operations that take one
  Status open(const std::string &path, bool needs_name = false);
  int fd() const { return spool_ ? spool_.get() : file_.fd(); }
  /// Whether it replaces a file that was there when it was opened.
  bool replaces() const { return file_.replaces(); }
  /// The path of the file being made, for operations that take one; empty if it has none.
  const char *working_path() const { return file_.working_path(); }
  /// For messages: the path, or "standard output".
  const char *name() const { return name_.c_str(); }

  /// DONE with the file complete and on disk under its name, or FAILED after a message with nothing changed.
  Status commit();

 private:
  friend class OutputBatch;
  Status write_through();
  Status fault() const;

  std::string name_, path_;
  Replacement file_;
  Descriptor spool_;     // in place of `file_` for what cannot be replaced
  int descriptor_ = -1;  // that the path names, if it is not a file
};

/// Many files to write, one after another. They are committed several at a time, which waits less for the disk than a
/// commit of each; those that are not complete are removed with the object.
class OutputBatch {
 public:
  /// @param most  files to commit at a time; as many descriptors are open
  explicit OutputBatch(size_t most = 64) : most_(most) {}

  /// Begins the next file, as `OutputFile::open`; the one before is complete.
  Status open(const std::string &path);
  /// The file begun last.
  OutputFile &file() { return files_.back(); }
  /// The file begun last is complete. DONE, or FAILED after a message: it or an earlier file could not be committed.
  Status close();
  /// The same, and it is committed by itself, by `commit_file`, after all before it.
  Status close_alone(const std::function<Status(OutputFile &file)> &commit_file);
  /// Commits all complete files; returns as `close`.
  Status commit();

 private:
  std::deque<OutputFile> files_;  // all but the last are complete
  size_t complete_ = 0, most_;
};

}  // namespace tolvane
