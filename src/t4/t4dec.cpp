// Adapters of the MH decoder over one static state, and the choice of the coding. MR and MMR are in t4dec_2d.

#include "t4/t4dec.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "t4/callback_sink.h"
#include "t4/dectbls.h"
#include "t4/mh_decoder.h"
#include "t4/t4dec_2d.h"

namespace tolvane {

uint32_t Debug = 0;

namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|t4dec|9|01|2|0|0|11/23/26|05:32:35";

// The line of the last MH page outlives the decode, so that a last EOL can still be fed.
MhState mh;

void report_lost_tokens() {
  for (; mh.lost > 0; --mh.lost) fprintf(stderr, "putrunlen: allocation error, %d\n", errno);
}

}  // namespace

int t4dec(const uint8_t *data, uint32_t length, int32_t comp_type, found_run_fn found_run, found_line_fn found_line,
          found_eol_fn found_eol) {
  switch (comp_type) {
    case COMP_MH:
      return t4dec_MH(data, length, found_run, found_line, found_eol);
    case COMP_MR:
      return t4dec_MR(data, length, found_run, found_line, found_eol);
    case COMP_MMR:
      return t4dec_MMR(data, length, Pix_width, found_run, found_line, found_eol);
    default:
      return 0;
  }
}

int t4dec_MH(const uint8_t *data, uint32_t length, found_run_fn found_run, found_line_fn found_line,
             found_eol_fn found_eol) {
  putrunlen(1, 0, found_run, found_line, found_eol);
  LineCallbacks callbacks{found_run, found_line, found_eol};
  start_mh_page(mh, true);  // painted even without `found_line`, since `putrunlen` may bring one
  decode_mh(mh, {data, length}, Pix_width, callbacks.sink());
  report_lost_tokens();
  return 1;
}

void putrunlen(int reset, int32_t run, found_run_fn found_run, found_line_fn found_line, found_eol_fn found_eol) {
  if (reset) {
    mh = MhState();
    return;
  }
  const DecNode leaf = {{nullptr, nullptr}, run};
  const DecNode *const leaves[] = {&leaf};
  LineCallbacks callbacks{found_run, found_line, found_eol};
  take_mh_leaves(mh, leaves, leaves + 1, Pix_width, callbacks.sink());
  report_lost_tokens();
}

void t4dec_set_debug(const char *list) {
  char copy[256];
  snprintf(copy, sizeof copy, "%s", list);
  char *rest = copy;
  while (const char *number = strsep(&rest, ","))
    if (*number != '\0') Debug |= 1U << (static_cast<uint32_t>(atoi(number)) % 32);
}

}  // namespace tolvane
