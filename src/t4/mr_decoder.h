// MR, the two-dimensional coding of ITU-T T.4 (4.2).
#pragma once

#include <cstdint>
#include <span>

#include "line_pair.h"

namespace tolvane {

/// Decodes a page; what the sink receives is described at `Decoder::decode`.
///
/// @param store    has room for two lines of `width` pixels
/// @param make_up  sum of the make-up codes on one-dimensional lines that wait for a terminating code; an EOL does not
///                 clear it
/// @param fill     bytes of zeros to read after the data: with none the runs whose codes end in the last byte are lost
template <CodeForm form>
void decode_mr(const LineStore &store, int32_t &make_up, std::span<const uint8_t> data, uint64_t fill, int32_t width,
               const LineSink &to);

extern template void decode_mr<CodeForm::stored>(const LineStore &, int32_t &, std::span<const uint8_t>, uint64_t,
                                                 int32_t, const LineSink &);
extern template void decode_mr<CodeForm::standard>(const LineStore &, int32_t &, std::span<const uint8_t>, uint64_t,
                                                   int32_t, const LineSink &);

}  // namespace tolvane
