// Changing a fax file that others have open: the file keeps its inode, so that descriptors, hard links, mode and owner
// stay what they are. What can be replaced by name is (replace_file.h); this is for what can't.
//
// The new bytes go out in one system call, after their blocks are reserved. A process that is killed at any other
// moment leaves the old or the new file. What remains is the moment of that call: a kill within it, or a power failure
// before the bytes are on disk, can leave a part of them.
#pragma once

#include <sys/uio.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace tolvane {

/// Bytes to write.
inline iovec piece(const void *bytes, size_t size) {
  return {const_cast<void *>(bytes), size};
}

/// Whether the process may make a file of `size` bytes (RLIMIT_FSIZE): to write more raises a signal.
///
/// @return false with errno EFBIG if not
bool may_grow_to(int64_t size);

/// Reserves the blocks for a file that grows to `size` bytes. Content and size of the file stay as they are.
///
/// @return false with errno set: not open for writing, no space, above the limit of the process
bool reserve_space(int32_t fd, int64_t size);

/// Replaces everything from `offset` to the end of the file.
///
/// @param fresh  the new bytes; if they are fewer, the file is cut in a second call
/// @param old    the bytes that are replaced
/// @return false with errno set and the file as it was: EIO also if the disk does not take bytes that replace others,
///         EAGAIN if a reader keeps the header locked. If it can't be put back either, a whole copy of the old file
///         takes its name and the file itself is damaged
bool replace_end(int32_t fd, int64_t offset, std::initializer_list<iovec> fresh, std::initializer_list<iovec> old);

/// A spool file of saved pages in memory.
class SpoolMapping {
 public:
  SpoolMapping() = default;
  ~SpoolMapping();
  SpoolMapping(const SpoolMapping &) = delete;
  SpoolMapping &operator=(const SpoolMapping &) = delete;

  /// @return false with errno set
  bool map(int32_t spool);
  iovec bytes() const { return bytes_; }

 private:
  iovec bytes_ = {nullptr, 0};
};

}  // namespace tolvane
