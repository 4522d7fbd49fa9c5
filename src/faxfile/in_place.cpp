// One write of many pieces, what comes before it, and what follows if it fails. The pieces must not lie in the file
// itself: it is overwritten while they are read.
#include "faxfile/in_place.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <optional>

#include "faxfile/fax_lock.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "support/replace_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|in_place|9|01|3|0|0|11/23/26|11:29:38";

constexpr size_t PIECES_MAX = 4;

// Writes the pieces at `offset`; `written` receives whether any of it is in the file.
bool write_pieces(int32_t fd, int64_t offset, std::initializer_list<iovec> pieces, bool *written) {
  std::array<iovec, PIECES_MAX> left{};
  iovec *next = left.data();
  iovec *const end = std::copy_if(pieces.begin(), pieces.end(), next, [](const iovec &piece) { return piece.iov_len; });
  *written = false;
  while (next != end) {
    const ssize_t put = pwritev(fd, next, static_cast<int>(end - next), offset);
    if (put < 0 && errno == EINTR) continue;
    if (put == 0) errno = EIO;
    if (put <= 0) return false;
    *written = true;
    offset += put;
    for (auto count = static_cast<size_t>(put); count > 0;) {
      const size_t part = std::min(count, next->iov_len);
      *next = {static_cast<char *>(next->iov_base) + part, next->iov_len - part};
      count -= part;
      if (next->iov_len == 0) ++next;
    }
  }
  return true;
}

// Waits for the disk: a power failure must not find moved pages half on it minutes later. A file system that can't sync
// is used without.
bool put_on_disk(int32_t fd) {
  int result;
  do result = fdatasync(fd);
  while (result != 0 && errno == EINTR);
  return result == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
}

int64_t total(std::initializer_list<iovec> pieces) {
  int64_t size = 0;
  for (const iovec &piece : pieces) size += static_cast<int64_t>(piece.iov_len);
  return size;
}

// Gives the name of a file that can't be put back to a whole copy of what it was.
void save_copy(int32_t fd, int64_t offset, std::initializer_list<iovec> old) {
  const std::string path = path_of_descriptor(fd);
  Replacement copy;
  bool written;
  if (!path.empty() && is_file_at(fd, path.c_str()) && copy.begin(path.c_str()) && lseek(fd, 0, SEEK_SET) == 0 &&
      copy_bytes(fd, copy.fd(), offset) && write_pieces(copy.fd(), offset, old, &written))
    copy.commit();
}
}  // namespace

bool may_grow_to(int64_t size) {
  rlimit limit;
  const bool may = getrlimit(RLIMIT_FSIZE, &limit) != 0 || static_cast<rlim_t>(size) <= limit.rlim_cur;
  if (!may) errno = EFBIG;
  return may;
}

bool reserve_space(int32_t fd, int64_t size) {
  const int64_t present = file_size(fd);
  if (present < 0 || !may_grow_to(size)) return false;
  int result;
  do result = fallocate(fd, FALLOC_FL_KEEP_SIZE, present, std::max<int64_t>(size - present, 1));
  while (result != 0 && errno == EINTR);
  return result == 0 || errno == EOPNOTSUPP || errno == ENOSYS;  // then the write itself finds out
}

bool replace_end(int32_t fd, int64_t offset, std::initializer_list<iovec> fresh, std::initializer_list<iovec> old) {
  const int64_t size = offset + total(old);
  // An append can always be cut off again, and readers don't know of its page yet.
  const bool moves = total(old) > 0;
  std::optional<FaxHeaderLock> lock;
  if (moves) {
    if (!reserve_space(fd, offset + total(fresh))) return false;
    lock.emplace(fd, FaxHeaderLock::Kind::exclusive);
  }
  bool written = false;
  if ((!moves || lock->held()) && write_pieces(fd, offset, fresh, &written) &&
      (total(fresh) >= total(old) || ftruncate(fd, offset + total(fresh)) == 0) && (!moves || put_on_disk(fd)))
    return true;
  const int kept = errno;
  const bool restored = (!written || write_pieces(fd, offset, old, &written)) && ftruncate(fd, size) == 0;
  if (!restored) save_copy(fd, offset, old);
  errno = kept;
  return false;
}

SpoolMapping::~SpoolMapping() {
  if (bytes_.iov_base) munmap(bytes_.iov_base, bytes_.iov_len);
}

bool SpoolMapping::map(int32_t spool) {
  const int64_t size = file_size(spool);
  if (size <= 0) return size == 0;
  void *mapped = mmap(nullptr, static_cast<size_t>(size), PROT_READ, MAP_PRIVATE, spool, 0);
  if (mapped == MAP_FAILED) return false;
  bytes_ = {mapped, static_cast<size_t>(size)};
  return true;
}

}  // namespace tolvane
