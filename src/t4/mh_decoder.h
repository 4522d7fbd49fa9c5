// MH, the one-dimensional coding (ITU-T T.4, 4.1): the walk through the data, and the assembly of lines from the leaves
// that it reaches.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "dectbls.h"
#include "line_sink.h"

namespace tolvane {

/// The line that is being assembled. It outlives the decode, so that one more EOL can be fed.
struct MhLine {
  int32_t pos = 0;        ///< pixels of the line so far
  int32_t make_up = 0;    ///< the make-up code that waits for its terminating code, 0 for none
  bool given_up = false;  ///< everything up to the next EOL is ignored
  bool reported = true;   ///< damage of this line has been reported; nothing before the first EOL is damage
  bool painted = true;    ///< the pixels of the line are wanted
  uint32_t size = 0;      ///< bytes of a line, 0 if there is no memory for lines
  uint8_t *current = nullptr;
  uint8_t *last_good = nullptr;
  bool current_has_black = false;
  bool last_good_has_black = false;
};

/// The state of an MH decode.
struct MhState {
  MhLine line;
  std::unique_ptr<uint8_t[]> pixels;  ///< of the two lines, padded
  uint32_t lost = 0;                  ///< tokens lost for lack of memory
};

/// Begins a page: the line is white, and so is the last good one. The memory is kept.
///
/// @param painted  false if nobody asks for line bitmaps before the next page
void start_mh_page(MhState &state, bool painted);

/// Takes tokens in the order in which they were reached.
///
/// @param first, last  leaves of the run trees and of `eoltree`
/// @param width        pixels of a line; another width than before begins with white lines
void take_mh_leaves(MhState &state, const DecNode *const *first, const DecNode *const *last, int32_t width,
                    const LineSink &to);

/// Decodes a page that `start_mh_page` has begun. The line after the last EOL stays in `state`.
void decode_mh(MhState &state, std::span<const uint8_t> data, int32_t width, const LineSink &to);

}  // namespace tolvane
