// Whether an average of black and white pixels is below the threshold depends only on which of them are black. So a
// line is a boolean function of the rows that it covers, computed for 8 pixels at a time.
#include "formats/packed_rows.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "formats/resample.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|packed_rows|9|01|3|0|0|11/23/26|09:04:19";

constexpr int32_t MOST_ROWS = 3;  // that one line covers: those of a reduction to half the height

// For each combination of black rows of a span (bit i: row i is black), whether their average is black.
std::array<bool, 1 << MOST_ROWS> black_averages(const Span &span, int32_t threshold) {
  const int32_t rows = span.last - span.first + 1;
  std::array<bool, 1 << MOST_ROWS> black = {};
  for (uint32_t combination = 0; combination < 1U << rows; ++combination) {
    std::array<uint8_t, MOST_ROWS> column = {};
    for (size_t i = 0; i < column.size(); ++i) column[i] = combination >> i & 1 ? 0 : 255;
    black[combination] = average(column.data(), 1, {0, rows - 1, span.first_weight, span.last_weight}) < threshold;
  }
  return black;
}

// Averages the rows of a span.
//
// @param rows  the first of them, `size` bytes each
void merge_rows(const uint8_t *rows, size_t size, const Span &span, int32_t threshold, uint8_t *merged) {
  const auto black = black_averages(span, threshold);
  const auto count = static_cast<size_t>(span.last - span.first) + 1;
  for (size_t x = 0; x < size; ++x) {
    uint32_t result = 0;
    for (uint32_t combination = 0; combination < 1U << count; ++combination) {
      if (!black[combination]) continue;
      uint32_t match = 0xFF;
      for (size_t i = 0; i < count; ++i)
        match &= combination >> i & 1 ? rows[i * size + x] : ~uint32_t{rows[i * size + x]};
      result |= match;
    }
    merged[x] = static_cast<uint8_t>(result);
  }
}

// Puts a row into a line that is white, `left` pixels from its start.
void place_row(const uint8_t *row, int32_t width, size_t left, uint8_t *line) {
  const size_t size = (static_cast<size_t>(width) + 7) / 8, shift = left % 8;
  line += left / 8;
  for (size_t x = 0; x < size; ++x) {
    const uint32_t unused = x + 1 == size ? static_cast<uint32_t>(-width & 7) : 0;
    const uint32_t pixels = row[x] & 0xFFU << unused;
    line[x] = static_cast<uint8_t>(line[x] | pixels >> shift);
    if (shift > unused) line[x + 1] = static_cast<uint8_t>(pixels << (8 - shift));
  }
}

}  // namespace

bool fit_packed(const SourcePicture &page, int32_t height, int32_t threshold, bool diffuse,
                std::vector<uint8_t> &lines) {
  const std::vector<Span> rows = spans(page.height, height);
  const auto most_rows = diffuse ? 1 : MOST_ROWS;
  if (!std::all_of(rows.begin(), rows.end(), [&](const Span &span) { return span.last - span.first < most_rows; }))
    return false;
  lines.resize(static_cast<size_t>(height) * LINE_BYTES);
  const auto left = static_cast<size_t>(FAX_WIDTH - page.width) / 2;
  const size_t size = page.row_bytes();
  std::vector<uint8_t> merged(size);
  uint8_t *line = lines.data();
  for (const Span &span : rows) {
    const uint8_t *row = &page.bits[static_cast<size_t>(span.first) * size];
    if (span.first != span.last) {
      merge_rows(row, size, span, threshold, merged.data());
      row = merged.data();
    }
    place_row(row, page.width, left, line);
    line += LINE_BYTES;
  }
  return true;
}

}  // namespace tolvane
