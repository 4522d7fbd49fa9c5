// The picture of a page by the plain rules, one fax pixel at a time and every division written out: slow, and what the
// rasteriser and the window are held against.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct PlainPicture {
  int32_t reduced, orientation;
  bool fine;
  int32_t zoom = 1;  ///< pixels of the screen for one, across and down
  std::vector<uint8_t> block = std::vector<uint8_t>(753408);

  /// Sets `count` black pixels of line `cy` from pixel `x` on, if the page shows that line.
  void paint(int32_t cy, int32_t x, int32_t count);
  /// Paints a page as the decoder gives its lines, 216 bytes for each.
  /// @return the number of lines
  int32_t paint_page(const std::string &coded, int32_t comp_type);

  /// Width and height of the picture of a page of `lines` lines.
  int32_t width(int32_t lines) const;
  int32_t height(int32_t lines) const;
  /// Whether the pixel in row k and column j of that picture is black.
  bool black(int32_t lines, int32_t k, int32_t j) const;

 private:
  int32_t divisor() const { return reduced + 2; }
  int32_t rows(int32_t lines) const;
  bool upright() const { return orientation % 180 == 0; }
};
