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

[[gnu::used]] const char SCCS_ID[] = "@(#)|decoder|9|01|1|0|0|11/23/26|04:40:00";

// The runs whose codes end in the last byte of an MR page are lost unless a byte follows.
constexpr uint64_t MR_FILL = 1;

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
                             CodeForm form) {
  if (coding != COMP_MH && coding != COMP_MR && coding != COMP_MMR) return DecodeResult::unknown_coding;
  if (!state_) state_.reset(new (std::nothrow) State);
  if (!state_) return DecodeResult::no_memory;
  width = std::max(width, 0);
  state_->coding = coding;
  state_->width = width;
  if (coding == COMP_MH) {
    decode_mh(state_->mh, data, width, sink);
    return state_->mh.lost == 0 ? DecodeResult::done : DecodeResult::no_memory;
  }
  const uint32_t size = (static_cast<uint32_t>(width) + 7) / 8;
  if (!state_->store.reserve(width, size, sink.found_line)) return DecodeResult::no_memory;
  int32_t make_up = 0;
  if (coding == COMP_MR) {
    const auto decode_form = form == CodeForm::stored ? decode_mr<CodeForm::stored> : decode_mr<CodeForm::standard>;
    decode_form(state_->store, make_up, data, MR_FILL, width, sink);
    return DecodeResult::done;
  }
  const auto decode_form = form == CodeForm::stored ? decode_mmr<CodeForm::stored> : decode_mmr<CodeForm::standard>;
  return decode_form(state_->store, make_up, data, width, sink) ? DecodeResult::done : DecodeResult::damaged;
}

void Decoder::end_line(const LineSink &sink) {
  if (!state_ || state_->coding != COMP_MH) return;
  const DecNode eol = {{nullptr, nullptr}, DEC_EOL};
  const DecNode *const leaves[] = {&eol};
  take_mh_leaves(state_->mh, leaves, leaves + 1, state_->width, sink);
}

}  // namespace tolvane
