// Everything that follows the file shown. A reload of the same file is in file_watch.
#include "app/other_file.h"

#include "app/file_watch.h"
#include "app/info_window.h"
#include "view/screen/pagescope.h"
#include "view/view_state.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|other_file|9|01|1|0|0|11/23/26|07:45:00";
}

bool show_other_file(const char *name) {
  if (!set_fax_filename(name)) return false;
  view_arbitrary_fax(name);
  watch_shown_file();
  update_info_window();
  return true;
}

}  // namespace tolvane
