// Adapters of the MR and MMR decoders over one static state. What outlives a call are the make-up codes that wait for a
// terminating code.

#include "t4/t4dec_2d.h"

#include <algorithm>

#include "t4/callback_sink.h"
#include "t4/mmr_decoder.h"
#include "t4/mr_decoder.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|t4dec_2d|9|01|2|0|0|11/23/26|06:28:52";

struct MakeUps {
  int32_t mr = 0;   // on one-dimensional lines
  int32_t mmr = 0;  // in horizontal mode
};

MakeUps make_ups;

}  // namespace

int t4dec_MR(const uint8_t *data, uint32_t length, found_run_fn found_run, found_line_fn found_line,
             found_eol_fn found_eol) {
  if (!data || length == 0) return 0;
  if (!found_run && !found_line && !found_eol) return 1;
  const int32_t width = std::max(Pix_width, 0);
  LineCallbacks callbacks{found_run, found_line, found_eol};
  LineStore store;
  if (!store.reserve(width, (static_cast<uint32_t>(width) + 7) / 8, found_line)) return 0;
  decode_mr(CodeForm::stored, store, make_ups.mr, {data, length}, 0, width, callbacks.sink());
  return 1;
}

int t4dec_MMR(const uint8_t *data, uint32_t length, int32_t width, found_run_fn found_run, found_line_fn found_line,
              found_eol_fn found_eol) {
  width = std::max(width, 0);
  LineCallbacks callbacks{found_run, found_line, found_eol};
  LineStore store;
  if (!store.reserve(width, static_cast<uint32_t>(width) / 8, found_line)) return 0;
  return decode_mmr(CodeForm::stored, store, make_ups.mmr, {data, length}, width, callbacks.sink()) ? 1 : 0;
}

}  // namespace tolvane
