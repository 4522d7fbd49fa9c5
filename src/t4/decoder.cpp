// The choice of the coding. The codings are in mh_decoder, mr_decoder and mmr_decoder.

#include "t4/decoder.h"

#include <algorithm>
#include <new>

#include "t4/dectbls.h"
#include "t4/line_pair.h"
#include "t4/mh_decoder.h"
#include "t4/mmr_decoder.h"
#include "t4/mr_decoder.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|decoder|9|01|2|0|0|11/23/26|05:32:35";

}  // namespace

struct Decoder::State {
  MhState mh;
  LineStore store;
  int32_t coding = COMP_UMMR;  // of the last page
  int32_t width = 0;
};

Decoder::Decoder() = default;
Decoder::~Decoder() = default;
Decoder::Decoder(Decoder &&) noexcept = default;
Decoder &Decoder::operator=(Decoder &&) noexcept = default;

DecodeResult Decoder::decode(std::span<const uint8_t> data, int32_t coding, int32_t width, const LineSink &sink,
                             const DecodeOptions &options) {
  if (coding != COMP_MH && coding != COMP_MR && coding != COMP_MMR) return DecodeResult::unknown_coding;
  if (!state_) state_.reset(new (std::nothrow) State);
  if (!state_) return DecodeResult::no_memory;
  width = std::max(width, 0);
  state_->coding = coding;
  state_->width = width;
  if (coding == COMP_MH) {
    start_mh_page(state_->mh, sink.found_line);
    decode_mh(state_->mh, data, width, sink);
    return state_->mh.lost == 0 ? DecodeResult::done : DecodeResult::no_memory;
  }
  const uint32_t size = (static_cast<uint32_t>(width) + 7) / 8;
  if (!state_->store.reserve(width, size, sink.found_line)) return DecodeResult::no_memory;
  int32_t make_up = 0;
  if (coding == COMP_MR) {
    decode_mr(options.form, state_->store, make_up, data, options.mr_fill ? 1 : 0, width, sink);
    return DecodeResult::done;
  }
  const bool good = decode_mmr(options.form, state_->store, make_up, data, width, sink);
  return good ? DecodeResult::done : DecodeResult::damaged;
}

void Decoder::end_line(const LineSink &sink) {
  if (!state_ || state_->coding != COMP_MH) return;
  const DecNode eol = {{nullptr, nullptr}, DEC_EOL};
  const DecNode *const leaves[] = {&eol};
  take_mh_leaves(state_->mh, leaves, leaves + 1, state_->width, sink);
}

}  // namespace tolvane
