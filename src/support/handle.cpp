// Closing on every way out of a procedure, and whole reads and writes. Closing keeps errno: the handles go out of scope
// on the failure paths, before the caller has read it.
#include "support/handle.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|handle|9|01|3|0|0|11/23/26|08:16:47";

constexpr size_t COPY_BLOCK = 1 << 16;
}  // namespace

int Descriptor::release() {
  return std::exchange(fd_, -1);
}

void Descriptor::reset(int fd) {
  const int old = std::exchange(fd_, fd);
  if (old < 0 || old == fd) return;
  const int kept = errno;
  close(old);
  errno = kept;
}

Descriptor above_standard_streams(Descriptor file) {
  if (!file || file.get() > STDERR_FILENO) return file;
  return Descriptor(fcntl(file.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

ssize_t read_fully(int fd, void *buffer, size_t count) {
  size_t done = 0;
  while (done < count) {
    const ssize_t got = read(fd, static_cast<char *>(buffer) + done, count - done);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return -1;
    if (got == 0) break;
    done += static_cast<size_t>(got);
  }
  return static_cast<ssize_t>(done);
}

int write_fully(int fd, const void *buffer, size_t count) {
  size_t done = 0;
  while (done < count) {
    const ssize_t put = write(fd, static_cast<const char *>(buffer) + done, count - done);
    if (put < 0 && errno == EINTR) continue;
    if (put == 0) errno = EIO;
    if (put <= 0) return 0;
    done += static_cast<size_t>(put);
  }
  return 1;
}

bool copy_bytes(int source, int target, off_t count, bool *unreadable) {
  char block[COPY_BLOCK];
  while (count != 0) {
    const size_t wanted =
        count < 0 ? COPY_BLOCK : static_cast<size_t>(std::min<off_t>(count, static_cast<off_t>(COPY_BLOCK)));
    const ssize_t got = read_fully(source, block, wanted);
    const bool ended = got >= 0 && static_cast<size_t>(got) < wanted;
    if (unreadable) *unreadable = got < 0 || (ended && count > 0);
    if (got < 0 || !write_fully(target, block, static_cast<size_t>(got))) return false;
    if (ended) {
      errno = 0;
      return count < 0;
    }
    if (count > 0) count -= got;
  }
  return true;
}

}  // namespace tolvane
