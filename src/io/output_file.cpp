// Outputs that are complete or not there. If a file being written has a name, the register of unfinished files knows
// it.
#include "io/output_file.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <vector>

#include "io/endings.h"
#include "support/handle.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|output_file|9|01|5|0|0|11/23/26|14:11:53";

constexpr char FAULT[] = "cannot be written";

// The descriptor for writing that a path names, by itself or through links; -1 if it names a file. A file that has the
// descriptor is not replaced: whoever opened it goes on writing where this output ends.
int named_descriptor(std::string path) {
  constexpr std::string_view DIRECTORIES[] = {"/dev/fd/", "/proc/self/fd/"};
  constexpr int LINKS_FOLLOWED_MAX = 40;  // as the kernel
  for (int links = 0; links < LINKS_FOLLOWED_MAX; ++links) {
    for (const std::string_view directory : DIRECTORIES) {
      int fd = -1;
      const char *end = path.data() + path.size();
      if (!path.starts_with(directory) || std::from_chars(path.data() + directory.size(), end, fd).ptr != end) continue;
      return (fcntl(fd, F_GETFL) & O_ACCMODE) == O_WRONLY ? fd : -1;
    }
    std::error_code failed;
    const std::filesystem::path target = std::filesystem::read_symlink(path, failed);
    if (failed) break;
    path = (std::filesystem::path(path).parent_path() / target).string();
  }
  return -1;
}

constexpr WorkingNames UNFINISHED = {make_unfinished_file, forget_unfinished_file};

}  // namespace

bool NoClobber = false;

Status check_clobber(const std::string &path) {
  struct stat status;
  if (!NoClobber || path == "-" || stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return DONE;
  return failure("%s exists: not replaced", path.c_str());
}

// Reports errno.
Status OutputFile::fault() const {
  const int error = errno;
  if (error == EEXIST && check_clobber(path_) != DONE) return FAILED;
  errno = error;
  return system_failure(name(), FAULT);
}

Status OutputFile::open(const std::string &path, bool needs_name) {
  path_ = path;
  name_ = path == "-" ? "standard output" : path;
  descriptor_ = path == "-" ? STDOUT_FILENO : named_descriptor(path);
  struct stat status;
  const bool is_open = descriptor_ >= 0, exists = !is_open && stat(path.c_str(), &status) == 0;
  if (is_open && fcntl(descriptor_, F_GETFD) < 0) return system_failure(name(), FAULT);
  if (!is_open && !exists && errno != ENOENT) return system_failure(name(), FAULT);
  if (exists && S_ISDIR(status.st_mode)) return failure("%s: %s: %s", name(), FAULT, strerror(EISDIR));
  if (is_open || (exists && !S_ISREG(status.st_mode))) {
    spool_ = open_spool(nullptr);
    return spool_ ? DONE : system_failure(name(), "no temporary file can be made for it (see TMPDIR)");
  }
  if (exists && !NoClobber && access(path.c_str(), W_OK)) return system_failure(name(), FAULT);
  return file_.begin(path.c_str(), {nullptr, needs_name, &UNFINISHED, NoClobber}) ? DONE : fault();
}

Status OutputFile::write_through() {
  Descriptor target(descriptor_ >= 0 ? dup(descriptor_) : ::open(path_.c_str(), O_WRONLY));
  if (!target || lseek(fd(), 0, SEEK_SET) < 0 || !copy_bytes(fd(), target.get(), -1))
    return system_failure(name(), FAULT);
  return close(target.release()) ? system_failure(name(), FAULT) : DONE;
}

Status OutputFile::commit() {
  const Status status = spool_ ? write_through() : file_.commit() ? DONE : fault();
  if (status == DONE) say_verbose("%s: written", name());
  return status;
}

Status OutputBatch::open(const std::string &path) {
  return files_.emplace_back().open(path);
}

Status OutputBatch::close() {
  complete_ = files_.size();
  return complete_ < most_ ? DONE : commit();
}

Status OutputBatch::close_alone(const std::function<Status(OutputFile &file)> &commit_file) {
  if (commit() != DONE || commit_file(file()) != DONE) return FAILED;
  files_.pop_back();
  return DONE;
}

Status OutputBatch::commit() {
  std::vector<Replacement *> replacements;
  Status status = DONE;
  for (size_t i = 0; i < complete_; ++i) {
    if (!files_[i].spool_) replacements.push_back(&files_[i].file_);
  }
  size_t named = Replacement::commit_all(replacements);
  const int error = errno;
  for (; complete_ > 0 && status == DONE; --complete_, files_.pop_front()) {
    OutputFile &file = files_.front();
    if (file.spool_) {
      status = file.write_through();
    } else if (named == 0) {
      errno = error;
      status = file.fault();
    } else {
      --named;
    }
    if (status == DONE) say_verbose("%s: written", file.name());
  }
  if (status == DONE) return DONE;
  files_.clear();
  complete_ = 0;
  return FAILED;
}

}  // namespace tolvane
