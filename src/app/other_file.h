// Another file in the window, in place of the one shown: for the commands and for files dropped onto the window.
#pragma once

namespace tolvane {

/// Shows the first page of a file, watches it from now on and shows its values in the information window. If it cannot
/// be loaded, a message says why, and the old picture stays.
/// @return false if the name is too long for `Fullpath_fax_filename`: nothing changes
bool show_other_file(const char *name);

}  // namespace tolvane
