// The way out of every procedure, and whole reads and writes. What a file holds is no business of this module. Closing
// keeps errno: the handles go out of scope on the failure paths, before the caller has looked at it.
#include "support/handle.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|handle|9|01|1|0|0|11/22/26|21:05:00";
}

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
    if (put < 0) return 0;
    done += static_cast<size_t>(put);
  }
  return 1;
}

}  // namespace tolvane
