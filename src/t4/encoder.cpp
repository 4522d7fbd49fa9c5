// The encoder of the codec core: a page coder for each object.

#include "t4/encoder.h"

#include <new>

#include "t4/page_coder.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|encoder|9|01|1|0|0|11/23/26|04:45:00";
}

struct Encoder::State {
  PageCoder page;
};

Encoder::Encoder() = default;
Encoder::~Encoder() = default;
Encoder::Encoder(Encoder &&) noexcept = default;
Encoder &Encoder::operator=(Encoder &&) noexcept = default;

EncodeResult Encoder::encode(const LineSource &source, int32_t coding, int32_t resolution, const CodeSink &sink,
                             CodeForm form) {
  EncodeResult result = begin(coding, resolution, sink, form);
  while (result == EncodeResult::done) {
    const uint8_t *lines = nullptr;
    int32_t count = 0;
    const int32_t size = source.get_lines(source.context, &lines, &count);
    if (size < 0) return end();
    result = add(lines, size, count);
  }
  return result;
}

EncodeResult Encoder::begin(int32_t coding, int32_t resolution, const CodeSink &sink, CodeForm form) {
  if (coding != COMP_MH && coding != COMP_MR && coding != COMP_MMR) return EncodeResult::unknown_coding;
  if (!state_) state_.reset(new (std::nothrow) State);
  if (!state_) return EncodeResult::no_memory;
  state_->page.start(page_scheme(coding, resolution, form), sink);
  return EncodeResult::done;
}

EncodeResult Encoder::add(const uint8_t *lines, int32_t size, int32_t count) {
  EncodeResult result = state_->page.accept_size(size);
  for (; count > 0 && result == EncodeResult::done; --count, lines += size) result = state_->page.add(lines);
  return result;
}

EncodeResult Encoder::end() {
  return state_->page.end();
}

}  // namespace tolvane
