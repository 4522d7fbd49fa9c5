// What the benchmarks share: the charts, and the comparison of one of our operations with libtiff's in the same run.
//
// A file of benchmarks holds one procedure that calls `compare` for each row and chart, and one `Benchmarks` object
// that names the procedure. Times are never printed alone: these machines drift, ratios hardly do.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "helpers/tiff_pages.h"

struct Chart {
  std::string name;
  Picture picture;
};

/// The four ITU charts, 1728 x 2376.
const std::vector<Chart> &charts();

/// Adds a comparison. The table has one line for each `row`: our time over libtiff's, by chart, their geometric mean,
/// and the mean to reach.
///
/// @param target  the ratio that the row is to reach or beat
void compare(const std::string &row, double target, const std::string &chart, std::function<void()> ours,
             std::function<void()> libtiffs);

/// Has `add` called before the benchmarks run.
struct Benchmarks {
  explicit Benchmarks(void (*add)());
};
