// From grey to black and white.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <vector>

#include "formats/source_picture.h"

namespace tolvane {

constexpr int32_t MIDDLE_GREY = 128;  ///< the threshold of pages that are no text

/// How many pixels of each grey there are.
using Histogram = std::array<int64_t, 256>;

/// The threshold of a page: the one that parts ink from paper best (Otsu) where the page is text, that is mostly paper
/// with greys around two values, and parts it otherwise than MIDDLE_GREY; else MIDDLE_GREY.
int32_t page_threshold(const Histogram &histogram);

/// Error diffusion (Floyd and Steinberg), every other row from right to left so that no pattern leans to one side.
class Diffusion {
 public:
  Diffusion(int32_t width, int32_t threshold);

  /// Makes the next row black and white, in place.
  void diffuse(uint8_t *row);

 private:
  int32_t threshold_;
  bool leftward_ = false;
  std::vector<int32_t> here_, below_;  // errors in sixteenths, a pixel to spare at each end
};

/// Makes each pixel black or white by the grey around it (Sauvola): for pages in uneven light.
class LocalThreshold {
 public:
  /// @param sink  receives the rows, later than they come
  LocalThreshold(int32_t width, const row_sink &sink);

  void add(const uint8_t *row);
  /// Passes on the last rows.
  void finish();

 private:
  /// Sums of the greys of a window, and of their squares: whole numbers, and so exact.
  struct WindowSums {
    double grey = 0, square = 0;

    void add(const WindowSums &other, double times) {
      grey += times * other.grey;
      square += times * other.square;
    }
  };

  void count_row(const uint8_t *row, double times);
  void pass_on();

  int64_t columns_;
  const row_sink &sink_;
  std::deque<std::vector<uint8_t>> rows_;  // of the window
  int64_t first_ = 0;                      // number of the first of them
  int64_t next_ = 0;                       // row to pass on
  std::vector<WindowSums> sums_;           // of each column, over the rows of the window
};

}  // namespace tolvane
