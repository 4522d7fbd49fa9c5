// Changes of the file shown. A change is acted upon once the file has been quiet for a moment: a writer may close a
// file several times, and an event for the directory says nothing of other writers. What no event reports, such as a
// change by another host or of a directory on the way to the file, is noticed with the next page.
#include "app/file_watch.h"

#include <limits.h>
#include <signal.h>
#include <string.h>
#include <strings.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "app/app_state.h"
#include "app/exit_tasks.h"
#include "app/info_window.h"
#include "app/resource_defaults.h"
#include "support/handle.h"
#include "ui/widgets.h"
#include "view/screen/pagescope.h"
#include "view/view_state.h"

#include <X11/Intrinsic.h>

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|file_watch|9|01|3|0|0|11/23/26|11:32:38";

constexpr unsigned long QUIET_TIME = 200;  // milliseconds

Descriptor watcher;
struct Watch {
  int directory;
  std::string file_name;  // within that directory
};
std::vector<Watch> watches;  // of the name given, and of the file that it leads to
struct stat seen;            // the file when it was opened
XtIntervalId timer;
XtSignalId hangup;
bool had_terminal;  // standard input was one at the start

// Watches the name of the file shown and, if that is a link, the file itself, in place of earlier ones.
void watch() {
  for (const Watch &old : watches) inotify_rm_watch(watcher.get(), old.directory);
  watches.clear();
  const std::filesystem::path given = Fullpath_fax_filename;
  std::error_code failed;
  for (const auto &path : {given, std::filesystem::canonical(given, failed)}) {
    const std::string directory = path.has_parent_path() ? path.parent_path() : ".";
    watches.push_back(
        {inotify_add_watch(watcher.get(), directory.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO), path.filename()});
  }
  stat(Fullpath_fax_filename, &seen);
}

void reload() {
  watch();  // before the file is read: a change after that is an event
  reload_view();
  update_info_window();
}

void reload_quiet_file(XtPointer, XtIntervalId *) {
  timer = 0;
  reload();
}

void start_timer() {
  if (timer) XtRemoveTimeOut(timer);
  timer = XtAppAddTimeOut(tn_context, QUIET_TIME, reload_quiet_file, nullptr);
}

void read_events(XtPointer, int *fd, XtInputId *) {
  alignas(inotify_event) char events[16 * (sizeof(inotify_event) + NAME_MAX + 1)];
  const ssize_t length = read(*fd, events, sizeof events);
  for (ssize_t at = 0; at < length;) {
    const auto *event = reinterpret_cast<const inotify_event *>(events + at);
    const auto is_of = [event](const Watch &each) {
      return event->wd == each.directory && event->len > 0 && each.file_name == event->name;
    };
    if (std::ranges::any_of(watches, is_of)) start_timer();
    at += static_cast<ssize_t>(sizeof *event + event->len);
  }
}

// A hangup of the terminal that the viewer was started from ends it, as without a handler.
void reload_or_end(XtPointer, XtSignalId *) {
  if (had_terminal && !isatty(STDIN_FILENO)) {
    exit_tasks();
    signal(SIGHUP, SIG_DFL);
    raise(SIGHUP);
  }
  reload();
}

bool is_same(const struct stat &a, const struct stat &b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

void reopen_changed_file() {
  struct stat now;
  if (timer || stat(Fullpath_fax_filename, &now) != 0 || is_same(now, seen)) return;
  watch();
  if (reopen_view()) update_info_window();
}

void catch_hangup(int) {
  XtNoticeSignal(hangup);
}

void start() {
  struct sigaction present;
  sigaction(SIGHUP, nullptr, &present);
  if (present.sa_handler != SIG_IGN) {
    had_terminal = isatty(STDIN_FILENO);
    hangup = XtAppAddSignal(tn_context, reload_or_end, nullptr);
    signal(SIGHUP, catch_hangup);
  }
  watcher.reset(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (watcher)
    XtAppAddInput(tn_context, watcher.get(), reinterpret_cast<XtPointer>(XtInputReadMask), read_events, nullptr);
}

}  // namespace

void watch_shown_file() {
  static bool started = false;
  if (strcasecmp(application_resource(XtDisplay(tn_Shell000), "watchFile").c_str(), "false") == 0) return;
  if (!started) start();
  started = true;
  watch();
  before_page_turn = reopen_changed_file;
}

}  // namespace tolvane
