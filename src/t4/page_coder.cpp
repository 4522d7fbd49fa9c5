// A line is looked at once: it becomes the list of its changing elements, from which it is coded, and which then serves
// as that of the reference line. What a newcomer gets wrong: in the stored form position 0 of a line is searched as its
// start (see `bit_next_trans`), and only a decoder that does the same reads the lines for which that matters.

#include "t4/page_coder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <new>
#include <utility>

#include "t4/bit_window.h"
#include "t4/enctbls.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|page_coder|9|01|3|0|0|11/23/26|07:06:52";

constexpr size_t EOL_ENTRY = 104;                                                            // of `encwhite`
constexpr size_t PASS_ENTRY = 0, HORIZONTAL_ENTRY = 1, EOL_1D_ENTRY = 9, EOL_2D_ENTRY = 10;  // of `enc2D`
constexpr std::array<size_t, 7> VERTICAL_ENTRIES = {5, 4, 3, 2, 6, 7, 8};                    // by a1 - b1, from -3

// Calls `found` for the changing elements of a line (ITU-T T.4, 4.2.1.1) from left to right; the first is one to black.
template <typename Found>
void find_changes(const uint8_t *line, uint32_t size, Found found) {
  uint64_t last_pixel = 0;
  const auto find_in = [&](uint64_t pixels, uint64_t valid, uint32_t offset) {
    uint64_t changes = (pixels ^ (pixels >> 1 | last_pixel << 63)) & valid;
    last_pixel = pixels & 1;
    while (changes != 0) {
      const int bit = std::countl_zero(changes);
      found(static_cast<int32_t>(8 * offset) + bit);
      changes ^= uint64_t{1} << 63 >> bit;
    }
  };
  uint32_t offset = 0;
  for (; offset + 32 <= size; offset += 32) {  // white for the most part
    const uint64_t windows[] = {load_window(line + offset), load_window(line + offset + 8),
                                load_window(line + offset + 16), load_window(line + offset + 24)};
    if ((windows[0] | windows[1] | windows[2] | windows[3] | last_pixel) == 0) continue;
    for (uint32_t n = 0; n < 4; ++n) find_in(windows[n], ~uint64_t{0}, offset + 8 * n);
  }
  for (; offset + 8 <= size; offset += 8) find_in(load_window(line + offset), ~uint64_t{0}, offset);
  if (offset < size) find_in(load_line_window(line, size, offset), ~(~uint64_t{0} >> 8 * (size - offset)), offset);
}

// Bytes that the code of a line needs at most: no code is longer than 7 bits for each pixel that it covers, but for a
// few at both ends of the line.
constexpr size_t code_room(int32_t size) {
  return 7 * static_cast<size_t>(size) + 64;
}

}  // namespace

PageScheme page_scheme(int32_t coding, int32_t resolution, CodeForm form) {
  PageScheme scheme;
  scheme.form = form;
  scheme.with_tags = coding == COMP_MR;
  if (coding == COMP_MR) scheme.k = resolution == 1 ? 4 : 2;
  if (coding == COMP_MMR) scheme.k = 0;
  return scheme;
}

void PageCoder::start(const PageScheme &scheme, const CodeSink &sink) {
  scheme_ = scheme;
  sink_ = sink;
  refused_ = false;
  line_of_k_ = 0;
  size_ = -1;
  used_ = 0;
  bits_ = 0;
  length_ = 0;
}

bool PageCoder::reserve(int32_t size) {
  const size_t code_size = scheme_.batch + code_room(size);
  if (code_size > code_size_) {
    std::unique_ptr<uint8_t[]> code(new (std::nothrow) uint8_t[code_size]);
    if (!code) return false;
    std::copy_n(code_.get(), used_, code.get());
    code_ = std::move(code);
    code_size_ = code_size;
  }
  const size_t room = ChangeList::room(8 * size);
  if (size > capacity_) {
    elements_.reset(new (std::nothrow) int32_t[2 * room]);
    capacity_ = elements_ ? size : -1;
    if (!elements_) return false;
  }
  line_ = ChangeList(elements_.get());
  reference_ = ChangeList(elements_.get() + room);
  return true;
}

EncodeResult PageCoder::accept_size(int32_t size) {
  if (size == size_) return EncodeResult::done;
  if ((size_ >= 0 && !scheme_.plain) || size < 0 || size > MAX_LINE_BYTES) return EncodeResult::line_size;
  if (!reserve(size)) return EncodeResult::no_memory;
  size_ = size;
  line_.finish<CodeForm::stored>(8 * size);  // the line above the first one is white
  return EncodeResult::done;
}

// The line in hand becomes the reference line, and `pixels` the line in hand.
void PageCoder::take(const uint8_t *pixels) {
  std::swap(line_, reference_);
  ChangeList list = line_;  // in registers
  list.clear();
  find_changes(pixels, static_cast<uint32_t>(size_), [&](int32_t position) { list.append(position); });
  if (scheme_.form == CodeForm::stored) list.finish<CodeForm::stored>(8 * size_);
  if (scheme_.form == CodeForm::standard) list.finish<CodeForm::standard>(8 * size_);
  line_ = list;
}

