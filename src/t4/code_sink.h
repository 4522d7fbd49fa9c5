// Where the code of a page goes, and what may become of it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tolvane {

enum class EncodeResult : int32_t {
  done,
  unknown_coding,  ///< no encoder for this coding; source and sink were not called
  line_size,       ///< a batch with lines of another size than the first, or of more than `MAX_LINE_BYTES`
  no_memory,
  refused,  ///< the sink has refused code
};

constexpr int32_t MAX_LINE_BYTES = 3999;  ///< of a line to encode: 31992 pixels

/// Receives the coded page, in many calls.
struct CodeSink {
  void *context = nullptr;
  /// @param bytes  `count` bytes, 0 or more; bit 0 of the first is the first bit of the stream; valid during the call
  /// @return false if the code cannot be taken: the encoder then STOPS at the end of the line
  bool (*put_code)(void *context, const uint8_t *bytes, size_t count) = nullptr;
};

}  // namespace tolvane
