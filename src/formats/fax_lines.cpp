// Scaling, halftoning and placing of one page. A black and white picture that keeps its width stays packed where it
// can; any other becomes rows of 0 and 255, which are scaled as grey.
#include "formats/fax_lines.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "formats/grey_rows.h"
#include "formats/halftone.h"
#include "formats/packed_rows.h"
#include "formats/resample.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|fax_lines|9|01|4|0|0|11/23/26|12:42:19";

constexpr double NOMINAL = 0.045;  // 200 for 204 lines and 196 for 200: 4 percent together

bool is_nominally(double scale, double simple) {
  return std::abs(scale / simple - 1) < NOMINAL;
}

constexpr int32_t MOST_ROWS = 4096;          // that are averaged to one
constexpr int64_t MOST_AVERAGED = 24 << 20;  // pixels of them
constexpr size_t MOST_KEPT = 8 << 20;  // pixels of a page that are kept until its threshold is known: two fine pages

// Brings rows to a new size: those that come are averaged across and kept until all that fall together are there.
class Resizing {
 public:
  Resizing(const SourcePicture &page, int32_t width, int32_t height, const row_sink &sink)
      : same_width_(width == page.width),
        width_(static_cast<size_t>(width)),
        across_(spans(page.width, width)),
        down_(spans(page.height, height)),
        sink_(sink),
        averages_(width_) {}

  void add(const uint8_t *row) {
    const size_t held = rows_.size();
    rows_.resize(held + width_);
    if (same_width_) {
      std::copy_n(row, width_, rows_.begin() + static_cast<ptrdiff_t>(held));
    } else {
      for (size_t x = 0; x < width_; ++x) rows_[held + x] = average(row, 1, across_[x]);
    }
    for (; next_ < down_.size() && down_[next_].last == row_; ++next_) pass_on(down_[next_]);
    ++row_;
    if (next_ == down_.size()) return;
    const int32_t done = std::min(down_[next_].first, row_) - first_;
    rows_.erase(rows_.begin(), rows_.begin() + done * static_cast<ptrdiff_t>(width_));
    first_ += done;
  }

 private:
  void pass_on(Span span) {
    const uint8_t *rows = &rows_[static_cast<size_t>(span.first - first_) * width_];
    if (span.first == span.last) return sink_(rows);
    span.last -= span.first;
    span.first = 0;
    for (size_t x = 0; x < width_; ++x) averages_[x] = average(rows + x, width_, span);
    sink_(averages_.data());
  }

  const bool same_width_;
  const size_t width_;
  const std::vector<Span> across_, down_;
  const row_sink &sink_;
  std::vector<uint8_t> averages_;
  std::vector<uint8_t> rows_;  // averaged across
  int32_t first_ = 0;          // number of the first of them
  int32_t row_ = 0;            // that comes next
  size_t next_ = 0;            // span to pass on
};

// Puts grey rows into lines, in the middle.
class LineMaker {
 public:
  LineMaker(int32_t width, std::vector<uint8_t> &lines)
      : kept_(std::min(static_cast<size_t>(width), static_cast<size_t>(FAX_WIDTH))),
        cut_((static_cast<size_t>(width) - kept_) / 2),
        left_((FAX_WIDTH - kept_) / 2),
        lines_(lines) {}

  void add(const uint8_t *row, int32_t threshold) {
    const size_t at = lines_.size();
    lines_.resize(at + LINE_BYTES);
    uint8_t *line = &lines_[at];
    const uint8_t *pixel = row + cut_;
    for (size_t x = left_; x < left_ + kept_; ++x, ++pixel) {
      if (*pixel < threshold) line[x / 8] = static_cast<uint8_t>(line[x / 8] | 0x80 >> x % 8);
    }
  }

 private:
  const size_t kept_, cut_, left_;
  std::vector<uint8_t> &lines_;
};

