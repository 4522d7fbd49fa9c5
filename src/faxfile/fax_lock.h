// Locks on fax files between processes, and between the descriptors of one process: open file description locks
// (fcntl(2), F_OFD_SETLK). They are advisory and end with the descriptor.
//
// There are two, so that a long edit does not keep readers waiting: the edit lock keeps editors apart, the header lock
// keeps readers of a header out for the moment in which it is rewritten in place. On a file system without locks, and
// on a descriptor that does not allow a lock, every lock counts as taken.
#pragma once

#include <cstdint>

namespace tolvane {

/// The right to edit a fax file, given back with the object.
///
/// The FaxFile operations that write take it for the time of the call. A program that reads, decides and writes takes
/// it itself, on the descriptor that it writes with: the calls then go on under its lock. On another descriptor of the
/// same file such a call would wait for ever. Whoever replaces the file by a new one keeps the lock on the old one
/// until the new one has the name.
class FaxEditLock {
 public:
  FaxEditLock() = default;
  ~FaxEditLock() { release(); }
  FaxEditLock(const FaxEditLock &) = delete;
  FaxEditLock &operator=(const FaxEditLock &) = delete;

  /// Waits for other editors. No editor locks this range for reading, but whoever may read the file can: that is waited
  /// for ten seconds, not without end.
  ///
  /// @param wait  false: don't wait at all
  /// @return false with errno set: EBUSY if the range is locked for reading, EAGAIN if another editor has the lock and
  ///         `wait` is false
  bool take(int32_t fd, bool wait = true);
  void release();

 private:
  int32_t fd_ = -1;
};

/// Takes the lock to change the file that `fd` is open on. If an editor has replaced that file since it was opened, so
/// that a change to it would be lost, the descriptor is moved to the fax file that has the name now (dup2(2)), with the
/// access that it has. A file that was removed, with nothing in its place, stays what the descriptor is open on.
///
/// @return false with errno set: EINVAL if what has the name now is no fax file, EBUSY as `FaxEditLock::take`
bool take_to_change(FaxEditLock &lock, int32_t fd);

/// Whether `path` still names the file that `fd` is open on. An editor that has waited for a lock asks this: the file
/// may have been replaced meanwhile, and the lock is on the old one.
bool is_file_at(int32_t fd, const char *path);

/// Opens the regular file at `path` to read and write and takes its edit lock. If another editor replaces the file
/// meanwhile, the new one is opened. Another descriptor of the same thread must not have the lock.
///
/// @param waiting  called before a wait for another editor, if there is one; may be null
/// @return the descriptor, which the caller closes after `lock`; -1 with errno set: EBUSY as `FaxEditLock::take`, when
///         the file must not be edited; otherwise the file can't be opened to write
int32_t open_locked(const char *path, FaxEditLock &lock, void (*waiting)(const char *path) = nullptr);

/// A moment without half-written headers: shared by readers, exclusive for whoever rewrites a header in place.
class FaxHeaderLock {
 public:
  enum class Kind { shared, exclusive };
  /// Waits for others, but not without end: whoever may read the file may also lock its header. A reader goes on
  /// without the lock after a second, a writer gives up after ten, with errno EAGAIN.
  FaxHeaderLock(int32_t fd, Kind kind);
  ~FaxHeaderLock();
  FaxHeaderLock(const FaxHeaderLock &) = delete;
  FaxHeaderLock &operator=(const FaxHeaderLock &) = delete;

  bool held() const { return held_; }

 private:
  int32_t fd_;
  bool held_ = true;
};

}  // namespace tolvane
