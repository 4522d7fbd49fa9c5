// The callbacks of t4dec.h and t4dec_2d.h, which have no place for the caller's data, as a sink of the codec core.
#pragma once

#include "damage.h"
#include "line.h"
#include "line_sink.h"

namespace tolvane {

/// Three callbacks, each of which may be null, and whoever listens for damage now.
struct LineCallbacks {
  found_run_fn found_run;
  found_line_fn found_line;
  found_eol_fn found_eol;
  found_damage_fn found_damage = damage_callback();

  /// A sink that calls them, for as long as this object lives.
  LineSink sink() {
    LineSink to;
    to.context = this;
    if (found_run) to.found_run = [](void *self, int32_t run) { of(self).found_run(run); };
    if (found_line)
      to.found_line = [](void *self, const uint8_t *line, uint32_t size) { of(self).found_line(line, size); };
    if (found_eol) to.found_eol = [](void *self) { of(self).found_eol(); };
    if (found_damage) to.found_damage = [](void *self, Damage kind) { of(self).found_damage(kind); };
    return to;
  }

 private:
  static const LineCallbacks &of(void *self) { return *static_cast<const LineCallbacks *>(self); }
};

}  // namespace tolvane