// Makes black and white of grey rows by one threshold, which depends on all of them. They are kept, or made again.
Status part_by_page(const row_source &rows, int32_t width, int32_t height, LineMaker &maker) {
  const auto columns = static_cast<size_t>(width);
  const bool keep = columns * static_cast<size_t>(height) <= MOST_KEPT;
  Histogram histogram = {};
  std::vector<uint8_t> kept;
  if (keep) kept.reserve(columns * static_cast<size_t>(height));
  const Status status = rows([&](const uint8_t *row) {
    for (size_t x = 0; x < columns; ++x) ++histogram[row[x]];
    if (keep) kept.insert(kept.end(), row, row + columns);
  });
  if (status == FAILED) return FAILED;
  const int32_t threshold = page_threshold(histogram);
  for (size_t at = 0; at < kept.size(); at += columns) maker.add(&kept[at], threshold);
  if (keep) return status;
  Diagnostics repeated;
  Status again;
  {
    const HoldDiagnostics hold(repeated);
    again = rows([&](const uint8_t *row) { maker.add(row, threshold); });
  }
  if (again == FAILED) pass_on_diagnostics(repeated);
  return worse(status, again);
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

Status make_fax_lines(const char *name, int32_t number, SourcePicture &&page, const FitOptions &options,
                      std::vector<uint8_t> &lines) {
  lines.clear();
  const FitScale scale = fit_scale(page.width, page.x_dpi, page.y_dpi, options);
  const double exact_height = std::max(1.0, std::round(page.height * scale.y));
  if (exact_height > LONGEST_PAGE)
    return failure("%s: page %d would have more than %d lines", name, number, LONGEST_PAGE);
  const auto height = static_cast<int32_t>(exact_height);
  const int32_t most = options.fit == FIT_CROP ? WIDEST_PICTURE : FAX_WIDTH;
  const auto width = std::clamp(static_cast<int32_t>(std::lround(page.width * scale.x)), 1, most);
  if (page.height / height >= MOST_ROWS || page.height / height >= MOST_AVERAGED / width)
    return failure("%s: page %d has %d rows for %d lines: is its resolution right?", name, number, page.height, height);
  // Black and white is never parted anew, so that its averages do not depend on the page.
  const bool bilevel = !page.grey;
  const int32_t threshold = options.threshold > 0 ? options.threshold : MIDDLE_GREY;
  if (bilevel && width == page.width && width == FAX_WIDTH && height == page.height) {
    lines = std::move(page.bits);
    return DONE;
  }
  if (bilevel && width == page.width && width <= FAX_WIDTH &&
      fit_packed(page, height, threshold, options.halftone == DIFFUSION, lines))
    return DONE;

  if (bilevel) page.grey = unpacked_rows(page);
  const row_source seen = seen_rows(page);
  const auto rows = [&](const row_sink &sink) {
    Resizing resizing(page, width, height, sink);
    return seen([&](const uint8_t *row) { resizing.add(row); });
  };
  lines.reserve(static_cast<size_t>(height) * LINE_BYTES);
  LineMaker maker(width, lines);
  const row_sink part = [&](const uint8_t *row) { maker.add(row, threshold); };
  if (options.halftone == DIFFUSION) {
    Diffusion diffusion(width, threshold);
    std::vector<uint8_t> pixels(static_cast<size_t>(width));
    return rows([&](const uint8_t *row) {
      std::copy_n(row, width, pixels.begin());
      diffusion.diffuse(pixels.data());
      part(pixels.data());
    });
  }
  if (options.halftone == LOCAL_THRESHOLD && !bilevel) {
    LocalThreshold local(width, part);
    const Status status = rows([&](const uint8_t *row) { local.add(row); });
    local.finish();
    return status;
  }
  if (options.halftone == THRESHOLD && !bilevel && options.threshold == 0)
    return part_by_page(rows, width, height, maker);
  return rows(part);
}

}  // namespace tolvane
