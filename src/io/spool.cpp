// A spool file loses its name as soon as it is open, so nothing is left when the program ends, however it ends.
#include "io/spool.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>

#include "io/file_names.h"
#include "support/replace_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|spool|9|01|1|0|0|11/23/26|04:30:00";

constexpr size_t COPY_BLOCK = 1 << 16;
}  // namespace

Descriptor open_spool(const std::string &beside) {
  const char *temporary = getenv("TMPDIR");
  if (!temporary || !*temporary) temporary = "/tmp";
  std::string name = (beside.empty() ? temporary : directory_of(beside)) + "/.tolvane-XXXXXX";
  Descriptor spool(mkostemp(name.data(), O_CLOEXEC));
  if (spool) unlink(name.c_str());
  return spool;
}

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
