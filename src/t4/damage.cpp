// Who is told of damage; the decoders find it, the listener decides what it means. One listener for the process: a
// decode tells the one that is set while it runs, so whoever listens takes itself off afterwards.

#include "t4/damage.h"

#include <algorithm>
#include <bit>

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|damage|9|01|1|0|0|11/22/26|20:50:00";

constexpr int EOL_ZEROS = 11;  // in front of the one of an EOL

found_damage_fn listener = nullptr;

}  // namespace

void t4dec_set_damage_callback(found_damage_fn callback) {
  listener = callback;
}

void report_damage(Damage kind) {
  if (listener != nullptr) listener(kind);
}

void report_lost_start(const uint8_t *data, uint32_t length) {
  const uint8_t *first = std::find_if(data, data + length, [](uint8_t byte) { return byte != 0; });
  if (first == data + length) return;
  if (8 * (first - data) + std::countr_zero(*first) < EOL_ZEROS) report_damage(Damage::lost_start);
}

}  // namespace tolvane
