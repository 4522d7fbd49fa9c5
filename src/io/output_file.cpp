// A half-made output has a name for as long as the work takes, so the register of unfinished files knows it too.
#include "io/output_file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "io/file_names.h"
#include "io/spool.h"
#include "io/unfinished_files.h"
#include "support/replace_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|output_file|9|01|1|0|0|11/23/26|04:30:00";

mode_t new_file_mode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

// Makes the new name last through a crash of the machine.
void sync_directory(const std::string &path) {
  const Descriptor directory(open(directory_of(path).c_str(), O_RDONLY | O_DIRECTORY));
  if (directory) fsync(directory.get());
}

}  // namespace

bool keep_rights(const std::string &path, const struct stat &old) {
  // Only root may give files away, but others may give them one of their groups. Where neither goes, it is no failure.
  for (const uid_t owner : {old.st_uid, geteuid()}) {
    if (chown(path.c_str(), owner, old.st_gid) == 0) break;
  }
  return chmod(path.c_str(), old.st_mode & 07777) == 0;
}

OutputFile::~OutputFile() {
  if (working_path_.empty()) return;
  unlink(working_path_.c_str());
  forget_unfinished_file(working_path_);
}

Status OutputFile::open(const std::string &path) {
  name_ = path == "-" ? "standard output" : path;
  struct stat status;
  const bool exists = path != "-" && stat(path.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) return failure("%s: %s", name(), strerror(EISDIR));
  if (path == "-" || (exists && !S_ISREG(status.st_mode))) {
    final_path_ = path;
    fd_ = open_spool("");
    return fd_ ? DONE : system_failure(name());
  }
  if (exists && access(path.c_str(), W_OK)) return system_failure(name());
  // The target of a link is replaced, not the link.
  const Block<char> target(exists ? realpath(path.c_str(), nullptr) : nullptr);
  final_path_ = target ? target.get() : path;
  std::string working = directory_of(final_path_) + "/.tolvane-XXXXXX";
  fd_.reset(make_unfinished_file(working));
  if (!fd_) return system_failure(name());
  working_path_ = working;
  const bool done = exists ? keep_rights(working, status) : fchmod(fd(), new_file_mode()) == 0;
  return done ? DONE : system_failure(name());
}

Status OutputFile::write_through() {
  Descriptor target(final_path_ == "-" ? dup(STDOUT_FILENO) : ::open(final_path_.c_str(), O_WRONLY));
  if (!target || lseek(fd(), 0, SEEK_SET) < 0 || !copy_bytes(fd(), target.get(), -1)) return system_failure(name());
  return close(target.release()) ? system_failure(name()) : DONE;
}

Status OutputFile::commit() {
  if (working_path_.empty()) return write_through();
  if (fsync(fd())) return system_failure(name());
  if (rename(working_path_.c_str(), final_path_.c_str())) return system_failure(name());
  forget_unfinished_file(working_path_);
  working_path_.clear();
  sync_directory(final_path_);
  return DONE;
}

}  // namespace tolvane
