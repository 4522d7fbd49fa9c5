// MMR, the coding of ITU-T T.6.
#pragma once

#include <cstdint>
#include <span>

#include "line_pair.h"

namespace tolvane {

/// Decodes a page; what the sink receives is described at `Decoder::decode`. A line bitmap is `width / 8` bytes.
///
/// @param form     in which the page was coded
/// @param store    has room for two lines of `width` pixels
/// @param make_up  sum of the make-up codes in horizontal mode that wait for a terminating code
/// @return false at damage, which ends the page
bool decode_mmr(CodeForm form, const LineStore &store, int32_t &make_up, std::span<const uint8_t> data, int32_t width,
                const LineSink &to);

}  // namespace tolvane
