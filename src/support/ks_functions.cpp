// The layer itself: it calls the system's functions, and debug_alloc.h leaves it alone. The table search decides
// whether a block is known; the index in the block is only checked by the report, because sorting the table makes
// it stale.
#include "support/ks_functions.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace tolvane {

malloc_record *malloc_array[MALLOC_SLOTS];
open_record *open_array[OPEN_SLOTS];
int Total_allocated = 0;
int Max_malloc_indx = 0;
int Max_open_indx = 0;

namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|ks_functions|9|01|3|0|0|11/23/26|11:25:00";

const char *const ALARM = "\a\n";  // before every message on standard error

constexpr char GUARD[] = {'z', 'z', 'z', 'z'};
constexpr size_t HEAD_SIZE = sizeof(int32_t) + sizeof GUARD;  // slot index and leading guard
constexpr size_t EXTRA_SIZE = HEAD_SIZE + sizeof GUARD;
static_assert(EXTRA_SIZE == 12);

template <typename Record, size_t SLOTS>
Record **empty_slot(Record *(&table)[SLOTS]) {
  Record **const slot = std::find(std::begin(table), std::end(table), nullptr);
  return slot == std::end(table) ? nullptr : slot;
}

// A record of `Record` with the caller's data and the time; null without memory.
template <typename Record>
Record *new_record(const char *fname, int line) {
  Record *record = static_cast<Record *>(calloc(1, sizeof(Record)));
  if (!record) return nullptr;
  memcpy(record->fname, fname, strnlen(fname, sizeof record->fname));
  record->line_no = line;
  record->time = time(nullptr);
  return record;
}

template <typename Record, size_t SLOTS>
void store(Record *(&table)[SLOTS], Record **slot, Record *record, int *highest) {
  *slot = record;
  *highest = std::max(*highest, static_cast<int>(slot - table));
}

// Once for each table, however often it is found full.
void report_full(const char *function, int slots, int *reported) {
  if (!*reported)
    fprintf(stderr, "%sError in %s: all %d records are in use, going on without\n", ALARM, function, slots);
  *reported = 1;
}

// More than 2 GB of live blocks wrap the sum round, and their release wraps it back.
void count_bytes(int bytes) {
  static_cast<void>(__builtin_add_overflow(Total_allocated, bytes, &Total_allocated));
}

char *user_bytes(char *block) {
  return block + HEAD_SIZE;
}

char *block_of(const malloc_record *record) {
  return static_cast<char *>(record->addr) - HEAD_SIZE;
}

bool guards_stand(const malloc_record *record) {
  const char *user = static_cast<const char *>(record->addr);
  return memcmp(user - sizeof GUARD, GUARD, sizeof GUARD) == 0 &&
         memcmp(user + record->nbytes, GUARD, sizeof GUARD) == 0;
}

// Month, day, hour and minute, as in "Jun 30 21:49".
struct ShortTime {
  explicit ShortTime(time_t when) {
    ctime_r(&when, text);
    text[16] = '\0';
  }
  const char *get() const { return text + 4; }
  char text[26];
};

template <typename Record>
int compare_records(const void *left, const void *right) {
  const Record *a = *static_cast<Record *const *>(left);
  const Record *b = *static_cast<Record *const *>(right);
  if (!a || !b) return !a - !b;
  return (a->time > b->time) - (a->time < b->time);
}
}  // namespace

void *dmalloc(unsigned size, const char *fname, int line) {
  if (size > INT_MAX) {
    errno = ENOMEM;
    return nullptr;
  }
  char *block = static_cast<char *>(calloc(1, size + EXTRA_SIZE));
  if (!block) return nullptr;
  char *user = user_bytes(block);
  memcpy(user - sizeof GUARD, GUARD, sizeof GUARD);
  memcpy(user + size, GUARD, sizeof GUARD);

  static int reported_full = 0;
  malloc_record **slot = empty_slot(malloc_array);
  if (!slot) {
    report_full("dmalloc", MALLOC_SLOTS, &reported_full);
    return user;
  }
  malloc_record *record = new_record<malloc_record>(fname, line);
  if (!record) {
    free(block);
    return nullptr;
  }
  record->nbytes = static_cast<int>(size);
  record->addr = user;
  count_bytes(record->nbytes);
  store(malloc_array, slot, record, &Max_malloc_indx);
  const auto index = static_cast<int32_t>(slot - malloc_array);
  memcpy(block, &index, sizeof index);
  return user;
}

int find_block(const void *pointer) {
  if (!pointer) return -1;
  const auto found = std::find_if(std::begin(malloc_array), std::end(malloc_array),
                                  [pointer](const malloc_record *each) { return each && each->addr == pointer; });
  return found == std::end(malloc_array) ? -1 : static_cast<int>(found - malloc_array);
}

void *drealloc(void *pointer, int size, const char *fname, int line) {
  void *moved = dmalloc(static_cast<unsigned>(size), fname, line);
  if (!moved) return nullptr;
  const int slot = find_block(pointer);
  if (slot >= 0) memcpy(moved, pointer, static_cast<size_t>(std::min(malloc_array[slot]->nbytes, size)));
  dfree(pointer, fname, line);
  return moved;
}

