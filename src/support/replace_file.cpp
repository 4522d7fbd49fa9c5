// Files that appear complete or not at all. `rename` replaces a file in one step and `linkat` does not, so a nameless
// file that replaces another one gets a name of its own for the moment between the two.
#include "support/replace_file.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/random.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <iterator>
#include <utility>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|replace_file|9|01|5|0|0|11/23/26|14:11:53";

constexpr int NAME_ATTEMPTS = 100;
constexpr int LINKS_FOLLOWED_MAX = 40;  // as the kernel

// The path of an open file for calls that take a path; /proc leads to it even if it has no name.
std::string descriptor_path(int fd) {
  return "/proc/self/fd/" + std::to_string(fd);
}

// The path that symbolic links lead to, whether it exists or not.
std::string follow_links(std::string path) {
  char target[PATH_MAX];
  for (int links = 0; links < LINKS_FOLLOWED_MAX; ++links) {
    const ssize_t length = readlink(path.c_str(), target, sizeof target);
    if (length < 0 || length == sizeof target) break;
    const std::string name(target, static_cast<size_t>(length));
    path = name.starts_with('/') ? name : directory_of(path) + '/' + name;
  }
  return path;
}

std::string unpredictable_name(const std::string &directory) {
  constexpr char DIGITS[] = "abcdefghijklmnopqrstuvwxyz234567";
  unsigned char random[12] = {};
  [[maybe_unused]] const int filled = getentropy(random, sizeof random);  // O_EXCL is what keeps names apart
  std::string name = directory + "/.tolvane-";
  for (const unsigned char byte : random) name += DIGITS[byte % 32];
  return name;
}

Descriptor open_nameless(const std::string &directory, mode_t mode) {
  return above_standard_streams(Descriptor(open(directory.c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, mode)));
}

const char *temporary_directory() {
  for (const char *variable : {"SORBEXTMP", "TMPDIR"}) {
    const char *value = getenv(variable);
    if (value && *value) return value;
  }
  return "/tmp";
}

// Whether `syncfs` puts all files of the file system on disk and reports faults, as on the kernel's own local ones. One
// with a server of its own may keep them in that.
bool syncs_as_a_whole(int fd) {
  constexpr unsigned long LOCAL[] = {EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC, BTRFS_SUPER_MAGIC,
                                     F2FS_SUPER_MAGIC, TMPFS_MAGIC,     OVERLAYFS_SUPER_MAGIC};
  struct statfs system = {};
  return fstatfs(fd, &system) == 0 &&
         std::find(std::begin(LOCAL), std::end(LOCAL), static_cast<unsigned long>(system.f_type)) != std::end(LOCAL);
}

Descriptor open_spool_in(const std::string &directory) {
  constexpr mode_t PRIVATE = 0600;
  Descriptor file = open_nameless(directory, PRIVATE);
  for (int attempt = 0; !file && attempt < NAME_ATTEMPTS; ++attempt) {
    const std::string name = unpredictable_name(directory);
    file.reset(open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, PRIVATE));
    if (file)
      unlink(name.c_str());
    else if (errno != EEXIST)
      break;
  }
  return above_standard_streams(std::move(file));
}
}  // namespace

bool Replacement::begin(const char *path, const ReplacementOptions &options) {
  discard();
  options_ = options;
  path_ = follow_links(path);
  directory_ = directory_of(path_);
  replaces_ = stat(path_.c_str(), &replaced_) == 0;
  if (!replaces_ && errno != ENOENT) return false;
  if (replaces_ && !S_ISREG(replaced_.st_mode)) {
    errno = S_ISDIR(replaced_.st_mode) ? EISDIR : EINVAL;
    return false;
  }
  if (replaces_ && options_.keeps_existing) {
    errno = EEXIST;
    return false;
  }
  return create();
}

bool Replacement::create() {
  const mode_t mode = replaces_ || options_.mode ? 0600 : 0666;  // what is not for all comes with `commit`
  if (options_.working_name) {
    if (unlink(options_.working_name) != 0 && errno != ENOENT) return false;
    return create_named(options_.working_name, mode);
  }
  if (!options_.needs_name) {
    file_ = open_nameless(directory_, mode);
    if (file_ && access(descriptor_path(file_.get()).c_str(), F_OK) == 0) return true;
  }
  for (int attempt = 0; attempt < NAME_ATTEMPTS; ++attempt) {
    if (create_named(unpredictable_name(directory_), mode)) return true;
    if (errno != EEXIST) break;
  }
  return false;
}

