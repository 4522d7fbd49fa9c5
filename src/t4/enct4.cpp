// Adapters of the page coder over one static state, with results and messages of their own.

#include "t4/enct4.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <array>
#include <bit>

#include "t4/line.h"
#include "t4/page_coder.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|enct4|9|01|2|0|0|11/23/26|06:28:52";

constexpr size_t FEW_BYTES = 64;  // of code between two calls of the output callback, a long line apart

PageCoder coder;
int32_t putdata_err;

// Hands bytes on as words in host order, in pieces.
bool put_words(putdata_fn putdata, const uint8_t *bytes, size_t count) {
  std::array<uint16_t, 512> words;
  for (size_t piece; count > 0; bytes += piece, count -= piece) {
    piece = std::min(count, sizeof words);
    memcpy(words.data(), bytes, piece);
    if constexpr (std::endian::native == std::endian::big)
      for (uint16_t &word : words) word = __builtin_bswap16(word);
    const int32_t result = putdata(words.data(), static_cast<int32_t>(piece / 2));
    if (result < 0) putdata_err = result;
    if (result < 0) return false;
  }
  return true;
}

// What is printed for a failure.
struct Messages {
  const char *function;
  const char *coding;

  void print(EncodeResult failure) const {
    if (failure == EncodeResult::no_memory)
      printf("%s: failed to alloc space for reference buffer. exit...\n", function);
    if (failure == EncodeResult::line_size) printf("%s: Line size changed for %s. Can't do that!\n", function, coding);
  }
};

// Batch after batch to the end of the input, or to a failure, which stays in `putdata_err`.
int32_t code_page(getdata_fn getdata, putdata_fn putdata, PageScheme scheme, const Messages &messages) {
  putdata_err = 0;
  scheme.batch = FEW_BYTES;
  coder.start(scheme, {reinterpret_cast<void *>(putdata), [](void *callback, const uint8_t *bytes, size_t count) {
                         return put_words(reinterpret_cast<putdata_fn>(callback), bytes, count);
                       }});
  for (;;) {
    const uint8_t *line = nullptr;
    int32_t count = 0;
    const int32_t size = getdata(&line, &count);
    if (size < 0) {
      coder.end();
      return size;
    }
    const EncodeResult accepted = coder.accept_size(size);
    if (accepted != EncodeResult::done) {
      messages.print(accepted);
      return putdata_err = 1;
    }
    for (; count > 0; --count, line += size)
      if (coder.add(line) != EncodeResult::done) return putdata_err;
  }
}

}  // namespace

int32_t encode_g3_fax(getdata_fn getdata, putdata_fn putdata, int32_t comp_type, int32_t vertical_resolution) {
  if (comp_type == COMP_MMR) return enct4_MMR(getdata, putdata);
  if (comp_type != COMP_MH && comp_type != COMP_MR) return putdata_err = 1;
  return code_page(getdata, putdata, page_scheme(comp_type, vertical_resolution, CodeForm::stored),
                   {__func__, "encoding"});
}

int32_t enct4(getdata_fn getdata, putdata_fn putdata) {
  PageScheme scheme = page_scheme(COMP_MH, 0, CodeForm::stored);
  scheme.plain = true;
  return code_page(getdata, putdata, scheme, {__func__, "encoding"});
}

int32_t enct4_MMR(getdata_fn getdata, putdata_fn putdata) {
  return code_page(getdata, putdata, page_scheme(COMP_MMR, 0, CodeForm::stored), {__func__, "MMR encoding"});
}

}  // namespace tolvane
