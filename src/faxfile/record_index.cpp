// A few files are remembered per thread: a document and what it includes. A file that was changed a moment ago is
// walked anew each time, since another change could leave the same times.
#include "faxfile/record_index.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "faxfile/header_text.h"
#include "faxfile/usorbport.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|record_index|9|01|1|0|0|11/23/26|05:50:00";

constexpr int64_t NANOSECONDS = 1000 * 1000 * 1000;
constexpr int64_t MOMENT = NANOSECONDS / 10;  // longer than the steps in which file systems count time

int64_t nanoseconds(const timespec &time) {
  return time.tv_sec * NANOSECONDS + time.tv_nsec;
}

// The places of the first records of one version of a file.
struct Walk {
  struct stat file = {};
  bool settled = false;  // the file had rested for a moment when the walk began
  std::unique_ptr<int64_t[]> offsets{};
  size_t count = 0;
  size_t capacity = 0;

  bool is_of(const struct stat &now) const {
    return settled && file.st_dev == now.st_dev && file.st_ino == now.st_ino && file.st_size == now.st_size &&
           nanoseconds(file.st_mtim) == nanoseconds(now.st_mtim) &&
           nanoseconds(file.st_ctim) == nanoseconds(now.st_ctim);
  }

  bool add(int64_t offset) {
    if (count == capacity) {
      const size_t wanted = std::max<size_t>(64, 2 * capacity);
      std::unique_ptr<int64_t[]> grown(new (std::nothrow) int64_t[wanted]);
      if (!grown) return false;
      std::copy_n(offsets.get(), count, grown.get());
      offsets = std::move(grown);
      capacity = wanted;
    }
    offsets[count++] = offset;
    return true;
  }

  bool begin(int32_t fd, const struct stat &now) {
    timespec clock;
    clock_gettime(CLOCK_REALTIME, &clock);
    file = now;
    settled = llabs(nanoseconds(clock) - nanoseconds(now.st_mtim)) > MOMENT;
    count = 0;
    int64_t first;
    return find_first_record(fd, &first) && add(first);
  }

  // Walks on over one record; false at the end of the file.
  bool go_on(int32_t fd) {
    const int64_t offset = offsets[count - 1];
    uint32_t length;
    if (lseek(fd, offset, SEEK_SET) < 0 || readLongFlipped(fd, &length) != FAXFILE_WORD) return false;
    return add(offset + static_cast<int64_t>(FAXFILE_WORD) + length);
  }
};

// The walk over the file that is open, as far as it is remembered; null if it is no fax file.
Walk *find_walk(int32_t fd) {
  constexpr size_t FILES_REMEMBERED = 8;
  thread_local Walk walks[FILES_REMEMBERED];
  thread_local size_t next = 0;
  struct stat now;
  if (fstat(fd, &now) != 0) return nullptr;
  Walk *walk = std::find_if(std::begin(walks), std::end(walks), [&](const Walk &one) { return one.is_of(now); });
  if (walk != std::end(walks)) return walk;
  walk = &walks[next++ % FILES_REMEMBERED];
  if (walk->begin(fd, now)) return walk;
  walk->settled = false;
  return nullptr;
}
}  // namespace

bool find_record(int32_t fd, int64_t page, int64_t *offset) {
  *offset = -1;
  Walk *walk = find_walk(fd);
  if (!walk || page < 1) return false;
  const auto wanted = static_cast<size_t>(page);
  bool more = true;
  while (more && walk->count < wanted) more = walk->go_on(fd);
  *offset = walk->offsets[std::min(walk->count, wanted) - 1];
  return more;
}

bool count_records(int32_t fd, int32_t *count) {
  *count = 0;
  Walk *walk = find_walk(fd);
  if (!walk) return false;
  while (walk->count < std::numeric_limits<int32_t>::max() && walk->go_on(fd)) continue;
  const int64_t size = file_size(fd), end = walk->offsets[walk->count - 1];
  *count = static_cast<int32_t>(walk->count) - (end > size && walk->count > 1 ? 2 : 1);
  return end == size;
}

}  // namespace tolvane
