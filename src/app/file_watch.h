// Shows a fax file again when it has changed on disk.
#pragma once

namespace tolvane {

/// Watches the file `Fullpath_fax_filename` from now on, in place of an earlier one: by inotify on its directory and,
/// if it is a link, on that of the file that it leads to, so that a file that is replaced by another is noticed too.
/// SIGHUP reloads it as well, unless that signal is ignored; a hangup of the terminal still ends the viewer.
/// The file is also looked at whenever a page is asked for, for changes that inotify does not report.
/// The resource watchFile, if it is False, turns all of this off.
void watch_shown_file();

}  // namespace tolvane
