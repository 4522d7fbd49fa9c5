// Who learns of damage in the decodes of t4dec.h and t4dec_2d.h: one listener for the process. Users of the codec core
// have `LineSink::found_damage` instead.
#pragma once

#include "line_sink.h"

namespace tolvane {

/// Receives one kind of damage. It must not start a decode.
using found_damage_fn = void (*)(Damage kind);

/// Sets who is called for damage in the decodes that follow; null, as at the start of the process, for nobody. The call
/// comes before the `found_line` and `found_eol` of the damaged line, if it has any. The blank first line of an MH page
/// and the EOLs of an RTC are no damage.
void t4dec_set_damage_callback(found_damage_fn callback);

/// The listener set.
found_damage_fn damage_callback();

}  // namespace tolvane
