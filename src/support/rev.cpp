// One stamp at a time, split into its fields, and the version line made of it. The stamps themselves are in the
// modules. A new stamp replaces the last one even if it cannot be split, so the pieces of a failed one stay.
#include "support/rev.h"

#include <stdlib.h>
#include <string.h>

#include <cstdio>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|rev|9|01|2|0|0|11/23/26|06:28:53";

const char *const Separator = "|";

enum Field { COPY, MODULE, RELEASE, MINOR_RELEASE, LEVEL, BRANCH, SEQUENCE, DELTA_DATE, DELTA_TIME, FIELDS };

// The copy of the stamp split last, owned here, and the fields in it.
char *Sccs_id[FIELDS];

bool init_fields(const char *stamp) {
  for (char *&field : Sccs_id) field = nullptr;
  Sccs_id[COPY] = strdup(stamp);
  if (!Sccs_id[COPY]) return false;

  char *rest = nullptr;
  strtok_r(Sccs_id[COPY], Separator, &rest);  // the marker
  for (int field = MODULE; field < FIELDS; ++field) {
    Sccs_id[field] = strtok_r(nullptr, Separator, &rest);
    if (!Sccs_id[field]) return false;
  }
  return true;
}

const char *field_of(const char *stamp, Field field) {
  if (!stamp || !*stamp) return Sccs_id[field];
  free(Sccs_id[COPY]);
  return init_fields(stamp) ? Sccs_id[field] : nullptr;
}
}  // namespace

const char *rev_module(const char *stamp) {
  return field_of(stamp, MODULE);
}

const char *rev_release(const char *stamp) {
  return field_of(stamp, RELEASE);
}

const char *rev_minor_release(const char *stamp) {
  return field_of(stamp, MINOR_RELEASE);
}

const char *rev_level(const char *stamp) {
  return field_of(stamp, LEVEL);
}

const char *rev_branch(const char *stamp) {
  return field_of(stamp, BRANCH);
}

const char *rev_sequence(const char *stamp) {
  return field_of(stamp, SEQUENCE);
}

const char *rev_delta_date(const char *stamp) {
  return field_of(stamp, DELTA_DATE);
}

const char *rev_delta_time(const char *stamp) {
  return field_of(stamp, DELTA_TIME);
}

int rev_revinfo(const char *stamp, char *buffer) {
  const char *release = rev_release(stamp);
  const char *minor = rev_minor_release(nullptr);
  const char *level = rev_level(nullptr);
  if (!release || !minor || !level) return 0;
  const char *dot = *minor >= '0' && *minor <= '9' ? "." : "";
  return sprintf(buffer, "Version %2s.%-5s Release %s%s%s", release, level, release, dot, minor);
}

}  // namespace tolvane
