// The one fault that MH and MR find before they decode.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <span>

#include "line.h"
#include "line_sink.h"

namespace tolvane {

/// Reports a page that does not begin with an EOL, fill apart (ITU-T T.4, 4.1.2).
inline void report_lost_start(std::span<const uint8_t> data, const LineSink &to) {
  const auto first = std::ranges::find_if(data, [](uint8_t byte) { return byte != 0; });
  if (first == data.end() || !to.found_damage) return;
  const int64_t zeros = 8 * (first - data.begin()) + std::countr_zero(*first);
  if (zeros < EOL_ZEROS) to.found_damage(to.context, Damage::lost_start);
}

}  // namespace tolvane
