// Replacing a file whole, and files without a name. Nothing here knows what the files contain.
//
// A new file is written beside the one it replaces and takes its name in one step, once it is on disk: at every moment
// the path names the whole old file or the whole new one. Where the file system allows, the new file has no name until
// it is complete (O_TMPFILE), so that a process that is killed leaves nothing behind.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "handle.h"

namespace tolvane {

/// Knows the names of files that are not complete, for a signal handler that removes them.
struct WorkingNames {
  /// Calls `make`, which gives a file its name, while the handler waits. Returns its result: with true, the name is
  /// known.
  bool (*add)(const char *path, const std::function<bool()> &make);
  /// Called after a file has lost its name.
  void (*remove)(const char *path);
};

struct ReplacementOptions {
  const char *working_name = nullptr;  ///< path that the incomplete file has; a file of that name is removed first
  bool needs_name = false;             ///< the incomplete file has a name, for operations that take a path
  const WorkingNames *names = nullptr;
  bool keeps_existing = false;   ///< no file is replaced: if there is one, `begin` or `commit` fails with EEXIST
  std::optional<mode_t> mode{};  ///< of the file, set before it has its name; without: as `commit` says
};

/// A file that replaces another one, or is new. All operations set errno on failure.
class Replacement {
 public:
  Replacement() = default;
  /// Removes the file unless `commit` succeeded.
  ~Replacement() { discard(); }
  Replacement(const Replacement &) = delete;
  Replacement &operator=(const Replacement &) = delete;

  /// Makes an empty file, open for reading and writing, in the directory of `path`. If `path` is a symbolic link, its
  /// target is replaced and the link stays.
  ///
  /// @return false if `path` is there and not a regular file, or the directory takes no new file; the name of the
  ///         incomplete file is ENAMETOOLONG or EEXIST
  bool begin(const char *path, const ReplacementOptions &options = {});
  int fd() const { return file_.get(); }
  /// Whether there was a file at `begin`.
  bool replaces() const { return replaces_; }
  /// The path of the incomplete file; empty while it has none.
  const char *working_path() const { return working_path_.c_str(); }

  /// Puts the file on disk and gives it the name. A file that replaces another one gets its mode, and its owner and
  /// group as far as the process may set them: with another group, that group and all others have the rights that both
  /// the old group and all others had. The mode of a new one follows from the process mask. Hard links of the replaced
  /// file keep the old content. The directory is put on disk last, where it can be; a fault there is no failure, since
  /// the old file has lost the name.
  ///
  /// @return false with the old file as it was
  bool commit();
  /// Commits files one after another, as `commit` does, but waits for the disk once for all of them where the file
  /// system allows: no file gets its name before all are on disk.
  ///
  /// @return how many have their names; if not all, errno is set and the others are as they were
  static size_t commit_all(std::span<Replacement *const> files);
  /// Removes the file. A Replacement can begin again.
  void discard();
  /// Leaves the incomplete file under its working name.
  void leave();

 private:
  bool create();
  bool create_named(const std::string &name, mode_t mode);
  bool link_to(const std::string &name);
  bool link_new_name();
  bool give_name();
  static bool put_on_disk(std::span<Replacement *const> files);
  bool take_name();
  bool keep_rights() const;
  bool set_rights() const;
  bool add_working_path(const std::string &path, const std::function<bool()> &make);
  void remove_working_path();

  Descriptor file_;
  ReplacementOptions options_;
  std::string path_, directory_, working_path_;
  bool replaces_ = false;
  struct stat replaced_ = {};
};

/// An empty file without a name, open for reading and writing, gone when it is closed. Its descriptor is above those of
/// the standard streams.
///
/// It lies in the directory of the file that it serves, whose file system has room for such data. If that directory
/// takes no new file, or there is none, it lies in the directory of the environment variable SORBEXTMP, or of TMPDIR,
/// or in /tmp: the first of the variables that is set and not empty decides.
///
/// @param beside  path of the file that the spool serves, or null
/// @return none with errno set if it can't be made
Descriptor open_spool(const char *beside);
/// The same for an open file.
Descriptor open_spool(int beside);

/// The path under which an open file was opened, or has now; empty for a pipe. A file without a name gives a path that
/// does not exist.
std::string path_of_descriptor(int fd);

/// The directory part of a path: "." if it has none.
std::string directory_of(const std::string &path);

}  // namespace tolvane
