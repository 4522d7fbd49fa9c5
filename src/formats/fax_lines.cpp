// Scaling, halftoning and placing of one page. A black and white picture gives the same lines packed and in grey: 0 and
// 255 are left alone by both ways of making black and white.
#include "formats/fax_lines.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "formats/halftone.h"
#include "formats/packed_rows.h"
#include "formats/resample.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|fax_lines|9|01|2|0|0|11/23/26|06:39:52";

constexpr double NOMINAL = 0.045;  // 200 for 204 lines and 196 for 200: 4 percent together

bool is_nominally(double scale, double simple) {
  return std::abs(scale / simple - 1) < NOMINAL;
}

// The picture at a new size.
std::vector<uint8_t> resized(const SourcePicture &page, int32_t width, int32_t height) {
  const auto new_width = static_cast<size_t>(width), old_width = static_cast<size_t>(page.width);
  const auto rows = static_cast<size_t>(page.height);
  std::vector<uint8_t> narrowed(new_width * rows), result(new_width * static_cast<size_t>(height));
  const std::vector<Span> across = spans(page.width, width);
  for (size_t row = 0; row < rows; ++row) {
    for (size_t x = 0; x < new_width; ++x)
      narrowed[row * new_width + x] = average(&page.grey[row * old_width], 1, across[x]);
  }
  uint8_t *out = result.data();
  for (const Span &span : spans(page.height, height)) {
    for (size_t x = 0; x < new_width; ++x) *out++ = average(&narrowed[x], new_width, span);
  }
  return result;
}

}  // namespace

double lines_per_inch(int32_t resolution) {
  constexpr double DENSITIES[] = {98, 196, 300, 400, 600};
  return resolution > 0 && resolution < std::ssize(DENSITIES) ? DENSITIES[resolution] : DENSITIES[0];
}

namespace {

// The scale that keeps the true size on paper.
FitScale true_scale(int32_t width, double x_dpi, double y_dpi, int32_t resolution) {
  const bool unknown = x_dpi <= 0 || y_dpi <= 0;
  if (unknown && width == FAX_WIDTH) return {1, 1};
  if (unknown) x_dpi = y_dpi = FAX_X_DPI;
  return {FAX_X_DPI / x_dpi, lines_per_inch(resolution) / y_dpi};
}

}  // namespace

FitScale fit_scale(int32_t width, double x_dpi, double y_dpi, const FitOptions &options) {
  if ((x_dpi <= 0 || y_dpi <= 0) && width == FAX_WIDTH) return {1, 1};
  FitScale scale = true_scale(width, x_dpi, y_dpi, options.resolution);
  const double enlarged = FAX_WIDTH / (width * scale.x);
  if (options.fit == FIT_SCALE || (options.fit == FIT_CENTER && enlarged < 1))
    scale = {scale.x * enlarged, scale.y * enlarged};
  for (const double across : {1.0, 0.5}) {
    const double pixels = width * across;
    const bool fits = options.fit == FIT_CROP || (options.fit == FIT_SCALE ? pixels == FAX_WIDTH : pixels <= FAX_WIDTH);
    if (!fits || !is_nominally(scale.x, across)) continue;
    for (const double down : {0.25, 0.5, 1.0, 2.0}) {
      if (is_nominally(scale.y, down)) scale.y = down;
    }
    return {across, scale.y};
  }
  return scale;
}

double overhang(const SourcePicture &page, const FitOptions &options) {
  const double pixels = page.width * true_scale(page.width, page.x_dpi, page.y_dpi, options.resolution).x;
  return pixels > FAX_WIDTH * (1 + NOMINAL) ? pixels / FAX_WIDTH : 1;
}

bool make_fax_lines(SourcePicture &&page, const FitOptions &options, std::vector<uint8_t> &lines) {
  lines.clear();
  const FitScale scale = fit_scale(page.width, page.x_dpi, page.y_dpi, options);
  const double exact_height = std::max(1.0, std::round(page.height * scale.y));
  if (exact_height > LONGEST_PAGE) return false;
  const auto height = static_cast<int32_t>(exact_height);
  const int32_t most = options.fit == FIT_CROP ? WIDEST_PICTURE : FAX_WIDTH;
  const auto width = std::clamp(static_cast<int32_t>(std::lround(page.width * scale.x)), 1, most);
  // Black and white is never parted anew, so that its averages do not depend on the page.
  const bool bilevel = page.grey.empty();
  int32_t threshold = options.threshold > 0 ? options.threshold : MIDDLE_GREY;
  if (bilevel && width == page.width && width <= FAX_WIDTH &&
      fit_packed(page, height, threshold, options.halftone == DIFFUSION, lines))
    return true;

  if (bilevel) page.grey = unpacked(page);
  std::vector<uint8_t> grey =
      width == page.width && height == page.height ? std::move(page.grey) : resized(page, width, height);
  if (options.halftone == DIFFUSION) diffuse(grey, width, threshold);
  if (options.halftone == LOCAL_THRESHOLD && !bilevel) threshold_locally(grey, width);
  if (options.halftone == THRESHOLD && !bilevel && options.threshold == 0) threshold = page_threshold(grey);

  const auto columns = static_cast<size_t>(width), kept = std::min(columns, static_cast<size_t>(FAX_WIDTH));
  const size_t cut = (columns - kept) / 2, left = (FAX_WIDTH - kept) / 2;
  lines.resize(static_cast<size_t>(height) * LINE_BYTES);
  for (size_t row = 0; row < static_cast<size_t>(height); ++row) {
    uint8_t *line = &lines[row * LINE_BYTES];
    const uint8_t *pixel = &grey[row * columns + cut];
    for (size_t x = left; x < left + kept; ++x, ++pixel) {
      if (*pixel < threshold) line[x / 8] = static_cast<uint8_t>(line[x / 8] | 0x80 >> x % 8);
    }
  }
  return true;
}

}  // namespace tolvane
