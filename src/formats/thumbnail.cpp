// Averages across first: a line is unpacked once, and what is kept of it is as wide as the result.
#include "formats/thumbnail.h"

#include <algorithm>
#include <cmath>

#include "formats/fax_lines.h"
#include "formats/resample.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|thumbnail|9|01|1|0|0|11/23/26|09:10:00";
}

PagePicture make_thumbnail(const std::vector<uint8_t> &lines, double y_dpi, int32_t size) {
  const auto count = static_cast<int32_t>(lines.size() / LINE_BYTES);
  const double across = FAX_WIDTH / FAX_X_DPI, down = count / y_dpi, scale = size / std::max(across, down);
  PagePicture picture;
  picture.width = std::max(static_cast<int32_t>(std::lround(across * scale)), 1);
  picture.height = std::max(static_cast<int32_t>(std::lround(down * scale)), 1);
  picture.x_dpi = picture.y_dpi = scale;

  const auto width = static_cast<size_t>(picture.width);
  const std::vector<Span> columns = spans(FAX_WIDTH, picture.width), rows = spans(count, picture.height);
  std::vector<uint8_t> line(FAX_WIDTH), narrow(static_cast<size_t>(count) * width);
  for (int32_t row = 0; row < count; ++row) {
    const uint8_t *bits = &lines[static_cast<size_t>(row) * LINE_BYTES];
    for (size_t x = 0; x < line.size(); ++x) line[x] = bits[x / 8] << x % 8 & 0x80 ? 0 : 255;
    for (size_t x = 0; x < width; ++x)
      narrow[static_cast<size_t>(row) * width + x] = average(line.data(), 1, columns[x]);
  }
  picture.grey.reserve(static_cast<size_t>(picture.height) * width);
  for (const Span &span : rows) {
    for (size_t x = 0; x < width; ++x) picture.grey.push_back(average(&narrow[x], width, span));
  }
  return picture;
}

}  // namespace tolvane
