// Who is told of damage; the decoders find it, the listener decides what it means. One listener for the process: a
// decode tells the one that is set while it runs, so whoever listens takes itself off afterwards.

#include "t4/damage.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|damage|9|01|1|0|0|11/22/26|20:50:00";

found_damage_fn listener = nullptr;

}  // namespace

void t4dec_set_damage_callback(found_damage_fn callback) {
  listener = callback;
}

void report_damage(Damage kind) {
  if (listener != nullptr) listener(kind);
}

}  // namespace tolvane
