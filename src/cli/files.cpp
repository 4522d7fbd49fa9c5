// Whole inputs in memory, and outputs that appear complete or not at all. What the bytes mean is no business of this
// module. A half-made output has a name for the length of the work, so a signal handler knows that name too.
#include "cli/files.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <utility>

#include "support/handle.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|files|9|01|1|0|0|11/22/26|21:30:00";

constexpr size_t COPY_BLOCK = 1 << 16;

constexpr int endings[] = {SIGINT, SIGTERM, SIGHUP};
char unfinished[4][4096];  // outputs in the making, for the signal handler; an empty name is a free slot

void remove_unfinished(int signal_number) {
  for (const char *path : unfinished) {
    if (*path) unlink(path);
  }
  signal(signal_number, SIG_DFL);
  raise(signal_number);
}

/// Makes the file that `path`, ending in XXXXXX, names, and notes its name. A signal that comes in between waits.
int make_unfinished(std::string &path) {
  sigset_t waiting, before;
  sigemptyset(&waiting);
  for (const int ending : endings) sigaddset(&waiting, ending);
  sigprocmask(SIG_BLOCK, &waiting, &before);
  const int fd = mkostemp(path.data(), O_CLOEXEC);
  const int kept = errno;
  if (fd >= 0) note_unfinished_file(path);
  sigprocmask(SIG_SETMASK, &before, nullptr);
  errno = kept;
  return fd;
}

/// A descriptor that can be mapped for whatever `fd` is: a pipe is copied to a nameless file first.
Descriptor seekable(Descriptor fd) {
  struct stat status;
  if (!fd || fstat(fd.get(), &status) || S_ISREG(status.st_mode)) return fd;
  if (S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    return Descriptor();
  }
  Descriptor spool(open_spool(""));
  if (spool && !copy_bytes(fd.get(), spool.get(), -1)) return Descriptor();
  return spool;
}

mode_t new_file_mode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

/// Makes the new name last through a crash of the machine.
void sync_directory(const std::string &path) {
  const Descriptor directory(open(directory_of(path).c_str(), O_RDONLY | O_DIRECTORY));
  if (directory) fsync(directory.get());
}

/// The place of the number in a pattern: from its `%` to behind its `d`. Empty if there is not exactly one.
std::pair<size_t, size_t> number_place(const std::string &pattern) {
  const size_t percent = pattern.find('%');
  if (percent == std::string::npos) return {0, 0};
  const size_t letter = pattern.find_first_not_of("0123456789", percent + 1);
  if (letter == std::string::npos || pattern[letter] != 'd' || letter - percent > 3) return {0, 0};
  if (pattern.find('%', letter) != std::string::npos) return {0, 0};
  return {percent, letter + 1};
}

}  // namespace

void note_unfinished_file(const std::string &path) {
  for (const int ending : endings) {
    // What was ignored, as by nohup, stays ignored.
    if (signal(ending, remove_unfinished) == SIG_IGN) signal(ending, SIG_IGN);
  }
  auto *slot = std::find_if(std::begin(unfinished), std::end(unfinished), [](const char *name) { return !*name; });
  if (slot != std::end(unfinished) && path.size() < sizeof *slot) strcpy(*slot, path.c_str());
}

void forget_unfinished_file(const std::string &path) {
  for (char *name : unfinished) {
    if (path == name) *name = 0;
  }
}

int keep_rights(const std::string &path, const struct stat &old) {
  // Only root may give files away, but others may give them one of their groups. Where neither goes, it is no failure.
  for (const uid_t owner : {old.st_uid, geteuid()}) {
    if (chown(path.c_str(), owner, old.st_gid) == 0) break;
  }
  return chmod(path.c_str(), old.st_mode & 07777) == 0;
}

bool same_file(const std::string &one, const std::string &other) {
  std::error_code failed;
  return std::filesystem::equivalent(one, other, failed);
}

bool is_numbered_pattern(const std::string &pattern) {
  return number_place(pattern).second != 0;
}

std::string numbered_name(const std::string &pattern, int32_t number) {
  const auto [begin, end] = number_place(pattern);
  const std::string width = pattern.substr(begin + 1, end - begin - 2);
  std::string digits = std::to_string(number);
  const size_t wanted = width.empty() ? 0 : std::stoul(width);
  if (digits.size() < wanted) digits.insert(0, wanted - digits.size(), width[0] == '0' ? '0' : ' ');
  return pattern.substr(0, begin) + digits + pattern.substr(end);
}

