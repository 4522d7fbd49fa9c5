// Out of memory within a library that goes on without what it could not allocate.
#pragma once

#include <cerrno>
#include <new>

namespace tolvane {

/// Calls libraries that catch their own std::bad_alloc or take a null pointer as damage. An allocation that failed is
/// known by errno (POSIX, malloc).
///
/// @return the result of `work`
/// @throw std::bad_alloc  memory was short: the result may lack something
template <typename Work>
auto with_memory(const Work &work) {
  errno = 0;
  auto result = work();
  if (errno == ENOMEM) throw std::bad_alloc();
  return result;
}

}  // namespace tolvane
