// The encoder as plain procedures over one state of the process: line bitmaps of a page in, MH, MR or MMR (ITU-T T.4
// and T.6) out, as words of a stream. The codec core (codec.h) has the same encoder with its state in objects.
#pragma once

#include <cstdint>

namespace tolvane {

/// Source of lines, called until it gives a negative value.
///
/// @param lines  receives the address of the first line of a batch; the lines are adjacent (pixel 0 is bit 7 of byte 0,
///               1 is black) and stay the caller's, valid until the next call
/// @param count  receives the number of lines in the batch, 0 or more
/// @return bytes per line, the same for every batch of a page; any negative value when there are no more lines
using getdata_fn = int32_t (*)(const uint8_t **lines, int32_t *count);

/// Sink of the coded page, called many times a page.
///
/// @param words  `count` words in host order, bit 0 the first bit of the stream; valid only during the call
/// @param count  0 or more
/// @return below 0 for failure: the encoder then drops everything up to the end of the line and gives up
using putdata_fn = int32_t (*)(const uint16_t *words, int32_t count);

/// Codes one page. A page is a whole number of words, the last one filled with zeros. It is a stored form: an EOL
/// before every line of MH and MR, none after the last, no RTC; MMR ends with EOFB. One page at a time in the process:
/// neither callback may start another.
///
/// The one-dimensional lines of MH and MR are 1728 pixels wide whatever the input callback says: shorter ones are
/// filled up with white. A run above 2623 pixels has several make-up codes, which no decoder of MH here takes.
///
/// @param comp_type            0 MH, 1 MR, 3 MMR
/// @param vertical_resolution  code of the resolution, looked at for MR only: 1 (fine) puts one one-dimensional line
///                             before three two-dimensional ones, any other value before one (ITU-T T.4, 4.2)
/// @return the negative value of `getdata` that ended the input, also if the very last word could not be put out; on
///         failure before that, the negative result of `putdata`, or 1 for an unknown `comp_type`, a changed line size,
///         one above 3999 bytes, or no memory (with a message on standard output, but for the first)
int32_t encode_g3_fax(getdata_fn getdata, putdata_fn putdata, int32_t comp_type, int32_t vertical_resolution);

/// Codes one page in plain MH, without a choice of coding; result as `encode_g3_fax`. Lines may change their size.
int32_t enct4(getdata_fn getdata, putdata_fn putdata);

/// Codes one page in MMR; result as `encode_g3_fax`.
int32_t enct4_MMR(getdata_fn getdata, putdata_fn putdata);

}  // namespace tolvane
