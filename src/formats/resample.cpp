// Scaling in one direction. The weights of a span are those of the parts of pixels that it covers.
#include "formats/resample.h"

#include <algorithm>
#include <cmath>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|resample|9|01|1|0|0|11/23/26|05:05:00";
}

std::vector<Span> spans(int32_t source, int32_t result) {
  std::vector<Span> all(static_cast<size_t>(result));
  const double step = static_cast<double>(source) / result;
  for (int32_t i = 0; i < result; ++i) {
    const double from = i * step, to = std::min((i + 1) * step, static_cast<double>(source));
    const auto first = static_cast<int32_t>(from);
    const auto last = std::clamp(static_cast<int32_t>(std::ceil(to)) - 1, first, source - 1);
    const double first_weight = std::min(first + 1.0, to) - from;
    all[static_cast<size_t>(i)] = {first, last, static_cast<float>(first_weight), static_cast<float>(to - last)};
  }
  return all;
}

uint8_t average(const uint8_t *in, size_t pitch, const Span &span) {
  const auto at = [&](int32_t i) { return static_cast<float>(in[static_cast<size_t>(i) * pitch]); };
  if (span.first == span.last) return in[static_cast<size_t>(span.first) * pitch];
  float sum = at(span.first) * span.first_weight + at(span.last) * span.last_weight;
  float weight = span.first_weight + span.last_weight;
  for (int32_t i = span.first + 1; i < span.last; ++i, ++weight) sum += at(i);
  // Cut, not rounded: a pixel half black and half white comes to 127, which is black at the usual threshold.
  return static_cast<uint8_t>(sum / weight + 0.001F);
}

}  // namespace tolvane
