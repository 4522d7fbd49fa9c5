// Halftoning, and the choice of thresholds. Pictures are rows of one byte per pixel, 0 black to 255 white.
#include "formats/halftone.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <utility>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|halftone|9|01|1|0|0|11/23/26|06:25:00";

constexpr double TEXT_PARTED = 0.8;   // of the variance, by the threshold: greys spread evenly come to 0.75
constexpr double MOST_INK = 0.3;      // of a page of text
constexpr double LIKE_MIDDLE = 0.02;  // of the ink, between two thresholds that part it alike

constexpr int64_t RADIUS = 25;          // of the window around a pixel: an eighth of an inch, larger than a stroke
constexpr double SAUVOLA_K = 0.2;       // weight of the contrast in the window
constexpr double MOST_DEVIATION = 128;  // of greys

// Sums of the greys of a window, and of their squares.
struct WindowSums {
  double grey = 0, square = 0;

  void add(const WindowSums &other, double times) {
    grey += times * other.grey;
    square += times * other.square;
  }
};

}  // namespace

int32_t page_threshold(const std::vector<uint8_t> &grey) {
  std::array<int64_t, 256> histogram = {};
  for (const uint8_t pixel : grey) ++histogram[pixel];
  double total = 0, squares = 0;
  for (size_t value = 0; value < histogram.size(); ++value) {
    const auto count = static_cast<double>(histogram[value]), level = static_cast<double>(value);
    total += count * level;
    squares += count * level * level;
  }
  const auto pixels = static_cast<double>(grey.size());
  const double variance = squares / pixels - (total / pixels) * (total / pixels);

  double dark = 0, dark_total = 0, best = 0, ink = 0;
  size_t threshold = MIDDLE_GREY;
  for (size_t value = 1; value < histogram.size(); ++value) {
    dark += static_cast<double>(histogram[value - 1]);
    dark_total += static_cast<double>(histogram[value - 1]) * static_cast<double>(value - 1);
    if (dark == 0 || dark == pixels) continue;
    const double apart = dark_total / dark - (total - dark_total) / (pixels - dark);
    const double between = dark / pixels * (1 - dark / pixels) * apart * apart;
    if (between <= best) continue;
    best = between;
    ink = dark;
    threshold = value;
  }
  if (best < TEXT_PARTED * variance || ink > MOST_INK * pixels) return MIDDLE_GREY;
  const auto middle = static_cast<size_t>(MIDDLE_GREY);
  const auto low = static_cast<ptrdiff_t>(std::min(threshold, middle));
  const auto high = static_cast<ptrdiff_t>(std::max(threshold, middle));
  const int64_t parted_otherwise = std::accumulate(histogram.begin() + low, histogram.begin() + high, int64_t{0});
  return static_cast<double>(parted_otherwise) > LIKE_MIDDLE * ink ? static_cast<int32_t>(threshold) : MIDDLE_GREY;
}

// 7/16 of the error go to the next pixel, 3/16, 5/16 and 1/16 to the row below.
void diffuse(std::vector<uint8_t> &grey, int32_t width, int32_t threshold) {
  const auto columns = static_cast<size_t>(width);
  std::vector<int32_t> here(columns + 2), below(columns + 2);  // errors in sixteenths, a pixel to spare at each end
  for (size_t row = 0; row * columns < grey.size(); ++row) {
    const bool leftward = row % 2;
    for (size_t i = 0; i < columns; ++i) {
      const size_t x = leftward ? columns - 1 - i : i;
      uint8_t &pixel = grey[row * columns + x];
      const int32_t wanted = pixel + here[x + 1] / 16;
      pixel = wanted < threshold ? 0 : 255;
      const int32_t error = wanted - pixel;
      here[leftward ? x : x + 2] += 7 * error;
      below[leftward ? x + 2 : x] += 3 * error;
      below[x + 1] += 5 * error;
      below[leftward ? x : x + 2] += error;
    }
    here.swap(below);
    std::fill(below.begin(), below.end(), 0);
  }
}

void threshold_locally(std::vector<uint8_t> &grey, int32_t width) {
  const int64_t columns = width, rows = columns > 0 ? std::ssize(grey) / columns : 0;
  std::vector<uint8_t> result(grey.size());
  std::vector<WindowSums> sums(static_cast<size_t>(columns));  // of each column, over the rows of the window
  const auto add_row = [&](int64_t row, double times) {
    if (row < 0 || row >= rows) return;
    for (int64_t x = 0; x < columns; ++x) {
      const double level = grey[static_cast<size_t>(row * columns + x)];
      sums[static_cast<size_t>(x)].add({level, level * level}, times);
    }
  };
  for (int64_t row = 0; row < RADIUS; ++row) add_row(row, 1);
  for (int64_t row = 0; row < rows; ++row) {
    add_row(row + RADIUS, 1);
    add_row(row - RADIUS - 1, -1);
    const int64_t window_rows = std::min(row + RADIUS, rows - 1) - std::max<int64_t>(row - RADIUS, 0) + 1;
    WindowSums window;
    for (int64_t x = 0; x < std::min(RADIUS, columns); ++x) window.add(sums[static_cast<size_t>(x)], 1);
    for (int64_t x = 0; x < columns; ++x) {
      if (x + RADIUS < columns) window.add(sums[static_cast<size_t>(x + RADIUS)], 1);
      if (x > RADIUS) window.add(sums[static_cast<size_t>(x - RADIUS - 1)], -1);
      const int64_t window_columns = std::min(x + RADIUS, columns - 1) - std::max<int64_t>(x - RADIUS, 0) + 1;
      const auto pixels = static_cast<double>(window_rows * window_columns);
      const double mean = window.grey / pixels;
      const double deviation = std::sqrt(std::max(0.0, window.square / pixels - mean * mean));
      const double threshold = mean * (1 + SAUVOLA_K * (deviation / MOST_DEVIATION - 1));
      const auto at = static_cast<size_t>(row * columns + x);
      result[at] = grey[at] < threshold ? 0 : 255;
    }
  }
  grey = std::move(result);
}

}  // namespace tolvane
