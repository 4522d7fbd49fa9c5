// Copies in blocks: either side may be a pipe.
#include "io/copy_bytes.h"

#include <errno.h>

#include <algorithm>

#include "support/handle.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|copy_bytes|9|01|1|0|0|11/23/26|06:00:00";

constexpr size_t COPY_BLOCK = 1 << 16;
}  // namespace

bool copy_bytes(int source, int target, off_t count) {
  char block[COPY_BLOCK];
  while (count != 0) {
    const size_t wanted =
        count < 0 ? COPY_BLOCK : static_cast<size_t>(std::min<off_t>(count, static_cast<off_t>(COPY_BLOCK)));
    const ssize_t got = read_fully(source, block, wanted);
    if (got < 0 || !write_fully(target, block, static_cast<size_t>(got))) return false;
    if (static_cast<size_t>(got) < wanted) {
      errno = 0;
      return count < 0;
    }
    if (count > 0) count -= got;
  }
  return true;
}

}  // namespace tolvane
