// Halftoning, and the choice of thresholds. Rows come one after another; no picture is held.
#include "formats/halftone.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|halftone|9|01|2|0|0|11/23/26|09:04:19";

constexpr double TEXT_PARTED = 0.8;   // of the variance, by the threshold: greys spread evenly come to 0.75
constexpr double MOST_INK = 0.3;      // of a page of text
constexpr double LIKE_MIDDLE = 0.02;  // of the ink, between two thresholds that part it alike

constexpr int64_t RADIUS = 25;          // of the window around a pixel: an eighth of an inch, larger than a stroke
constexpr double SAUVOLA_K = 0.2;       // weight of the contrast in the window
constexpr double MOST_DEVIATION = 128;  // of greys

}  // namespace

int32_t page_threshold(const Histogram &histogram) {
  double total = 0, squares = 0, pixels = 0;
  for (size_t value = 0; value < histogram.size(); ++value) {
    const auto count = static_cast<double>(histogram[value]), level = static_cast<double>(value);
    pixels += count;
    total += count * level;
    squares += count * level * level;
  }
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

Diffusion::Diffusion(int32_t width, int32_t threshold)
    : threshold_(threshold), here_(static_cast<size_t>(width) + 2), below_(here_.size()) {}

// 7/16 of the error go to the next pixel, 3/16, 5/16 and 1/16 to the row below.
void Diffusion::diffuse(uint8_t *row) {
  const size_t columns = here_.size() - 2;
  for (size_t i = 0; i < columns; ++i) {
    const size_t x = leftward_ ? columns - 1 - i : i;
    const int32_t wanted = row[x] + here_[x + 1] / 16;
    row[x] = wanted < threshold_ ? 0 : 255;
    const int32_t error = wanted - row[x];
    here_[leftward_ ? x : x + 2] += 7 * error;
    below_[leftward_ ? x + 2 : x] += 3 * error;
    below_[x + 1] += 5 * error;
    below_[leftward_ ? x : x + 2] += error;
  }
  here_.swap(below_);
  std::fill(below_.begin(), below_.end(), 0);
  leftward_ = !leftward_;
}

LocalThreshold::LocalThreshold(int32_t width, const row_sink &sink)
    : columns_(width), sink_(sink), sums_(static_cast<size_t>(width)) {}

void LocalThreshold::count_row(const uint8_t *row, double times) {
  for (size_t x = 0; x < sums_.size(); ++x) {
    const double level = row[x];
    sums_[x].add({level, level * level}, times);
  }
}

void LocalThreshold::add(const uint8_t *row) {
  rows_.emplace_back(row, row + columns_);
  count_row(row, 1);
  if (first_ + std::ssize(rows_) > next_ + RADIUS) pass_on();
}

void LocalThreshold::finish() {
  while (next_ < first_ + std::ssize(rows_)) pass_on();
}

void LocalThreshold::pass_on() {
  const std::vector<uint8_t> &grey = rows_[static_cast<size_t>(next_ - first_)];
  std::vector<uint8_t> result(grey.size());
  WindowSums window;
  for (int64_t x = 0; x < std::min(RADIUS, columns_); ++x) window.add(sums_[static_cast<size_t>(x)], 1);
  for (int64_t x = 0; x < columns_; ++x) {
    if (x + RADIUS < columns_) window.add(sums_[static_cast<size_t>(x + RADIUS)], 1);
    if (x > RADIUS) window.add(sums_[static_cast<size_t>(x - RADIUS - 1)], -1);
    const int64_t window_columns = std::min(x + RADIUS, columns_ - 1) - std::max<int64_t>(x - RADIUS, 0) + 1;
    const auto pixels = static_cast<double>(std::ssize(rows_) * window_columns);
    const double mean = window.grey / pixels;
    const double deviation = std::sqrt(std::max(0.0, window.square / pixels - mean * mean));
    const double threshold = mean * (1 + SAUVOLA_K * (deviation / MOST_DEVIATION - 1));
    const auto at = static_cast<size_t>(x);
    result[at] = grey[at] < threshold ? 0 : 255;
  }
  sink_(result.data());
  ++next_;
  if (next_ - RADIUS <= first_) return;
  count_row(rows_.front().data(), -1);
  rows_.pop_front();
  ++first_;
}

}  // namespace tolvane
