// The encoder: a first stage looks at pixels and writes tokens, a second one, `encode`, turns tokens into bits. Lines
// come and words go through the caller's callbacks. What a newcomer gets wrong: position 0 of a line is searched as
// its start (see `bit_next_trans`), and only a decoder that does the same reads the lines that hang on it.
#include "t4/enct4.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "t4/bit_window.h"
#include "t4/change_list.h"
#include "t4/enctbls.h"
#include "t4/line.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|enct4|9|01|1|0|0|11/22/26|20:58:00";

// A token below 32000 is a run of pixels; with `black_run` added it is a black one. The others stand for an EOL of a
// one-dimensional page and, from `mode_token` on, for the entries of `enc2D`.
constexpr uint32_t black_run = 0x8000;
constexpr uint32_t eol_token = 32000;
constexpr uint32_t mode_token = 32001;
constexpr uint32_t pass_token = mode_token;
constexpr uint32_t horizontal_token = mode_token + 1;
constexpr uint32_t eol_1d_token = mode_token + 9;
constexpr uint32_t eol_2d_token = mode_token + 10;
constexpr std::array<uint32_t, 7> vertical_tokens = {  // by a1 - b1, from -3 to 3
    mode_token + 5, mode_token + 4, mode_token + 3, mode_token + 2, mode_token + 6, mode_token + 7, mode_token + 8};

constexpr uint32_t eol_entry = 104;     // of `encwhite` and `encblack`
constexpr int32_t pixels_of_1d = 1728;  // of a one-dimensional line, however many the caller has (ITU-T T.4, 2.1)
constexpr size_t token_room = 64;       // tokens between two calls of the output callback
constexpr size_t bits_of_token = 28;    // zeros that close a word, then an EOL with tag; the longest run has 26
constexpr size_t word_room = token_room * bits_of_token / 16 + 2;

// The bits that are no whole word yet, the first one in bit 0, and what became of the page.
uint16_t leftOverWord;
uint32_t leftOverLen;
int32_t putdata_err;

// Bits on their way into words, less than a word of them between two tokens. Where a code ends in a word is hard to
// foresee, so the way out has no branch: two words are stored and those count that are whole.
struct WordWriter {
  std::array<uint16_t, word_room> words;
  uint16_t *next = words.data();
  uint64_t bits = leftOverWord;
  uint32_t length = leftOverLen;

  void put(EncCode entry) {
    bits |= uint64_t{entry.code} << length;
    length += entry.length;
  }

  void put_whole_words() {
    const uint32_t whole = length / 16;  // 0 to 2
    next[0] = static_cast<uint16_t>(bits);
    next[1] = static_cast<uint16_t>(bits >> 16);
    next += whole;
    bits >>= 16 * whole;
    length %= 16;
  }

  void close_word() {
    length = (length + 15) / 16 * 16;
    put_whole_words();
  }
};

void encode(const uint32_t *first, const uint32_t *end, putdata_fn putdata) {
  if (putdata_err) return;
  WordWriter out;
  for (; first < end; ++first) {
    const auto &runs = *first & black_run ? encblack : encwhite;
    const uint32_t value = *first & ~black_run;
    if (value < eol_token) {
      if (value > 63) out.put(runs[63 + value / 64]);
      out.put(runs[value % 64]);
    } else if (value == eol_token) {
      out.put(runs[eol_entry]);
    } else {
      if (value >= eol_1d_token) out.close_word();  // every line of MR begins on a word
      out.put(enc2D[value - mode_token]);
    }
    out.put_whole_words();
  }
  leftOverWord = static_cast<uint16_t>(out.bits);
  leftOverLen = out.length;
  const int32_t result = putdata(out.words.data(), static_cast<int32_t>(out.next - out.words.data()));
  if (result < 0) putdata_err = result;
}

void flush(const uint32_t *first, const uint32_t *end, putdata_fn putdata) {
  if (first < end) encode(first, end, putdata);
  if (leftOverLen == 0 || putdata_err) return;
  const int32_t result = putdata(&leftOverWord, 1);
  if (result < 0) putdata_err = result;
  leftOverWord = 0;
  leftOverLen = 0;
}

// Tokens on their way to `encode`.
struct TokenList {
  putdata_fn putdata;
  std::array<uint32_t, token_room> tokens{};
  uint32_t *next = tokens.data();

  void put(uint32_t token) {
    if (next == tokens.data() + tokens.size()) {
      encode(tokens.data(), next, putdata);
      next = tokens.data();
    }
    *next++ = token;
  }

  void finish() { flush(tokens.data(), next, putdata); }
};

// Hands on the changing elements of a line (ITU-T T.4, 4.2.1.1) from left to right; the first is one to black.
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
  for (; offset + 8 <= size; offset += 8) find_in(load_window(line + offset), ~uint64_t{0}, offset);
  if (offset < size) find_in(load_line_window(line, size, offset), ~(~uint64_t{0} >> 8 * (size - offset)), offset);
}

// A white rest of the line is a run of its own, or is left to the run that fills up to 1728; at that width it comes to
// the same.
void code_1d_line(TokenList &out, const uint8_t *line, uint32_t size, bool white_rest_is_a_run) {
  int32_t run_start = 0;
  uint32_t colour = 0;  // of the run, as the flag of its token
  find_changes(line, size, [&](int32_t position) {
    out.put(static_cast<uint32_t>(position - run_start) | colour);
    run_start = position;
    colour ^= black_run;
  });
  const int32_t width = static_cast<int32_t>(8 * size);
  if (run_start < width && (colour || white_rest_is_a_run)) {
    out.put(static_cast<uint32_t>(width - run_start) | colour);
    run_start = width;
  }
  if (run_start < pixels_of_1d) out.put(static_cast<uint32_t>(pixels_of_1d - run_start));
}

