// A few files are remembered per thread: a document and what it includes. A file that was changed a moment ago is
// walked anew each time, since another change could leave the same times.
#include "faxfile/record_index.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "faxfile/header_text.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|record_index|9|01|2|0|0|11/23/26|12:29:57";

constexpr int64_t NANOSECONDS = 1000 * 1000 * 1000;
constexpr size_t FOUND_RECORDS_MAX = UINT16_MAX + 1;  // more are counted, and none of them is remembered
constexpr int64_t MOMENT = NANOSECONDS / 10;          // longer than the steps in which file systems count time

int64_t nanoseconds(const timespec &time) {
  return time.tv_sec * NANOSECONDS + time.tv_nsec;
}

// The length words of a file: one at a time, or a block at a time while records are shorter than one.
class LengthWords {
 public:
  LengthWords(int32_t fd, int64_t size) : fd_(fd), size_(size) {}

  // Moves from a record to the place after it.
  //
  // @return 0; 18 at the end of the file; 10 if the file ends within the record; 6 if it can't be read
  int16_t step(int64_t *offset) {
    const int64_t data = *offset + static_cast<int64_t>(FAXFILE_WORD);
    if (*offset == size_) return FAXFILE_ERR_NO_PAGE;
    if (data > size_) return FAXFILE_ERR_FORMAT;
    if (*offset < begin_ || data > end_)
      if (const int16_t code = read_block(*offset); code != FAXFILE_OK) return code;
    const int64_t next = data + get_word(block_ + (*offset - begin_));
    if (next > size_) return FAXFILE_ERR_FORMAT;
    is_short_ = next - *offset < static_cast<int64_t>(sizeof block_);
    *offset = next;
    return FAXFILE_OK;
  }

 private:
  int16_t read_block(int64_t offset) {
    const int64_t count = std::min<int64_t>(is_short_ ? sizeof block_ : FAXFILE_WORD, size_ - offset);
    const bool there = lseek(fd_, offset, SEEK_SET) == offset;
    const ssize_t got = there ? read_fully(fd_, block_, static_cast<size_t>(count)) : -1;
    begin_ = offset;
    end_ = offset + std::max<ssize_t>(got, 0);
    if (got < 0) return FAXFILE_ERR_READ;
    return got < count ? FAXFILE_ERR_FORMAT : FAXFILE_OK;
  }

  int32_t fd_;
  int64_t size_, begin_ = 0, end_ = 0;
  bool is_short_ = false;  // the last record
  uint8_t block_[4096];
};

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

  // @return 0; 10 if the file ends before its records; 6 if it can't be read; 4 without memory
  int16_t begin(int32_t fd, const struct stat &now) {
    timespec clock;
    clock_gettime(CLOCK_REALTIME, &clock);
    file = now;
    settled = llabs(nanoseconds(clock) - nanoseconds(now.st_mtim)) > MOMENT;
    count = 0;
    int64_t first;
    const int16_t code = find_first_record(fd, &first);
    if (code != FAXFILE_OK) return code;
    return add(first) ? FAXFILE_OK : FAXFILE_ERR_MEMORY;
  }

  // Walks on over one record; the codes of LengthWords::step, and 4 without memory.
  int16_t go_on(LengthWords &words) {
    int64_t offset = offsets[count - 1];
    const int16_t code = words.step(&offset);
    if (code != FAXFILE_OK) return code;
    return add(offset) ? FAXFILE_OK : FAXFILE_ERR_MEMORY;
  }
};

// Finds the walk over the file that is open, as far as it is remembered; the codes of Walk::begin.
int16_t find_walk(int32_t fd, Walk *&walk) {
  constexpr size_t FILES_REMEMBERED = 8;
  thread_local Walk walks[FILES_REMEMBERED];
  thread_local size_t next = 0;
  struct stat now;
  if (fstat(fd, &now) != 0) return FAXFILE_ERR_READ;
  walk = std::find_if(std::begin(walks), std::end(walks), [&](const Walk &one) { return one.is_of(now); });
  if (walk != std::end(walks)) return FAXFILE_OK;
  walk = &walks[next++ % FILES_REMEMBERED];
  const int16_t code = walk->begin(fd, now);
  if (code != FAXFILE_OK) walk->settled = false;
  return code;
}
}  // namespace

int16_t find_record(int32_t fd, int32_t page, int64_t *offset) {
  Walk *walk;
  if (const int16_t code = find_walk(fd, walk); code != FAXFILE_OK) return code;
  LengthWords words(fd, walk->file.st_size);
  const auto wanted = static_cast<size_t>(page);
  while (walk->count < wanted)
    if (const int16_t code = walk->go_on(words); code != FAXFILE_OK) return code;
  *offset = walk->offsets[wanted - 1];
  return FAXFILE_OK;
}

int16_t count_records(int32_t fd, int32_t *count) {
  *count = 0;
  Walk *walk;
  int16_t code = find_walk(fd, walk);
  if (code != FAXFILE_OK) return code;
  LengthWords words(fd, walk->file.st_size);
  while (code == FAXFILE_OK && walk->count < FOUND_RECORDS_MAX) code = walk->go_on(words);
  auto records = static_cast<int64_t>(walk->count) - 1;
  int64_t offset = walk->offsets[walk->count - 1];
  while (code == FAXFILE_OK && (code = words.step(&offset)) == FAXFILE_OK) ++records;
  *count = static_cast<int32_t>(std::min<int64_t>(records, INT32_MAX));
  if (records > INT32_MAX) return FAXFILE_ERR_FORMAT;
  return code == FAXFILE_ERR_NO_PAGE ? FAXFILE_OK : code;
}

}  // namespace tolvane
