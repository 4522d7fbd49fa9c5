// The two lines of a two-dimensional decode: the line being decoded, made of runs, and the reference line above it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include "bit_window.h"
#include "change_list.h"
#include "line_sink.h"

namespace tolvane {

/// Words of 64 pixels of a line of `size` bytes.
constexpr size_t words_of(uint32_t size) {
  return (size_t{size} + 7) / 8;
}

/// Memory that only grows.
template <typename T>
class Room {
 public:
  /// Sees to it that there are `count` elements. Their values are lost if the memory grows.
  bool reserve(size_t count) {
    if (count <= count_) return true;
    count_ = 0;
    elements_.reset(new (std::nothrow) T[count]);
    if (!elements_) return false;
    count_ = count;
    return true;
  }

  T *get() const { return elements_.get(); }

 private:
  std::unique_ptr<T[]> elements_;
  size_t count_ = 0;
};

/// The memory of a `LinePair`, kept from page to page.
struct LineStore {
  Room<int32_t> elements;
  Room<uint64_t> pixels;

  /// @param with_pixels  false if nobody asks for line bitmaps
  bool reserve(int32_t width, uint32_t size, bool with_pixels) {
    return elements.reserve(2 * ChangeList::room(width)) && (!with_pixels || pixels.reserve(words_of(size)));
  }
};

/// The words of a bitmap that may not be white: from `first` up to, not including, `end`.
struct PaintedWords {
  size_t first = 0, end = 0;
};

/// Paints a line of `words` words from its changing elements. From each element on, the pixels of its word turn round,
/// and so do all up to the next one. Takes and gives values alone, so that the lines of a decode can stay in registers.
///
/// @param old  what the bitmap contains
inline PaintedWords paint(uint64_t *pixels, size_t words, PaintedWords old, const int32_t *first, const int32_t *end) {
  std::fill_n(pixels + old.first, old.end - old.first, 0);
  if (first == end) return {};
  const bool black_at_end = (end - first) % 2 != 0;
  const PaintedWords painted = {static_cast<uint32_t>(*first) / 64,
                                black_at_end ? words : static_cast<uint32_t>(end[-1]) / 64 + 1};
  for (const int32_t *change = first; change < end; ++change)
    pixels[static_cast<uint32_t>(*change) / 64] ^= ~UINT64_C(0) >> *change % 64;
  uint64_t before = 0;  // the last pixel before the word, 64 times
  for (size_t n = painted.first; n < painted.end; ++n) {
    const uint64_t word = pixels[n] ^ before;
    before = -(word & 1);
    store_window(reinterpret_cast<uint8_t *>(&pixels[n]), word);
  }
  return painted;
}

/// The line being decoded and the one above it, the reference line, and what is known of the next run.
template <CodeForm form>
struct LinePair {
  int32_t width;     ///< pixels
  uint32_t size;     ///< bytes of a line bitmap
  uint64_t *pixels;  ///< room for a line bitmap, if the sink asks for lines
  LineSink to;       ///< receives runs and lines
  ChangeList current, reference;
  const int32_t *b1 = nullptr;  ///< in the list of the reference line, where the search for b1 begins
  int32_t a0 = -1;
  bool black = false;  ///< the colour of the run that begins at a0

  /// Two white lines in `store`, which has room for them.
  LinePair(const LineStore &store, int32_t LINE_WIDTH_XX, uint32_t line_size, const LineSink &sink)
      : width(LINE_WIDTH_XX),
        size(line_size),
        pixels(store.pixels.get()),
        to(sink),
        current(store.elements.get()),
        reference(store.elements.get() + ChangeList::room(width)) {
    if (pixels) std::fill_n(pixels, words_of(size), 0);
    end_line();
    next_line();
  }

  /// Begins a white line in place of the current one.
  [[gnu::always_inline]] void clear_line() {
    current.clear();
    b1 = reference.first();
    a0 = -1;
    black = false;
  }

  /// Ends the current line at a0. What no run has reached is white.
  [[gnu::always_inline]] void end_line() {
    if (black) current.change_at(a0);
    current.finish<form>(static_cast<int32_t>(8 * size));
  }

  /// Makes the current line, which has ended, the reference line, and begins a white one.
  [[gnu::always_inline]] void next_line() {
    std::swap(current, reference);
    clear_line();
  }

  /// Delivers the bitmap of a line from its finished list.
  [[gnu::always_inline]] void deliver_pixels(const ChangeList &line) {
    if (!to.found_line) return;
    painted_ = paint(pixels, words_of(size), painted_, line.first(), line.end());
    to.found_line(to.context, reinterpret_cast<const uint8_t *>(pixels), size);
  }

  [[gnu::always_inline]] void deliver_eol() const {
    if (to.found_eol) to.found_eol(to.context);
  }

  [[gnu::always_inline]] void deliver(const ChangeList &line) {
    deliver_pixels(line);
    deliver_eol();
  }

  /// White padding up to the end of the line.
  [[gnu::always_inline]] void deliver_padding() const {
    if (a0 < width && to.found_run) to.found_run(to.context, width - a0);
  }

  /// Gives the pixels from a0 to `end` the current colour; `end` becomes a0.
  [[gnu::always_inline]] void run_to(int32_t end) {
    const int32_t run = end - a0;
    if (to.found_run) to.found_run(to.context, black ? -run : run);
    a0 = end;
  }

  /// The same, and the colour changes there.
  [[gnu::always_inline]] void run_to_change(int32_t end) {
    run_to(end);
    current.change_at(end);
    black = !black;
  }

 private:
  PaintedWords painted_;
};

}  // namespace tolvane
