// The steps of the start-up. Embedded (Api set) the process belongs to the parent: no step may then end it, handle its
// signals or read its standard input.
#include "app/tolvane.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <initializer_list>
#include <string>

#include "app/app_state.h"
#include "app/exit_tasks.h"
#include "app/file_watch.h"
#include "app/info_window.h"
#include "app/stdin_commands.h"
#include "app/tn_api_functions.h"
#include "app/usage.h"
#include "support/printable.h"
#include "ui/motif_utils.h"
#include "ui/notice.h"
#include "ui/widgets.h"
#include "view/scales.h"
#include "view/screen/pagescope.h"
#include "view/screen/presentation.h"
#include "view/screen/scrolling.h"
#include "view/screen/tolvane_cb.h"
#include "view/view_state.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|tolvane|9|01|3|0|0|11/23/26|08:36:12";

char env_str[4096];  // `putenv` keeps the pointer

// Stand-alone the process ends, embedded the caller returns this result.
int give_up() {
  wait_for_notices();
  if (!Api) leave(1);
  return 1;
}

int misused() {
  notify_user(
      "tolvane needs the name of a fax file.\nOpen one from the file manager, or give the name on the command line.");
  wait_for_notices();
  if (!Api) tolvane_syntax();
  fputs("tolvane: missing fax file name, or no name after -p or -s\n", stderr);
  return 1;
}

int too_long(const char *what, size_t size) {
  fprintf(stderr, "tolvane: %s longer than %zu bytes\n", what, size - 1);
  notify_user(std::string("The ") + what + " is longer than " + std::to_string(size - 1) +
              " bytes.\nGive the file a shorter name, or a link to it.");
  return give_up();
}

int store_name(const char *what, const char *text, char (&field)[NAME_SIZE]) {
  if (!text) return misused();
  if (strlen(text) >= NAME_SIZE) return too_long(what, NAME_SIZE);
  strcpy(field, text);
  return 0;
}

int store_file_name(const char *text) {
  return set_fax_filename(text) ? 0 : too_long("fax file name", FAX_FILENAME_SIZE);
}

// The scale index of a switch; -1 if it is no scale switch. "-r" alone is "-r75".
int32_t scale_of_switch(const std::string &text) {
  if (text == "-r") return scale_of_percent(75);
  for (int32_t i = 0; i < SCALE_COUNT; ++i)
    if (text == "-r" + std::to_string(SCALES[i].percent)) return i;
  return -1;
}

void catch_ctrl_c(int) {
  _exit(0);
}

// The signal can arrive during an allocation: nothing is freed, and no buffered output is used.
void catch_segv(int signal_number) {
  char text[] = "Exiting with error code   \n";
  char *digits = text + strlen("Exiting with error code ");
  if (signal_number > 9) *digits++ = static_cast<char>('0' + signal_number / 10);
  *digits++ = static_cast<char>('0' + signal_number % 10);
  *digits++ = '\n';
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text, static_cast<size_t>(digits - text));
  _exit(signal_number);
}

// Tries one place of the key symbol database: `format` with the value of the environment variable `home`, or unchanged
// if `home` is null.
bool try_keysymdb(const char *home, const char *format) {
  const char *directory = home ? getenv(home) : "";
  if (!directory) return false;
  char path[sizeof env_str - sizeof "XKEYSYMDB="];
  struct stat status;
  if (snprintf(path, sizeof path, "%s%s", directory, format) >= static_cast<int>(sizeof path)) return false;
  if (stat(path, &status) != 0) return false;
  snprintf(env_str, sizeof env_str, "XKEYSYMDB=%s", path);
  putenv(env_str);
  return true;
}

// What the next page needs and the first does not, once nothing else is to be done.
Boolean load_later(XtPointer) {
  load_clock_cursor();
  return True;
}

}  // namespace

int do_args(int argc, char **argv) {
  for (int i = 1; i < argc; ++i) {
    const char *argument = argv[i];
    const char *next = i + 1 < argc ? argv[i + 1] : nullptr;
    int failed = 0;
    if (const int32_t index = scale_of_switch(argument); index >= 0) {
      Reduced = index;
    } else if (strcmp(argument, "-p") == 0) {
      failed = store_name("printer name", next, Printer_name);
      ++i;
    } else if (strcmp(argument, "-s") == 0) {
      failed = store_name("server name", next, Server_name);
      ++i;
    } else if (strstr(argument, "-g")) {
      ++i;  // taken for a geometry switch: the next argument is its value, not a file name
    } else if (*argument != '-') {
      failed = store_file_name(argument);
    }
    if (failed) return failed;
  }
  return *Fullpath_fax_filename ? 0 : misused();
}

int look_for_keysymdb() {
  if (getenv("XKEYSYMDB")) return 0;
  if (try_keysymdb("OPENWINHOME", "/lib/XKeysymDB") || try_keysymdb(nullptr, "/usr/lib/X11/XKeysymDB") ||
      try_keysymdb("SORBEXHOME", "/XKeysymDB") || try_keysymdb(nullptr, "XKeysymDB"))
    return 0;
  fputs("\nWarning! Couldn't find file 'XKeysymDB' in any of the usual locations.\n\n", stderr);
  return 1;
}

int pre_create_init(int argc, char **argv) {
  if (!Api) {
    signal(SIGINT, catch_ctrl_c);
    signal(SIGSEGV, catch_segv);
    signal(SIGBUS, catch_segv);
    // A reader that is gone, or the terminal of a background job, must not end or stop the window.
    for (const int ignored : {SIGPIPE, SIGTTIN, SIGTTOU}) signal(ignored, SIG_IGN);
  }
  if (getenv("FAXTRACE")) Tn_trace_on = 1;
  Reduced = 0;
  if (do_args(argc, argv) != 0) return 1;
  if (!Api) {
    if (!*Server_name) gethostname(Server_name, NAME_SIZE - 1);
    look_for_keysymdb();
  }
  struct stat status;
  if (stat(Fullpath_fax_filename, &status) == 0) return 0;
  const int fault = errno;
  fprintf(stderr, "Can't find file '%s'.\n", printable(Fullpath_fax_filename).c_str());
  notify_user(std::string("The file ") + Fullpath_fax_filename + "\ncannot be opened: " + strerror(fault) + ".");
  return give_up();
}

int post_create_init() {
  get_scrollbar_variables();
  set_least_size();
  if (generate_view() != 0) {
    wait_for_notices();
    return 1;
  }
  refresh_view();
  update_info_window();
  if (!Api) {
    register_stdin_input();
    watch_shown_file();
    tn_center_fax();
  }
  show_scale_on_toggles();
  XtAppAddWorkProc(tn_context, load_later, nullptr);
  // A window that is reused already has the handler; the toolkit does not add it twice.
  XtAddEventHandler(tn_Shell000, StructureNotifyMask, False, map_handler, nullptr);
  return 0;
}

void map_handler(Widget, XtPointer, XEvent *event, Boolean *) {
  if (Api && event->type == MapNotify) notify_api_parent(TN_WINDOW_MAPPED);
  if (event->type == ConfigureNotify && !is_outdated(event->xconfigure.serial))
    save_window_size(event->xconfigure.width, event->xconfigure.height);
}

}  // namespace tolvane