// The line in hand and the one above, the reference line, as lists of changing elements: each line is looked at once.
// The only size of line that the page may have is the first one.
class LinePair {
 public:
  LinePair(const char *function, const char *coding) : function_(function), coding_(coding) {}

  const int32_t *line() const { return line_.first(); }
  const int32_t *reference() const { return reference_.first(); }

  bool accept(int32_t size) {
    if (elements_) {
      if (size != size_) printf("%s: Line size changed for %s. Can't do that!\n", function_, coding_);
      return size == size_;
    }
    const size_t room = ChangeList::room(8 * size);
    elements_.reset(new (std::nothrow) int32_t[2 * room]);
    if (!elements_) {
      printf("%s: failed to alloc space for reference buffer. exit...\n", function_);
      return false;
    }
    size_ = size;
    line_ = ChangeList(elements_.get());
    reference_ = ChangeList(elements_.get() + room);
    line_.finish(8 * size);  // the line above the first one is white
    return true;
  }

  // The line in hand becomes the reference line, and `pixels` the line in hand.
  void take(const uint8_t *pixels) {
    std::swap(line_, reference_);
    ChangeList list = line_;  // in registers
    list.clear();
    find_changes(pixels, static_cast<uint32_t>(size_), [&](int32_t position) { list.change_at(position); });
    list.finish(8 * size_);
    line_ = list;
  }

 private:
  const char *function_;
  const char *coding_;
  std::unique_ptr<int32_t[]> elements_;
  int32_t size_ = 0;
  ChangeList line_, reference_;
};

// ITU-T T.4, 4.2.1.3. `a` is a1 in the list of the line and `b` b1 in that of the reference line, or an element of b1's
// colour left of it; their neighbours are of the other colour.
void code_2d_line(TokenList &out, const int32_t *a, const int32_t *b, int32_t width) {
  int32_t a0 = -1;
  uint32_t colour = 0;  // of a0, as the flag of a token
  while (a0 < width) {
    b = find_b1(b, a0);
    const int32_t distance = *a - *b;
    if (b[1] < *a) {
      out.put(pass_token);
      a0 = b[1];
    } else if (-3 <= distance && distance <= 3) {
      out.put(vertical_tokens[static_cast<size_t>(distance + 3)]);
      a0 = *a++;
      colour ^= black_run;
      b = turn_b1(b, a0);
    } else {
      out.put(horizontal_token);
      out.put(static_cast<uint32_t>(*a - std::max(a0, 0)) | colour);
      out.put(static_cast<uint32_t>(a[1] - *a) | (colour ^ black_run));
      a0 = a[1];
      a += 2;
    }
  }
}

// The loop of all three: batch after batch to the end of the input, or to a failure, which stays in `putdata_err`.
template <typename AcceptSize, typename CodeLine>
int32_t code_page(getdata_fn getdata, AcceptSize accept_size, CodeLine code_line) {
  for (;;) {
    const uint8_t *line = nullptr;
    int32_t count = 0;
    const int32_t size = getdata(&line, &count);
    if (size < 0) return size;
    if (!accept_size(size)) return putdata_err = 1;
    for (; count > 0; --count, line += size) {
      code_line(line, static_cast<uint32_t>(size));
      if (putdata_err) return putdata_err;
    }
  }
}

void start_page() {
  leftOverWord = 0;
  leftOverLen = 0;
  putdata_err = 0;
}

}  // namespace

int32_t encode_g3_fax(getdata_fn getdata, putdata_fn putdata, int32_t comp_type, int32_t vertical_resolution) {
  start_page();
  if (comp_type == COMP_MMR) return enct4_MMR(getdata, putdata);
  if (comp_type != COMP_MH && comp_type != COMP_MR) return putdata_err = 1;

  const bool two_dimensional = comp_type == COMP_MR;
  const int32_t k = !two_dimensional ? 1 : vertical_resolution == 1 ? 4 : 2;
  int32_t line_of_k = 0;
  TokenList out{putdata};
  LinePair lines(__func__, "encoding");
  const int32_t result = code_page(
      getdata, [&](int32_t size) { return lines.accept(size); },
      [&](const uint8_t *line, uint32_t size) {
        if (two_dimensional) lines.take(line);
        if (line_of_k == 0) {
          out.put(two_dimensional ? eol_1d_token : eol_token);
          code_1d_line(out, line, size, true);
        } else {
          out.put(eol_2d_token);
          code_2d_line(out, lines.line(), lines.reference(), static_cast<int32_t>(8 * size));
        }
        line_of_k = (line_of_k + 1) % k;
      });
  if (!putdata_err) out.finish();
  return result;
}

int32_t enct4(getdata_fn getdata, putdata_fn putdata) {
  start_page();
  TokenList out{putdata};
  const int32_t result = code_page(
      getdata, [](int32_t) { return true; },
      [&](const uint8_t *line, uint32_t size) {
        out.put(eol_token);
        code_1d_line(out, line, size, false);
      });
  if (!putdata_err) out.finish();
  return result;
}

int32_t enct4_MMR(getdata_fn getdata, putdata_fn putdata) {
  start_page();
  TokenList out{putdata};
  LinePair lines(__func__, "MMR encoding");
  const int32_t result = code_page(
      getdata, [&](int32_t size) { return lines.accept(size); },
      [&](const uint8_t *line, uint32_t size) {
        lines.take(line);
        code_2d_line(out, lines.line(), lines.reference(), static_cast<int32_t>(8 * size));
      });
  if (putdata_err) return result;
  out.put(eol_token);
  out.put(eol_token);
  out.finish();
  return result;
}

}  // namespace tolvane
