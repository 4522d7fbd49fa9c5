// MR, the two-dimensional coding of ITU-T T.4 (4.2).
#pragma once

#include <cstdint>
#include <span>

#include "line_pair.h"

namespace tolvane {

/// Decodes a page; what the sink receives is described at `Decoder::decode`.
///
/// @param form     in which the page was coded
/// @param store    has room for two lines of `width` pixels
/// @param make_up  sum of the make-up codes on one-dimensional lines that wait for a terminating code; an EOL does not
///                 clear it
/// @param fill     bytes of zeros to read after the data: with none the runs whose codes end in the last byte are lost
void decode_mr(CodeForm form, const LineStore &store, int32_t &make_up, std::span<const uint8_t> data, uint64_t fill,
               int32_t width, const LineSink &to);

}  // namespace tolvane
