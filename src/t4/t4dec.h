// The decoder as plain procedures over one state of the process; the codec core (codec.h) has the same decoder with its
// state in objects. Here are the choice of the coding, and MH; the two-dimensional codings are in t4dec_2d.
//
// Coded data is a plain byte stream of any length. Bits are taken from bit 0 to bit 7 of each byte, bytes in ascending
// order; the first bit taken is the first bit of a code as ITU-T T.4 transmits it.
//
// For all three codings: callbacks may be null and their work has no result. At the end of a line the padding run comes
// first, if any, then `found_line`, then `found_eol`. One call decodes one page. All of this is for one thread, and a
// callback must not start another decode.
#pragma once

#include <cstdint>

#include "damage.h"
#include "line.h"

namespace tolvane {

/// Decodes a page of the coding `comp_type`, the compression code of the file header.
///
/// @param data    `length` bytes
/// @return 1 when decoding ran to an end; 0 on failure, and for every code but MH, MR and MMR, with no callback made
int t4dec(const uint8_t *data, uint32_t length, int32_t comp_type, found_run_fn found_run, found_line_fn found_line,
          found_eol_fn found_eol);

/// Decodes a page in MH (T.4, 4.1).
///
/// Everything before the first EOL is skipped, and this EOL ends a blank line, so that the first coded line is line 1.
/// The line after the last EOL gives its runs, but it is not ended; feed `putrunlen` a DEC_EOL to end it. A damaged
/// line is reported as the last good one, and decoding goes on at the next EOL.
///
/// @return 1
int t4dec_MH(const uint8_t *data, uint32_t length, found_run_fn found_run, found_line_fn found_line,
             found_eol_fn found_eol);

/// Assembles the lines of an MH page from tokens.
///
/// @param reset  non-zero: forget the line and the last good line, free their memory, and ignore the rest
/// @param run    a leaf value of `whitetree` or `blacktree`: a run, 64 or more a make-up code, below 0 black, or
///               DEC_EOL
void putrunlen(int reset, int32_t run, found_run_fn found_run, found_line_fn found_line, found_eol_fn found_eol);

/// A mask for debugging output, 0 at the start of the process. Nothing in the decoders reads it.
extern uint32_t Debug;

/// Sets bits of `Debug`: decimal bit numbers, taken modulo 32 and separated by ",". Only the first 255 characters
/// count.
void t4dec_set_debug(const char *list);

}  // namespace tolvane
