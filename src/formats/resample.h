// Averaging of the pixels that fall together when a picture is scaled.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tolvane {

/// The source pixels that make up one pixel of the result: a first and a last one that count in part, and all between.
struct Span {
  int32_t first, last;
  float first_weight, last_weight;  // the weights of one span, with 1 for each pixel between, sum to 1 / scale
};

/// The spans of `result` pixels over `source` pixels.
std::vector<Span> spans(int32_t source, int32_t result);

/// The average grey of a span.
///
/// @param in     the first pixel of the row or column
/// @param pitch  bytes from one pixel to the next
uint8_t average(const uint8_t *in, size_t pitch, const Span &span);

}  // namespace tolvane
