// Rows are asked for again rather than kept, where they would be many.
#include "formats/grey_rows.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "formats/halftone.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|grey_rows|9|01|2|0|0|11/23/26|11:48:38";

constexpr int64_t MOST_HELD = 20 << 20;  // pixels of a turned picture: five fine pages

// Turned rows, of which a part is made in each reading of the picture.
class TurnedRows {
 public:
  TurnedRows(int32_t width, int32_t height, const Turn &turn)
      : turn_(turn), old_width_(width), old_height_(height), width_(turn.transpose ? height : width) {
    height_ = turn.transpose ? width : height;
    part_ = std::clamp<int64_t>(MOST_HELD / width_, 1, height_);
    held_.resize(static_cast<size_t>(part_ * width_));
  }

  Status pass_on(const row_source &rows, const row_sink &sink) {
    Status status = DONE;
    for (first_ = 0; first_ < height_ && status != FAILED; first_ += part_) {
      Diagnostics repeated;
      const HoldDiagnostics hold(repeated);
      int64_t y = 0;
      status = worse(status, rows([&](const uint8_t *row) { take(row, y++); }));
      if (first_ == 0 || status == FAILED) once_ = std::move(repeated);
      if (status == FAILED) break;
      for (int64_t i = 0; i < std::min(part_, height_ - first_); ++i) sink(&held_[static_cast<size_t>(i * width_)]);
    }
    pass_on_diagnostics(once_);
    return status;
  }

 private:
  // Stores the pixels of row y that belong to the part in hand.
  void take(const uint8_t *row, int64_t y) {
    const int64_t last = std::min(first_ + part_, height_);
    if (!turn_.transpose) {
      const int64_t at = turn_.flip ? old_height_ - 1 - y : y;
      if (at < first_ || at >= last) return;
      uint8_t *target = &held_[static_cast<size_t>((at - first_) * width_)];
      if (turn_.mirror) {
        std::reverse_copy(row, row + width_, target);
      } else {
        std::copy_n(row, width_, target);
      }
      return;
    }
    const int64_t column = turn_.mirror ? old_height_ - 1 - y : y;
    for (int64_t at = first_; at < last; ++at) {
      const int64_t x = turn_.flip ? old_width_ - 1 - at : at;
      held_[static_cast<size_t>((at - first_) * width_ + column)] = row[x];
    }
  }

  const Turn turn_;
  const int64_t old_width_, old_height_, width_;
  int64_t height_ = 0, part_ = 0, first_ = 0;
  std::vector<uint8_t> held_;
  Diagnostics once_;  // of the first reading
};

}  // namespace

row_source unpacked_rows(SourcePicture &page) {
  const auto bits = std::make_shared<const std::vector<uint8_t>>(std::move(page.bits));
  page.bits.clear();
  return [bits, width = static_cast<size_t>(page.width), size = page.row_bytes()](const row_sink &sink) {
    std::vector<uint8_t> row(width);
    for (size_t at = 0; at < bits->size(); at += size) {
      for (size_t x = 0; x < width; ++x) row[x] = (*bits)[at + x / 8] & 0x80 >> x % 8 ? 0 : 255;
      sink(row.data());
    }
    return DONE;
  };
}

Status pack_rows(const row_source &rows, int32_t width, std::vector<uint8_t> &bits) {
  const auto columns = static_cast<size_t>(width), size = (columns + 7) / 8;
  return rows([&](const uint8_t *row) {
    const size_t at = bits.size();
    bits.resize(at + size);
    for (size_t x = 0; x < columns; ++x) {
      if (row[x] < MIDDLE_GREY) bits[at + x / 8] = static_cast<uint8_t>(bits[at + x / 8] | 0x80 >> x % 8);
    }
  });
}

Status find_turn(int32_t degrees, const SourcePicture &page, Turn &turn) {
  turn = {};
  if (page.rotated) return DONE;
  Status status = DONE;
  std::vector<uint8_t> packed;
  const bool looks = degrees == ROTATE_AUTO && page.grey;
  if (looks) {
    Diagnostics repeated;  // the picture is read again later
    const HoldDiagnostics hold(repeated);
    status = pack_rows(seen_rows(page), page.width, packed);
    packed.resize(page.row_bytes() * static_cast<size_t>(page.height));
  }
  turn = wanted_turn(degrees, looks ? packed : page.bits, page.width, page.height);
  return status;
}

row_source seen_rows(const SourcePicture &page) {
  if (page.turn.is_none()) return page.grey;
  const int32_t width = page.turn.transpose ? page.height : page.width;
  const int32_t height = page.turn.transpose ? page.width : page.height;
  return [rows = page.grey, turn = page.turn, width, height](const row_sink &sink) {
    return TurnedRows(width, height, turn).pass_on(rows, sink);
  };
}

void turn_picture(SourcePicture &page, const Turn &turn) {
  if (turn.is_none()) return;
  if (page.grey) {
    page.turn = then(page.turn, turn);
    if (turn.transpose) std::swap(page.width, page.height);
  } else {
    turn_rows(page.bits, page.width, page.height, turn);
  }
  if (turn.transpose) std::swap(page.x_dpi, page.y_dpi);
}

}  // namespace tolvane