int dfree(void *pointer, const char *fname, int line) {
  if (!pointer) {
    fprintf(stderr, "%sError in dfree: trying to free NULL pointer (%s, %d)\n", ALARM, fname, line);
    return 0;
  }
  const int slot = find_block(pointer);
  if (slot < 0) {
    fprintf(stderr, "%sError in dfree: couldn't find pointer to free! (%s, %d)\n", ALARM, fname, line);
    return 0;
  }
  malloc_record *record = malloc_array[slot];
  const bool intact = guards_stand(record);
  if (!intact)
    fprintf(
        stderr,
        "%sError in dfree: freed by %s, %d, freeing fname = %.16s, line_no = %d, nbytes = %d, time = %d, indx = %d\n",
        ALARM, fname, line, record->fname, record->line_no, record->nbytes, static_cast<int>(record->time), slot);
  count_bytes(-record->nbytes);
  free(block_of(record));
  free(record);
  malloc_array[slot] = nullptr;
  return intact;
}

void dmalloc_status() {
  qsort(malloc_array, static_cast<size_t>(Max_malloc_indx) + 1, sizeof *malloc_array, msort_func);
  for (const malloc_record *record : malloc_array) {
    if (!record) continue;
    int32_t index;
    memcpy(&index, block_of(record), sizeof index);
    if (index >= 0 && index <= Max_malloc_indx && guards_stand(record)) continue;
    printf("\a%16.16s,   line %4d,   %s: %6d bytes  CORRUPTED!\n", record->fname, record->line_no,
           ShortTime(record->time).get(), record->nbytes);
  }
}

namespace {
void enter_open_file(intptr_t handle, const char *path, const char *fname, int line) {
  static int reported_full = 0;
  open_record **slot = empty_slot(open_array);
  if (!slot) {
    report_full("dopen", OPEN_SLOTS, &reported_full);
    return;
  }
  open_record *record = new_record<open_record>(fname, line);
  char *copied = record ? strdup(path) : nullptr;
  if (!copied) {
    fprintf(stderr, "%sError in dopen: no memory for a record (%s, %d)\n", ALARM, fname, line);
    free(record);
    return;
  }
  record->path = copied;
  record->handle = handle;
  store(open_array, slot, record, &Max_open_indx);
}

// The place of the file in the ledger; its end if it is not there.
open_record **find_open_file(intptr_t handle) {
  return std::find_if(std::begin(open_array), std::end(open_array),
                      [handle](const open_record *each) { return each && each->handle == handle; });
}

// Whether the file was in the ledger.
bool strike_open_file(intptr_t handle) {
  open_record **const slot = find_open_file(handle);
  if (slot == std::end(open_array)) return false;
  free((*slot)->path);
  free(*slot);
  *slot = nullptr;
  return true;
}
}  // namespace

int denter(int fd, const char *path, const char *fname, int line) {
  if (fd >= 0) enter_open_file(fd, path, fname, line);
  return fd;
}

int dopen(const char *path, int oflag, int mode, const char *fname, int line) {
  return denter(open(path, oflag, mode), path, fname, line);
}

int dcreat(const char *path, mode_t mode, const char *fname, int line) {
  return denter(creat(path, mode), path, fname, line);
}

FILE *dfopen(const char *path, const char *mode, const char *fname, int line) {
  FILE *stream = fopen(path, mode);
  if (stream) enter_open_file(reinterpret_cast<intptr_t>(stream), path, fname, line);
  return stream;
}

FILE *dfdopen(int fd, const char *mode) {
  FILE *stream = fdopen(fd, mode);
  open_record **const slot = find_open_file(fd);
  if (stream && slot != std::end(open_array)) (*slot)->handle = reinterpret_cast<intptr_t>(stream);
  return stream;
}

int dclose(int fd, const char *fname, int line) {
  if (!strike_open_file(fd))
    fprintf(stderr, "%sError in dclose: couldn't find file descriptor to close! (%s, %d)\n", ALARM, fname, line);
  return close(fd);
}

int dfclose(FILE *stream, const char *fname, int line) {
  if (!strike_open_file(reinterpret_cast<intptr_t>(stream)))
    fprintf(stderr, "%sError in dfclose: couldn't find FILE pointer to close! (%s, %d)\n", ALARM, fname, line);
  return fclose(stream);
}

void dopen_status() {
  constexpr uintptr_t HIGHEST_DESCRIPTOR = 2000;
  qsort(open_array, static_cast<size_t>(Max_open_indx) + 1, sizeof *open_array, osort_func);
  for (const open_record *record : open_array) {
    if (!record) continue;
    const char *format = static_cast<uintptr_t>(record->handle) > HIGHEST_DESCRIPTOR
                             ? "%16.16s,   line %4d,   %s: 0x%lx\n"
                             : "%16.16s,   line %4d,   %s: %ld\n";
    printf(format, record->fname, record->line_no, ShortTime(record->time).get(), record->handle);
  }
}

int msort_func(const void *left, const void *right) {
  return compare_records<malloc_record>(left, right);
}

int osort_func(const void *left, const void *right) {
  return compare_records<open_record>(left, right);
}

}  // namespace tolvane
