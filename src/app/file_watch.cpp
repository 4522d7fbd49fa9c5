// Changes of the file shown. A change is acted upon once the file has been quiet for a moment: a writer may close a
// file several times, and an event for the directory says nothing of other writers.
#include "app/file_watch.h"

#include <limits.h>
#include <signal.h>
#include <string.h>
#include <strings.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

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

[[gnu::used]] const char SCCS_ID[] = "@(#)|file_watch|9|01|2|0|0|11/23/26|07:59:37";

constexpr unsigned long QUIET_TIME = 200;  // milliseconds

Descriptor watcher;
int directory_watch = -1;
std::string file_name;  // within that directory
XtIntervalId timer;
XtSignalId hangup;
bool had_terminal;  // standard input was one at the start

void reload() {
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
    if (event->wd == directory_watch && event->len > 0 && file_name == event->name) start_timer();
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

struct stat seen;  // of the file, without inotify

bool is_same(const struct stat &a, const struct stat &b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

void reopen_changed_file() {
  struct stat now;
  if (stat(Fullpath_fax_filename, &now) != 0 || is_same(now, seen)) return;
  seen = now;
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

// Watches the directory of the file shown, in place of an earlier one.
bool watch_directory() {
  if (!watcher) return false;
  const std::filesystem::path path = Fullpath_fax_filename;
  if (directory_watch >= 0) inotify_rm_watch(watcher.get(), directory_watch);
  file_name = path.filename();
  const std::string directory = path.has_parent_path() ? path.parent_path() : ".";
  directory_watch = inotify_add_watch(watcher.get(), directory.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO);
  return directory_watch >= 0;
}

}  // namespace

void watch_shown_file() {
  static bool started = false;
  if (strcasecmp(application_resource(XtDisplay(tn_Shell000), "watchFile").c_str(), "false") == 0) return;
  if (!started) start();
  started = true;
  stat(Fullpath_fax_filename, &seen);
  before_page_turn = watch_directory() ? nullptr : reopen_changed_file;
}

}  // namespace tolvane