// A white rest of the line is a run of its own, or is left to the run that fills up to 1728 pixels in the stored form;
// at that width it comes to the same.
void PageCoder::code_1d_line(BitWriter &out) const {
  const int32_t width = 8 * size_;
  const int32_t *change = line_.first();
  int32_t start = 0;
  for (; line_.end() - change >= 2; start = change[1], change += 2) {
    out.put_run(encwhite, change[0] - start);
    out.put_run(encblack, change[1] - change[0]);
    out.put_whole_bytes();
  }
  if (change < line_.end()) {
    out.put_run(encwhite, change[0] - start);
    out.put_run(encblack, width - change[0]);
    out.put_whole_bytes();
    start = width;
  } else if (start < width && !scheme_.plain) {
    out.put_run(encwhite, width - start);
    out.put_whole_bytes();
    start = width;
  }
  if (scheme_.form == CodeForm::stored && start < LINE_PIXELS) {
    out.put_run(encwhite, LINE_PIXELS - start);
    out.put_whole_bytes();
  }
}

// ITU-T T.4, 4.2.1.3. `a` is a1 in the list of the line and `b` b1 in that of the reference line, or an element of b1's
// colour left of it; their neighbours are of the other colour.
template <CodeForm form>
void PageCoder::code_2d_line(BitWriter &out) const {
  const int32_t width = 8 * size_;
  const int32_t *a = line_.first();
  const int32_t *b = reference_.first();
  const std::array<EncCode, EncTabSize> *runs = &encwhite;  // of the colour of a0
  const std::array<EncCode, EncTabSize> *other_runs = &encblack;
  int32_t a0 = -1;
  while (a0 < width) {
    b = find_b1<form>(b, a0);
    const int32_t distance = *a - *b;
    if (b[1] < *a) {
      out.put(enc2D[PASS_ENTRY]);
      a0 = b[1];
    } else if (-3 <= distance && distance <= 3) {
      out.put(enc2D[VERTICAL_ENTRIES[static_cast<size_t>(distance + 3)]]);
      a0 = *a++;
      std::swap(runs, other_runs);
      b = turn_b1(b, a0);
    } else {
      out.put(enc2D[HORIZONTAL_ENTRY]);
      out.put_run(*runs, *a - std::max(a0, 0));
      out.put_run(*other_runs, a[1] - *a);
      a0 = a[1];
      a += 2;
    }
    out.put_whole_bytes();
  }
}

void PageCoder::code_line(BitWriter &out) const {
  const bool one_dimensional = scheme_.k > 0 && line_of_k_ == 0;
  if (scheme_.with_tags && scheme_.form == CodeForm::stored) {  // every line of MR begins on a word
    const size_t position = 8 * static_cast<size_t>(out.next() - code_.get()) + out.length();
    out.put_zeros(static_cast<uint32_t>(-position % 16));
  }
  if (scheme_.with_tags) {
    out.put(enc2D[one_dimensional ? EOL_1D_ENTRY : EOL_2D_ENTRY]);
  } else if (one_dimensional) {
    out.put(encwhite[EOL_ENTRY]);
  }
  out.put_whole_bytes();
  if (one_dimensional) return code_1d_line(out);
  if (scheme_.form == CodeForm::stored) return code_2d_line<CodeForm::stored>(out);
  code_2d_line<CodeForm::standard>(out);
}

EncodeResult PageCoder::add(const uint8_t *pixels) {
  take(pixels);
  BitWriter out(code_.get() + used_, bits_, length_);
  code_line(out);
  used_ = static_cast<size_t>(out.next() - code_.get());
  bits_ = out.bits();
  length_ = out.length();
  if (scheme_.k > 0) line_of_k_ = (line_of_k_ + 1) % scheme_.k;
  if (used_ >= scheme_.batch) send();
  return refused_ ? EncodeResult::refused : EncodeResult::done;
}

// Hands the sink what there is of whole words. A byte that is left becomes the first of the next batch.
void PageCoder::send() {
  const size_t rest = used_ % 2;
  if (used_ > rest && !sink_.put_code(sink_.context, code_.get(), used_ - rest)) refused_ = true;
  if (rest != 0) code_[0] = code_[used_ - 1];
  used_ = rest;
}

EncodeResult PageCoder::end() {
  if (!refused_) send();
  if (refused_) return EncodeResult::refused;
  uint8_t last[32];
  if (used_ != 0) last[0] = code_[0];
  BitWriter out(last + used_, bits_, length_);
  for (int eols = scheme_.k == 0 ? 2 : 0; eols > 0; --eols) {
    out.put(encwhite[EOL_ENTRY]);
    out.put_whole_bytes();
  }
  const size_t position = 8 * static_cast<size_t>(out.next() - last) + out.length();
  out.put_zeros(static_cast<uint32_t>(-position % (scheme_.form == CodeForm::stored ? 16 : 8)));
  const auto count = static_cast<size_t>(out.next() - last);
  if (count != 0 && !sink_.put_code(sink_.context, last, count)) refused_ = true;
  return refused_ ? EncodeResult::refused : EncodeResult::done;
}

}  // namespace tolvane
