// The decoders find damage, the listener decides what it means. A decode reports to the listener that is set while it
// runs, so whoever listens resets the listener afterwards.

#include "t4/damage.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|damage|9|01|2|0|0|11/23/26|04:57:25";

found_damage_fn listener = nullptr;

}  // namespace

void t4dec_set_damage_callback(found_damage_fn callback) {
  listener = callback;
}

found_damage_fn damage_callback() {
  return listener;
}

}  // namespace tolvane
