// How the decoders tell of damage in the data, beside the callbacks through which the page leaves them.
#pragma once

#include <cstdint>

namespace tolvane {

/// What was wrong with a line.
enum class Damage : int32_t {
  overflow,      ///< its runs or changing elements leave the line: it was given up
  short_line,    ///< it ends, at an EOL, before it is full
  invalid_code,  ///< bits that are no code were swallowed
  skipped_line,  ///< MR: a line coded two-dimensionally after a damaged one, so it cannot be decoded
  stopped,       ///< MMR: the decode ends here, since nothing after the damage can be told
  data_ends,     ///< the data end in the middle of it
  lost_start,    ///< MH and MR: the first line, which no EOL begins: all up to the next EOL is passed over
};

/// Receives one kind of damage. It must not start a decode.
using found_damage_fn = void (*)(Damage kind);

/// Sets who is told of damage in the decodes that follow; null, as at the start of the process, for nobody. The call
/// comes before the `found_line` and `found_eol` of the damaged line, if it has any. The blank first line of an MH page
/// and the EOLs of an RTC are no damage.
void t4dec_set_damage_callback(found_damage_fn callback);

/// For the decoders: tells whoever listens.
void report_damage(Damage kind);

/// For the decoders that look for an EOL first: tells of a page that does not begin with one, fill apart (ITU-T T.4,
/// 4.1.2).
void report_lost_start(const uint8_t *data, uint32_t length);

}  // namespace tolvane
