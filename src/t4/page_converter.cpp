// A line goes from the decoder to the encoder at once. What a newcomer gets wrong: the new page holds the lines that
// the decoder delivers, and these are not the coded lines of the old page one for one.
#include "t4/page_converter.h"

#include <cstddef>
#include <cstdint>
#include <new>

#include "faxfile/usorbport.h"
#include "support/store.h"
#include "t4/codec.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|page_converter|9|01|3|0|0|11/23/26|11:18:31";

constexpr size_t FIRST_CAPACITY = 0x10000;
constexpr size_t LENGTH_WORD = 4;
constexpr size_t LONGEST_RECORD = LENGTH_WORD + INT32_MAX;

}  // namespace

struct PageConverter::State {
  Decoder decoder;
  Encoder encoder;
  Store record;
  int32_t lines = 0;
  EncodeResult coded = EncodeResult::done;

  void take_line(const uint8_t *line, uint32_t size) {
    ++lines;
    if (coded == EncodeResult::done) coded = encoder.add(line, static_cast<int32_t>(size), 1);
  }

  DecodeResult decode(std::span<const uint8_t> page, int32_t from, const DamageSink &damage);
};

PageConverter::PageConverter() = default;
PageConverter::~PageConverter() = default;
PageConverter::PageConverter(PageConverter &&) noexcept = default;
PageConverter &PageConverter::operator=(PageConverter &&) noexcept = default;

DecodeResult PageConverter::State::decode(std::span<const uint8_t> page, int32_t from, const DamageSink &damage) {
  struct Listeners {
    State &state;
    const DamageSink &damage;
  } listeners = {*this, damage};
  LineSink sink;
  sink.context = &listeners;
  sink.found_line = [](void *context, const uint8_t *line, uint32_t size) {
    static_cast<Listeners *>(context)->state.take_line(line, size);
  };
  if (damage.found_damage)
    sink.found_damage = [](void *context, Damage kind) {
      const DamageSink &listener = static_cast<Listeners *>(context)->damage;
      listener.found_damage(listener.context, kind);
    };
  const DecodeResult result = decoder.decode(page, from, LINE_PIXELS, sink);
  // The line after the last EOL of MH is still with the decoder; a page that delivered nothing has no EOL at all.
  if (from == COMP_MH && lines > 0) decoder.end_line(sink);
  return result;
}

ConvertResult PageConverter::convert(std::span<const uint8_t> page, int32_t from, int32_t to, int32_t resolution,
                                     const DamageSink &damage) {
  if (from == COMP_MR && page.empty()) return ConvertResult::not_decoded;
  if (!state_) state_.reset(new (std::nothrow) State);
  if (!state_ || (state_->record.capacity == 0 && !state_->record.grow_to(FIRST_CAPACITY)))
    return ConvertResult::no_memory;
  State &state = *state_;
  state.record.used = LENGTH_WORD;
  state.lines = 0;
  const CodeSink sink = {&state, [](void *context, const uint8_t *bytes, size_t count) {
                           Store &record = static_cast<State *>(context)->record;
                           return record.used + count <= LONGEST_RECORD && record.append(bytes, count);
                         }};
  state.coded = state.encoder.begin(to, resolution, sink);
  if (state.coded == EncodeResult::unknown_coding) return ConvertResult::not_encoded;
  const DecodeResult decoded = state.decode(page, from, damage);
  if (decoded == DecodeResult::no_memory) return ConvertResult::no_memory;
  if (decoded != DecodeResult::done) return ConvertResult::not_decoded;
  if (state.coded == EncodeResult::done) state.coded = state.encoder.end();
  if (state.coded != EncodeResult::done) return ConvertResult::no_memory;
  put_word(state.record.bytes.get(), static_cast<uint32_t>(state.record.used - LENGTH_WORD));
  return ConvertResult::done;
}

std::span<const uint8_t> PageConverter::record() const {
  return state_ ? std::span<const uint8_t>(state_->record.bytes.get(), state_->record.used)
                : std::span<const uint8_t>();
}

}  // namespace tolvane
