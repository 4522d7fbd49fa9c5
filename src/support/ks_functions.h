// A debugging layer over the system's memory and file calls: guard bytes around every block, a table of live blocks, a
// ledger of open files, and reports of both. debug_alloc.h sends the calls of a source file here.
//
// Every operation takes the caller's source file name and line. Misuse is reported on standard error and the program
// goes on. When a table is full, the call still works and is not recorded, with one message on standard error.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>

namespace tolvane {

constexpr int MALLOC_SLOTS = 100000;
constexpr int OPEN_SLOTS = 2000;
constexpr size_t DEBUG_FNAME_SIZE = 16;

/// A live block.
struct malloc_record {
  char fname[DEBUG_FNAME_SIZE];  ///< source file of the allocating caller; not terminated when full
  int line_no;                   ///< its line
  int nbytes;                    ///< size asked for
  time_t time;                   ///< when the block was made
  void *addr;                    ///< what the caller got
};

/// An open file.
struct open_record {
  char fname[DEBUG_FNAME_SIZE];  ///< source file of the opening caller; not terminated when full
  int line_no;                   ///< its line
  char *path;                    ///< own copy of the path
  time_t time;                   ///< when it was opened
  intptr_t handle;               ///< the descriptor, or the stream's address
};

extern malloc_record *malloc_array[MALLOC_SLOTS];  ///< the lowest empty slot is filled next
extern open_record *open_array[OPEN_SLOTS];        ///< the lowest empty slot is filled next
extern int Total_allocated;                        ///< bytes asked for of the live blocks
extern int Max_malloc_indx;                        ///< the highest slot of malloc_array ever filled
extern int Max_open_indx;                          ///< the highest slot of open_array ever filled

/// `malloc`: a zeroed block between two guards of four bytes "zzzz".
///
/// @return the block, released with `dfree`, or null with nothing recorded
void *dmalloc(unsigned size, const char *fname, int line);

/// `realloc`: always a new block, with the old bytes that fit and zeros after them; the old block goes through
/// `dfree`, which reports a null or unknown pointer.
///
/// @return the new block, or null with the old block as it was
void *drealloc(void *pointer, int size, const char *fname, int line);

/// `free`. A damaged block is reported and freed all the same; a null or unknown pointer is reported and not freed.
///
/// @return 1 if the block was known and intact, else 0
int dfree(void *pointer, const char *fname, int line);

/// @return the slot of the block in `malloc_array`, -1 if it is not there
int find_block(const void *pointer);

/// Writes a line on standard output for each damaged block among the live ones, and nothing for the intact ones.
void dmalloc_status();

/// The calls of their names, with what they open entered in the ledger.
int dopen(const char *path, int oflag, int mode, const char *fname, int line);
int dcreat(const char *path, mode_t mode, const char *fname, int line);
FILE *dfopen(const char *path, const char *mode, const char *fname, int line);

/// Enters a descriptor that came another way (`mkostemp`, `dup`) in the ledger, unless it is negative.
///
/// @return `fd`
int denter(int fd, const char *path, const char *fname, int line);

/// `fdopen`: the entry of the descriptor becomes that of the stream.
FILE *dfdopen(int fd, const char *mode);

/// The calls of their names; a file that is not in the ledger is reported and closed all the same.
int dclose(int fd, const char *fname, int line);
int dfclose(FILE *stream, const char *fname, int line);

/// Writes a line on standard output for each open file, oldest first.
void dopen_status();

/// Orders of the reports, for `qsort` over a table: oldest record first, empty slots last.
int msort_func(const void *left, const void *right);
int osort_func(const void *left, const void *right);

}  // namespace tolvane