std::string directory_of(const std::string &path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

int open_spool(const std::string &beside) {
  const char *temporary = getenv("TMPDIR");
  if (!temporary || !*temporary) temporary = "/tmp";
  std::string name = (beside.empty() ? temporary : directory_of(beside)) + "/.tolvane-XXXXXX";
  const int fd = mkostemp(name.data(), O_CLOEXEC);
  if (fd >= 0) unlink(name.c_str());
  return fd;
}

int copy_bytes(int source, int target, off_t count) {
  char block[COPY_BLOCK];
  while (count != 0) {
    const size_t wanted =
        count < 0 ? COPY_BLOCK : static_cast<size_t>(std::min<off_t>(count, static_cast<off_t>(COPY_BLOCK)));
    const ssize_t got = read_fully(source, block, wanted);
    if (got < 0 || !write_fully(target, block, static_cast<size_t>(got))) return 0;
    if (static_cast<size_t>(got) < wanted) {
      errno = 0;
      return count < 0;
    }
    if (count > 0) count -= got;
  }
  return 1;
}

InputFile::~InputFile() {
  if (data_) munmap(const_cast<uint8_t *>(data_), size_);
}

int open_input(const std::string &path) {
  Descriptor fd = seekable(Descriptor(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY)));
  struct stat status;
  if (!fd || fstat(fd.get(), &status)) {
    system_failure(input_name(path).c_str());
    return -1;
  }
  if (status.st_size == 0) {
    complain("%s: the file is empty", input_name(path).c_str());
    return -1;
  }
  return fd.release();
}

std::string input_name(const std::string &path) {
  return path == "-" ? "standard input" : path;
}

Status InputFile::open(const std::string &path) {
  name_ = input_name(path);
  const Descriptor fd(open_input(path));
  struct stat status;
  if (!fd) return FAILED;
  if (fstat(fd.get(), &status)) return system_failure(name());
  size_ = static_cast<size_t>(status.st_size);
  void *mapping = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd.get(), 0);
  if (mapping == MAP_FAILED) return system_failure(name());
  data_ = static_cast<const uint8_t *>(mapping);
  return DONE;
}

OutputFile::~OutputFile() {
  if (!working_path_.empty()) {
    unlink(working_path_.c_str());
    forget_unfinished_file(working_path_);
  }
  if (fd_ >= 0) close(fd_);
}

Status OutputFile::open(const std::string &path) {
  name_ = path == "-" ? "standard output" : path;
  struct stat status;
  const bool exists = path != "-" && stat(path.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) return failure("%s: %s", name(), strerror(EISDIR));
  if (path == "-" || (exists && !S_ISREG(status.st_mode))) {
    final_path_ = path;
    fd_ = open_spool("");
    return fd_ < 0 ? system_failure(name()) : DONE;
  }
  if (exists && access(path.c_str(), W_OK)) return system_failure(name());
  // A link keeps pointing: it is its target that is replaced.
  const Block<char> target(exists ? realpath(path.c_str(), nullptr) : nullptr);
  final_path_ = target ? target.get() : path;
  std::string working = directory_of(final_path_) + "/.tolvane-XXXXXX";
  fd_ = make_unfinished(working);
  if (fd_ < 0) return system_failure(name());
  working_path_ = working;
  const bool done = exists ? keep_rights(working, status) : fchmod(fd_, new_file_mode()) == 0;
  return done ? DONE : system_failure(name());
}

Status OutputFile::write_through() {
  Descriptor target(final_path_ == "-" ? dup(STDOUT_FILENO) : ::open(final_path_.c_str(), O_WRONLY));
  if (!target || lseek(fd_, 0, SEEK_SET) < 0 || !copy_bytes(fd_, target.get(), -1)) return system_failure(name());
  return close(target.release()) ? system_failure(name()) : DONE;
}

Status OutputFile::commit() {
  if (working_path_.empty()) return write_through();
  if (fsync(fd_)) return system_failure(name());
  if (rename(working_path_.c_str(), final_path_.c_str())) return system_failure(name());
  forget_unfinished_file(working_path_);
  working_path_.clear();
  sync_directory(final_path_);
  return DONE;
}

}  // namespace tolvane