bool Replacement::create_named(const std::string &name, mode_t mode) {
  Descriptor made;
  const auto make = [&] {
    made.reset(open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    return !!made;
  };
  if (!add_working_path(name, make)) return false;
  file_ = above_standard_streams(std::move(made));
  if (!file_) discard();
  return !!file_;
}

bool Replacement::link_to(const std::string &name) {
  return linkat(AT_FDCWD, descriptor_path(file_.get()).c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

// Gives a nameless file a name that `rename` can start from.
bool Replacement::link_new_name() {
  for (int attempt = 0; attempt < NAME_ATTEMPTS; ++attempt) {
    const std::string name = unpredictable_name(directory_);
    if (add_working_path(name, [&] { return link_to(name); })) return true;
    if (errno != EEXIST) break;
  }
  return false;
}

// Renames the incomplete file. File systems that cannot do that without replacing another file have hard links.
bool Replacement::give_name() {
  const char *from = working_path_.c_str(), *to = path_.c_str();
  if (!options_.keeps_existing) return rename(from, to) == 0;
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
  return errno == EINVAL && link(from, to) == 0 && unlink(from) == 0;
}

// Only the super-user may give files away, but others may give them one of their groups; where neither is allowed, that
// is no failure. The rights of a set-user-ID file don't go to another user, nor those of a group to another group.
// That and all others, who now include the old group, then have what both the old group and all others had.
bool Replacement::keep_rights() const {
  const int fd = file_.get();
  const bool same_owner = fchown(fd, replaced_.st_uid, replaced_.st_gid) == 0;
  struct stat now = {};
  const bool same_group = same_owner || fchown(fd, static_cast<uid_t>(-1), replaced_.st_gid) == 0 ||
                          (fstat(fd, &now) == 0 && now.st_gid == replaced_.st_gid);
  mode_t mode = replaced_.st_mode & (same_owner ? 07777 : 0777);
  const mode_t both = mode >> 3 & mode & S_IRWXO;
  if (!same_group) mode = (mode & ~mode_t{S_IRWXG | S_IRWXO}) | both << 3 | both;
  return fchmod(fd, mode) == 0;
}

bool Replacement::set_rights() const {
  if (replaces_ && !keep_rights()) return false;
  return !options_.mode || fchmod(file_.get(), *options_.mode) == 0;
}

bool Replacement::commit() {
  Replacement *const files[] = {this};
  return commit_all(files) == 1;
}

// Syncs each of a few files, and the file system of many: that takes no longer than two or three files.
bool Replacement::put_on_disk(std::span<Replacement *const> files) {
  constexpr size_t FEW = 3;
  dev_t synced = 0;  // the file system synced last, if any
  bool any_synced = false;
  for (const Replacement *file : files) {
    struct stat status = {};
    if (files.size() > FEW && fstat(file->fd(), &status) == 0) {
      if (any_synced && status.st_dev == synced) continue;
      any_synced = syncs_as_a_whole(file->fd());
      synced = status.st_dev;
    }
    if ((any_synced ? syncfs(file->fd()) : fsync(file->fd())) != 0) return false;
  }
  return true;
}

size_t Replacement::commit_all(std::span<Replacement *const> files) {
  for (const Replacement *file : files)
    if (!file->set_rights()) return 0;
  if (!put_on_disk(files)) return 0;
  const auto named = std::find_if(files.begin(), files.end(), [](Replacement *file) { return !file->take_name(); });
  const int fault = errno;
  const std::string *synced = nullptr;
  for (auto file = files.begin(); file != named; ++file) {
    const std::string &name = (*file)->directory_;
    if (synced && *synced == name) continue;
    // A file system that can't sync a directory is no failure: the file has its name either way.
    const Descriptor directory(open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory) fsync(directory.get());
    synced = &name;
  }
  errno = fault;
  return static_cast<size_t>(named - files.begin());
}

bool Replacement::take_name() {
  const bool nameless = working_path_.empty();
  const bool linked = nameless && !replaces_ && link_to(path_);
  if (!linked) {
    if (nameless && options_.keeps_existing && errno == EEXIST) return false;
    if (nameless && !link_new_name()) return false;
    if (!give_name()) return false;
    remove_working_path();
  }
  return true;
}

void Replacement::discard() {
  if (!working_path_.empty()) {
    const int kept = errno;
    unlink(working_path_.c_str());
    remove_working_path();
    errno = kept;
  }
  file_.reset();
}

void Replacement::leave() {
  working_path_.clear();
  file_.reset();
}

// The path is kept first, so that there is memory for it.
bool Replacement::add_working_path(const std::string &path, const std::function<bool()> &make) {
  working_path_ = path;
  const bool made = options_.names ? options_.names->add(path.c_str(), make) : make();
  if (!made) working_path_.clear();
  return made;
}

void Replacement::remove_working_path() {
  if (options_.names) options_.names->remove(working_path_.c_str());
  working_path_.clear();
}

Descriptor open_spool(const char *beside) {
  Descriptor file;
  if (beside) file = open_spool_in(directory_of(beside));
  return file ? std::move(file) : open_spool_in(temporary_directory());
}

Descriptor open_spool(int beside) {
  const std::string path = path_of_descriptor(beside);
  return open_spool(path.empty() ? nullptr : path.c_str());
}

std::string path_of_descriptor(int fd) {
  char path[PATH_MAX];
  const ssize_t length = readlink(descriptor_path(fd).c_str(), path, sizeof path);
  return length > 0 && *path == '/' ? std::string(path, static_cast<size_t>(length)) : "";  // a pipe is of another form
}

std::string directory_of(const std::string &path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace tolvane
