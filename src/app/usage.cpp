// The usage text and the version lines. The version is that of the stamp passed by the program, not of this module: the
// library does not know which program it is linked into.
#include "app/usage.h"

#include <cstdio>

#include "app/exit_tasks.h"
#include "support/rev.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|usage|9|01|2|0|0|11/23/26|04:51:49";

const char *program_stamp = "";

struct VersionLine {
  char text[200] = "";
  VersionLine() { rev_revinfo(program_stamp, text); }
};

}  // namespace

void set_program_stamp(const char *stamp) {
  program_stamp = stamp;
}

void tolvane_syntax() {
  fprintf(stderr,
          "\nTolvane %s syntax:\n\n"
          "tolvane [-r100 | -r75 | -r50]   /* view full size, 75%%, 50%% */ \n"
          "        [-s server] \n"
          "        [-p printer_name] \n"
          "        fax_filename\n\n",
          VersionLine().text);
  leave(1);
}

void tolvane_revinfo() {
  fprintf(stderr, "\nTolvane %s\n\n", VersionLine().text);
  leave(0);
}

void undoc_tolvane_syntax() {
  fprintf(stderr, "\nTolvane %s:\n", VersionLine().text);
  fprintf(stderr, "The date of this version: %s\n\n", rev_delta_date(nullptr));
  leave(0);
}

}  // namespace tolvane
