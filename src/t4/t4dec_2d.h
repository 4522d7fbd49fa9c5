// The two-dimensional decoders, MR and MMR. The form of the data and of the callbacks is described in t4dec.h.
#pragma once

#include <cstdint>

#include "line.h"

namespace tolvane {

/// Decodes a page in MR (ITU-T T.4, 4.2).
///
/// Starts at the first EOL with tag 1 and ends with the data or at the sixth EOL in a row. A damaged line is reported
/// as the line before it, and all lines up to the next one that is coded one-dimensionally vanish: no run, no line, no
/// `found_eol`. A line that is short at its EOL comes as it is, with no padding run. Each EOL of an RTC from the second
/// to the fifth gives one `found_eol` more.
///
/// @return 1 when decoding ran to an end; 0 for null data, a length of 0, or when there is no memory
int t4dec_MR(const uint8_t *data, uint32_t length, found_run_fn found_run, found_line_fn found_line,
             found_eol_fn found_eol);

/// Decodes a page in MMR (ITU-T T.6).
///
/// A line ends when its pixels are complete. At EOFB or at the end of the data there comes one line more: what there is
/// of an unfinished line, or a white one. Damage ends the call, and the line in progress is not delivered.
///
/// @param width  pixels of a line; a line bitmap is `width / 8` bytes
/// @return 1 when decoding ran to an end; 0 on damage or when there is no memory
int t4dec_MMR(const uint8_t *data, uint32_t length, int32_t width, found_run_fn found_run, found_line_fn found_line,
              found_eol_fn found_eol);

}  // namespace tolvane
