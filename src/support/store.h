// Bytes in memory that grow as they are read or made.
#pragma once

#include <stdlib.h>
#include <string.h>

#include <cstddef>
#include <cstdint>

#include "handle.h"

namespace tolvane {

// As in handle.h: with debug_alloc.h, `realloc` is another function.
#ifdef TOLVANE_WATCHED
inline namespace watched {
#endif
/// A block of bytes that grows and never shrinks.
struct Store {
  Block<uint8_t> bytes{};
  size_t capacity = 0;  ///< size of the block
  size_t used = 0;      ///< bytes at its start that mean something

  /// @return false with everything as it was if memory is short
  bool grow_to(size_t wanted) {
    auto *grown = static_cast<uint8_t *>(realloc(bytes.get(), wanted));
    if (!grown) return false;
    static_cast<void>(bytes.release());
    bytes.reset(grown);
    capacity = wanted;
    return true;
  }

  /// @return false with everything as it was if memory is short
  bool append(const uint8_t *more, size_t count) {
    if (used + count > capacity && !grow_to(2 * capacity + count)) return false;
    memcpy(bytes.get() + used, more, count);
    used += count;
    return true;
  }
};
#ifdef TOLVANE_WATCHED
}
#endif

}  // namespace tolvane
