// Owning handles, so that every way out of a procedure is clean, and the one place that deals with short reads, short
// writes and interrupted calls.
#pragma once

#include <stdlib.h>
#include <sys/types.h>

#include <cstddef>
#include <memory>

namespace tolvane {

// With debug_alloc.h, `free` is another function: the inline namespace gives that version a name of its own, so that a
// program without it can be linked with libraries that have it.
#ifdef TOLVANE_WATCHED
inline namespace watched {
#endif
struct FreeBlock {
  void operator()(void *block) const { free(block); }
};
#ifdef TOLVANE_WATCHED
}
#endif

/// A block from `malloc`, freed with the handle. `release()` hands it to a caller who frees it.
template <typename T>
using Block = std::unique_ptr<T, FreeBlock>;

/// A file descriptor, closed with the handle; -1 is none.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  ~Descriptor() { reset(); }
  Descriptor(Descriptor &&other) noexcept : fd_(other.release()) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    reset(other.release());
    return *this;
  }

  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }
  /// Gives the descriptor away without closing it.
  int release();
  /// Closes the descriptor in hand, if any, and takes `fd` instead; errno is left as it was.
  void reset(int fd = -1);

 private:
  int fd_;
};

/// Moves a descriptor that has the number of a standard stream, since that was closed, to a number above those: some
/// callers take 0 for no descriptor, and anything that prints would write into the file.
Descriptor above_standard_streams(Descriptor file);

/// Reads until `count` bytes are there, the file ends, or a read fails; an interrupted read is taken up again.
///
/// @return the bytes read, less than `count` only at the end of the file, or -1 with errno set
ssize_t read_fully(int fd, void *buffer, size_t count);

/// Writes all of `count` bytes; a short or interrupted write is taken up again.
///
/// @return 1, or 0 with errno set
int write_fully(int fd, const void *buffer, size_t count);

/// Copies bytes between descriptors from their present positions.
///
/// @param count       bytes to copy; negative: up to the end of the source
/// @param unreadable  receives whether it is the source that failed; may be null
/// @return false with errno set, which is 0 if the source ended early
bool copy_bytes(int source, int target, off_t count, bool *unreadable = nullptr);

}  // namespace tolvane
