// The scales of the picture: the one place that says what a scale index means.
#pragma once

#include <cstdint>

namespace tolvane {

/// One scale. The percentage is its name, not its ratio: the picture at "100%" has half as many pixels across as the
/// fax, the one at "75%" a third, the one at "50%" a quarter.
struct Scale {
  int32_t percent;  ///< in the labels of the toggles, the switches "-r100" to "-r50", and options
  int32_t divisor;  ///< fax pixels across, and lines of fine resolution down, for each pixel of the picture
};

/// By scale index, which is the value of `Reduced`.
constexpr Scale SCALES[] = {{100, 2}, {75, 3}, {50, 4}};
constexpr int32_t SCALE_COUNT = sizeof SCALES / sizeof *SCALES;

constexpr bool is_scale(int32_t index) {
  return index >= 0 && index < SCALE_COUNT;
}

/// The scale of an index; of any value that is no index, that of 100%.
constexpr const Scale &scale_at(int32_t index) {
  return SCALES[is_scale(index) ? index : 0];
}

/// The index of a percentage; of any value that is none of the three, that of 100%.
constexpr int32_t scale_of_percent(int32_t percent) {
  for (int32_t i = 0; i < SCALE_COUNT; i++)
    if (SCALES[i].percent == percent) return i;
  return 0;
}

}  // namespace tolvane
