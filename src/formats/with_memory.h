// Out of memory within a library that goes on without what it could not allocate.
#pragma once

#include <cerrno>
#include <new>
#include <utility>

namespace tolvane {

/// Calls libraries that catch their own std::bad_alloc or take a null pointer as damage. An allocation that failed is
/// known by errno (POSIX, malloc). Calls may be nested: one that failed before an inner call still counts after it.
///
/// @return the result of `work`
/// @throw std::bad_alloc  memory was short: the result may lack something
template <typename Work>
auto with_memory(const Work &work) {
  const int before = std::exchange(errno, 0);
  auto result = work();
  if (errno == ENOMEM) throw std::bad_alloc();
  if (before == ENOMEM) errno = ENOMEM;
  return result;
}

}  // namespace tolvane
