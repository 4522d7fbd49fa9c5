// A line as the list of its changing elements. Coding in two dimensions, either way, is a walk along the lists of two
// lines: the encoder finds the elements in pixels, the decoder gets them from the runs that it makes. What a newcomer
// gets wrong: in the stored form position 0 counts as the start of a line in the walk, as it does in `bit_next_trans`.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "line_sink.h"

namespace tolvane {

/// The changing elements of a line (ITU-T T.4, 4.2.1.1) from left to right, alternately one to black and one to white.
class ChangeList {
 public:
  /// Elements of storage for the list of a line of `width` pixels.
  static constexpr size_t room(int32_t width) {
    return ELEMENTS_BEFORE + static_cast<size_t>(width) + 1 + ELEMENTS_AFTER;
  }

  ChangeList() = default;
  /// An empty list in `storage`, which stays the caller's.
  explicit ChangeList(int32_t *storage) : first_(storage + ELEMENTS_BEFORE) { clear(); }

  void clear() {
    end_ = first_;
    first_[-1] = first_[-2] = -1;
  }

  /// The colour changes at `position`, which is right of the last change.
  void append(int32_t position) { *end_++ = position; }

  /// The colour changes at `position`, which is not left of the last change. Two changes at one pixel are none: the run
  /// between them is empty.
  void change_at(int32_t position) {
    *end_ = position;
    end_ += end_[-1] == position ? -1 : 1;
  }

  /// Makes the list ready for the walk: `width` replaces all the elements that a search does not find.
  template <CodeForm form>
  void finish(int32_t width) {
    while (end_[-1] >= width) --end_;
    std::fill_n(end_, ABSENT, width);
    std::fill_n(end_ + ABSENT, STOPS, std::numeric_limits<int32_t>::max());
    first_[-1] = form == CodeForm::standard || *first_ == 0 ? -1 : 0;
  }

  /// The first element, one to black, of a finished list. Before it is the element to white that a search from position
  /// 0 finds in the stored form: pixel 0 itself, if that is white.
  const int32_t *first() const { return first_; }
  /// After the last element: the width, as are the two elements that follow.
  const int32_t *end() const { return end_; }

 private:
  static constexpr size_t ELEMENTS_BEFORE = 2;
  static constexpr size_t ABSENT = 3, STOPS = 2;  // an element of either colour that ends every search
  static constexpr size_t ELEMENTS_AFTER = ABSENT + STOPS;

  int32_t *first_ = nullptr;
  int32_t *end_ = nullptr;
};

/// b1 for an a0 left of the end of the line.
///
/// @param b  element of b1's colour in the list of the reference line, not right of b1
template <CodeForm form>
[[gnu::always_inline]] inline const int32_t *find_b1(const int32_t *b, int32_t a0) {
  const int32_t search_from = form == CodeForm::stored && a0 == 0 ? -1 : a0;
  while (*b <= search_from) b += 2;
  return b;
}

/// Where the search for the next b1 begins when the colour has changed at `a0`.
///
/// @param b  the last b1, or where the search for it would have begun: of the elements left of it only the nearest can
///           be right of a0
[[gnu::always_inline]] inline const int32_t *turn_b1(const int32_t *b, int32_t a0) {
  return b + (b[-1] < a0 ? 1 : -1);
}

}  // namespace tolvane
