// Sends the memory and file calls of a source file to the debugging layer (ks_functions.h), with the file and the line
// of the call. Compile with `-include debug_alloc.h` and change nothing in the source; -DTOLVANE_DEBUG_ALLOC=ON does so
// for the libraries and the viewer.
//
// The names become macros: a call by qualified name is written `::open`, not `std::free`; a member function cannot be
// called by one of these names; a name that is passed on as a pointer is not redirected. A block from one side of the
// layer must not be freed on the other. `new` and `delete` go past it.
#pragma once

// TOLVANE_DEBUG_ALLOC_LAYER: the layer itself, which calls the system.
#ifndef TOLVANE_DEBUG_ALLOC_LAYER

// All headers that declare these names, or members of these names, must have been seen before the macros.
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <fstream>
#include <locale>

#include "ks_functions.h"

namespace tolvane {

inline void *debug_malloc(const char *fname, int line, size_t size) {
  return size <= UINT_MAX ? dmalloc(static_cast<unsigned>(size), fname, line) : (errno = ENOMEM, nullptr);
}

inline void *debug_calloc(const char *fname, int line, size_t count, size_t size) {
  size_t bytes;
  const bool too_many = __builtin_mul_overflow(count, size, &bytes);
  return debug_malloc(fname, line, too_many ? SIZE_MAX : bytes);
}

/// To grow a null pointer is to allocate, and no misuse.
inline void *debug_realloc(const char *fname, int line, void *pointer, size_t size) {
  if (!pointer) return debug_malloc(fname, line, size);
  return size <= INT_MAX ? drealloc(pointer, static_cast<int>(size), fname, line) : (errno = ENOMEM, nullptr);
}

/// To free a null pointer is allowed, and no misuse.
inline void debug_free(const char *fname, int line, void *pointer) {
  if (pointer) dfree(pointer, fname, line);
}

inline char *debug_strndup(const char *fname, int line, const char *text, size_t longest) {
  const size_t length = strnlen(text, longest);
  void *copied = debug_malloc(fname, line, length + 1);  // zeroed
  return static_cast<char *>(copied ? memcpy(copied, text, length) : nullptr);
}

inline int debug_open(const char *fname, int line, const char *path, int flags, mode_t mode = 0) {
  return dopen(path, flags, static_cast<int>(mode), fname, line);
}

inline int debug_mkostemp(const char *fname, int line, char *pattern, int flags) {
  return denter(mkostemp(pattern, flags), pattern, fname, line);
}

template <typename... Argument>
int debug_fcntl(const char *fname, int line, int fd, int command, Argument... argument) {
  const int result = fcntl(fd, command, argument...);
  const bool duplicates = command == F_DUPFD || command == F_DUPFD_CLOEXEC;
  return duplicates ? denter(result, "(duplicate)", fname, line) : result;
}

}  // namespace tolvane

#define TOLVANE_WATCHED  // for inline functions of other headers that call these names
#define malloc(...) tolvane::debug_malloc(__FILE_NAME__, __LINE__, __VA_ARGS__)
#define calloc(...) tolvane::debug_calloc(__FILE_NAME__, __LINE__, __VA_ARGS__)
#define realloc(...) tolvane::debug_realloc(__FILE_NAME__, __LINE__, __VA_ARGS__)
#define free(...) tolvane::debug_free(__FILE_NAME__, __LINE__, __VA_ARGS__)
#define strdup(...) tolvane::debug_strndup(__FILE_NAME__, __LINE__, __VA_ARGS__, SIZE_MAX)
#define strndup(...) tolvane::debug_strndup(__FILE_NAME__, __LINE__, __VA_ARGS__)
#define open(...) tolvane::debug_open(__FILE_NAME__, __LINE__, __VA_ARGS__)
#define mkostemp(...) tolvane::debug_mkostemp(__FILE_NAME__, __LINE__, __VA_ARGS__)
#define fcntl(...) tolvane::debug_fcntl(__FILE_NAME__, __LINE__, __VA_ARGS__)
#define creat(...) tolvane::dcreat(__VA_ARGS__, __FILE_NAME__, __LINE__)
#define fdopen(...) tolvane::dfdopen(__VA_ARGS__)
#define fopen(...) tolvane::dfopen(__VA_ARGS__, __FILE_NAME__, __LINE__)
#define close(...) tolvane::dclose(__VA_ARGS__, __FILE_NAME__, __LINE__)
#define fclose(...) tolvane::dfclose(__VA_ARGS__, __FILE_NAME__, __LINE__)

#endif
