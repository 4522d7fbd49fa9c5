// The release before every exit. What is freed here belongs to the view.
#include "app/exit_tasks.h"

#include <stdlib.h>

#include "view/screen/pagescope.h"
#include "view/small_database.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|exit_tasks|9|01|2|0|0|11/23/26|04:51:49";

void free_all_memory() {
  free_header();
  free_bitmap();
}

}  // namespace

void exit_tasks() {
  free_all_memory();
}

void leave(int32_t status) {
  exit_tasks();
  exit(status);
}

}  // namespace tolvane
