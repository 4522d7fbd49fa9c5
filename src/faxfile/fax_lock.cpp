// Each lock is a range of bytes: the edit lock one far beyond the end of any file, the header lock the preamble.
// Nothing here reads or writes a fax file.
#include "faxfile/fax_lock.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "support/replace_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|fax_lock|9|01|3|0|0|11/23/26|12:13:55";

constexpr off_t EDIT_LOCK_PLACE = off_t{1} << 62;

// Ten seconds for those who lock for reading. Whoever writes looks often, since readers that come and go leave short
// moments.
constexpr int WRITER_TRIES = 10 * 1000;
constexpr timespec WRITER_PAUSE = {0, 1000 * 1000};

// The edit locks that this process holds, so that a lock within a lock on one descriptor is counted: the system would
// end both at once. A lock that finds no slot is taken and not counted.
struct HeldLock {
  int32_t fd;
  int depth;
};
HeldLock held_locks[64];
std::mutex held_locks_mutex;

HeldLock *find_held(int32_t fd) {
  return std::find_if(std::begin(held_locks), std::end(held_locks),
                      [fd](const HeldLock &held) { return held.depth > 0 && held.fd == fd; });
}

struct flock lock_of(short type, off_t start, off_t length) {
  struct flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = start;
  lock.l_len = length;
  return lock;
}

int set_lock(int32_t fd, int command, short type, off_t start, off_t length) {
  struct flock lock = lock_of(type, start, length);
  int result;
  do result = fcntl(fd, command, &lock);
  while (result != 0 && errno == EINTR);
  return result;
}

bool is_held_by_another() {
  return errno == EAGAIN || errno == EACCES;
}

// Whether what keeps the edit lock from a descriptor is a lock for reading. No editor has one.
bool is_held_for_reading(int32_t fd) {
  struct flock lock = lock_of(F_WRLCK, EDIT_LOCK_PLACE, 1);
  return fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type == F_RDLCK;
}
}  // namespace

bool FaxEditLock::take(int32_t fd, bool wait) {
  release();
  if (fd < 0) return true;
  {
    const std::lock_guard guard(held_locks_mutex);
    if (HeldLock *held = find_held(fd); held != std::end(held_locks)) {
      ++held->depth;
      fd_ = fd;
      return true;
    }
  }
  int tries = 0;
  while (set_lock(fd, F_OFD_SETLK, F_WRLCK, EDIT_LOCK_PLACE, 1) != 0 && is_held_by_another()) {
    const bool for_reading = is_held_for_reading(fd);
    errno = for_reading ? EBUSY : EAGAIN;
    if (!wait || (for_reading && ++tries == WRITER_TRIES)) return false;
    nanosleep(&WRITER_PAUSE, nullptr);
  }
  const std::lock_guard guard(held_locks_mutex);
  HeldLock *free_slot =
      std::find_if(std::begin(held_locks), std::end(held_locks), [](const HeldLock &held) { return held.depth == 0; });
  if (free_slot != std::end(held_locks)) *free_slot = {fd, 1};
  fd_ = fd;
  return true;
}

void FaxEditLock::release() {
  if (fd_ < 0) return;
  const int kept = errno;
  const std::lock_guard guard(held_locks_mutex);
  HeldLock *held = find_held(fd_);
  if (held == std::end(held_locks) || --held->depth == 0) set_lock(fd_, F_OFD_SETLK, F_UNLCK, EDIT_LOCK_PLACE, 1);
  fd_ = -1;
  errno = kept;
}

namespace {
// Opens the fax file that has replaced the one that is open, with the access of that; none if it has not been replaced,
// or was removed. False with errno set if that cannot be seen, or something else has the name.
bool open_successor(int32_t fd, Descriptor &successor) {
  constexpr std::string_view DELETED = " (deleted)";
  // A hard link keeps a replaced file alive, but not the name under which it was opened.
  std::string path = path_of_descriptor(fd);
  if (!path.ends_with(DELETED) || is_file_at(fd, path.c_str())) return true;
  path.resize(path.size() - DELETED.size());
  const bool reads_only = (fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDONLY;
  Descriptor opened(open(path.c_str(), (reads_only ? O_RDONLY : O_RDWR) | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!opened) return errno == ENOENT;
  uint32_t magic;
  const ssize_t got = readLongFlipped(opened.get(), &magic);
  if (got < 0) return false;
  if (got != FAXFILE_WORD || magic != FAXFILE_MAGIC) {
    errno = EINVAL;
    return false;
  }
  successor = std::move(opened);
  return true;
}
}  // namespace

bool take_to_change(FaxEditLock &lock, int32_t fd) {
  for (;;) {
    if (!lock.take(fd)) return false;
    Descriptor successor;
    const bool seen = open_successor(fd, successor);
    if (seen && !successor) return true;
    lock.release();
    if (!seen) return false;
    if (dup3(successor.get(), fd, O_CLOEXEC) < 0) return false;
  }
}

bool is_file_at(int32_t fd, const char *path) {
  struct stat open_file, named;
  return fstat(fd, &open_file) == 0 && stat(path, &named) == 0 && open_file.st_dev == named.st_dev &&
         open_file.st_ino == named.st_ino;
}

int32_t open_locked(const char *path, FaxEditLock &lock, void (*waiting)(const char *path)) {
  Descriptor file;
  do {
    lock.release();
    struct stat status;
    if (stat(path, &status) != 0) return -1;
    if (!S_ISREG(status.st_mode)) {
      errno = EINVAL;
      return -1;
    }
    file = above_standard_streams(Descriptor(open(path, O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)));
    if (!file) return -1;
    if (lock.take(file.get(), false)) continue;
    if (waiting && errno == EAGAIN) waiting(path);
    if (!lock.take(file.get())) return -1;
  } while (!is_file_at(file.get(), path));
  return file.release();
}

FaxHeaderLock::FaxHeaderLock(int32_t fd, Kind kind) : fd_(fd) {
  const bool reads = kind == Kind::shared;
  const int tries = reads ? 100 : WRITER_TRIES;
  const timespec pause = reads ? timespec{0, 10 * 1000 * 1000} : WRITER_PAUSE;
  for (int i = 0; i < tries; ++i) {
    if (set_lock(fd, F_OFD_SETLK, reads ? F_RDLCK : F_WRLCK, 0, FAXFILE_PREAMBLE) == 0 || !is_held_by_another()) return;
    nanosleep(&pause, nullptr);
  }
  held_ = false;
  errno = EAGAIN;
}

FaxHeaderLock::~FaxHeaderLock() {
  const int kept = errno;
  set_lock(fd_, F_OFD_SETLK, F_UNLCK, 0, FAXFILE_PREAMBLE);
  errno = kept;
}

}  // namespace tolvane
