// The order of the start; the steps are in tolvane.cpp. The window is popped up before the file is loaded, because the
// page cycle paints and resizes it.
#include "app/open_view.h"

#include <stdlib.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include "app/app_state.h"
#include "app/file_drop.h"
#include "app/key_bindings.h"
#include "app/resource_defaults.h"
#include "app/tn_api_functions.h"
#include "app/tolvane.h"
#include "app/window_identity.h"
#include "ui/bx_tolvane_utils.h"
#include "ui/motif_utils.h"
#include "ui/notice.h"
#include "ui/widgets.h"
#include "ui/window/bx_tolvane_callbacks.h"
#include "ui/window/bx_tolvane_create_gui.h"
#include "view/screen/presentation.h"
#include "view/small_database.h"
#include "view/view_state.h"

#include <X11/Shell.h>
#include <X11/StringDefs.h>
#include <Xm/Protocols.h>
#include <Xm/RepType.h>
#include <Xm/Xm.h>

namespace tolvane {

const char *const tn_fallbacks[] = {
    "*background:\t\t#dd9e8d",
    "*fontList:\t\t-*-helvetica-bold-r-*-*-*-120-*-*-*-*-iso8859-1",
    "*marginHeight:\t\t3",
    nullptr,
};

namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|open_view|9|01|4|0|0|11/23/26|11:32:38";

// The shells have this name and class however the display was opened, so that the resources of the viewer also apply
// in a parent program.
constexpr char NAME[] = "tolvane";
constexpr char CLASS[] = "Tolvane";

// Once per process: classes, converters, keys, the hidden shell.
void prepare_toolkit(Display *display) {
  XtInitializeWidgetClass(applicationShellWidgetClass);
  XmRepTypeInstallTearOffModelConverter();
  RegisterBxConverters(tn_context);
  add_key_actions(tn_context);
  const char *const scope = Api ? CLASS : "";
  merge_below_user_resources(display, scope, default_keys);
  add_default_looks(display, scope);
  AppShell = XtAppCreateShell(NAME, CLASS, applicationShellWidgetClass, display, nullptr, 0);
  XtInitializeWidgetClass(topLevelShellWidgetClass);
  register_motif_utils_variables(display, tn_context, AppShell);
}

// By default the toolkit ends the process when an application shell is closed. Embedded, the process is the parent's.
void close_by_dismissing() {
  const Atom protocols = XInternAtom(XtDisplay(tn_Shell000), "WM_PROTOCOLS", False);
  const Atom delete_window = XmInternAtom(XtDisplay(tn_Shell000), const_cast<char *>("WM_DELETE_WINDOW"), False);
  XtVaSetValues(tn_Shell000, XmNdeleteResponse, XmDO_NOTHING, nullptr);
  XmAddProtocolCallback(tn_Shell000, protocols, delete_window, bx_exit_cb, nullptr);
}

// Whether messages are also shown in dialogs: as the resource showMessages says; else if neither a terminal nor a
// parent program is there to show them, as after a start from a desktop.
bool wants_notices(Display *display) {
  const std::string wanted = application_resource(display, "showMessages");
  if (!wanted.empty() && strcasecmp(wanted.c_str(), "auto") != 0) return strcasecmp(wanted.c_str(), "true") == 0;
  const auto has_reader = [](int fd) {
    struct stat status;
    return isatty(fd) ||
           (fstat(fd, &status) == 0 && (S_ISFIFO(status.st_mode) || (fd == STDIN_FILENO && S_ISSOCK(status.st_mode))));
  };
  return !Api && !has_reader(STDIN_FILENO) && !has_reader(STDERR_FILENO);
}

// The toolkit opens an input method for the shell, whose table of composed characters takes a millisecond to parse.
// Nothing is typed into this window that needs it; the texts of a parent program may.
void realize() {
  const bool without_table = !Api && !getenv("XCOMPOSEFILE");
  if (without_table) setenv("XCOMPOSEFILE", "/dev/null", 1);
  XtRealizeWidget(tn_Shell000);
  if (without_table) unsetenv("XCOMPOSEFILE");
}

void create_window() {
  Arg args[4];
  XtSetArg(args[0], XmNtitle, Api ? "Sorbex KT Fax Viewer" : "TolVane");
  XtSetArg(args[1], XmNiconName, Api ? "Fax Viewer" : "TolVane");
  XtSetArg(args[2], XmNx, 150);
  XtSetArg(args[3], XmNy, 75);
  tn_Shell000 = XtAppCreateShell(NAME, CLASS, applicationShellWidgetClass, XtDisplay(AppShell), args, XtNumber(args));
  Tolvane_form = Createtolvane_form(tn_Shell000);
  XtManageChild(Tolvane_form);
  install_keys(Tolvane_form);
  realize();
  identify_window(tn_Shell000);
  close_by_dismissing();
  if (!Api) accept_dropped_files(tn_Shell000);  // embedded, the parent decides on the file
}

Display *take_display(Display *display) {
  tn_context = XtDisplayToApplicationContext(display);
  // Limited to our class, since the widgets of the parent use the same database.
  merge_below_user_resources(display, CLASS, tn_fallbacks);
  return display;
}

// Opened at the first call; a call that fails after that leaves it to the next.
Display *own_display(int *argc, char **argv) {
  static Display *display;
  if (!display) display = open_display(argc, argv);
  if (display) tn_context = XtDisplayToApplicationContext(display);
  return display;
}

}  // namespace

Display *open_display(int *argc, char **argv) {
  XtToolkitInitialize();
  tn_context = XtCreateApplicationContext();
  XtAppSetFallbackResources(tn_context, const_cast<String *>(tn_fallbacks));
  Display *display = XtOpenDisplay(tn_context, nullptr, NAME, CLASS, nullptr, 0, argc, argv);
  if (display) return display;
  XtWarning("cannot open display");
  XtDestroyApplicationContext(tn_context);
  tn_context = nullptr;
  return nullptr;
}

int open_window(Display *display, int argc, char **argv) {
  if (wants_notices(display)) enable_notices(display);
  if (pre_create_init(argc, argv) != 0) return 1;
  if (!AppShell) prepare_toolkit(display);
  if (!tn_Shell000) create_window();
  free_measured_fonts(display);
  set_zoom(decimal_value(application_resource(display, "zoom").c_str()));
  XtPopup(XtParent(Tolvane_form), XtGrabNone);
  return post_create_init();
}

int tn_open_view(Display *display, int argc, char **argv) {
  display = AppShell ? XtDisplay(AppShell) : display ? take_display(display) : own_display(&argc, argv);
  if (!display) return 1;
  set_fax_filename("");
  *Printer_name = *Server_name = '\0';
  if (open_window(display, argc, argv) == 0) return 0;
  tn_dismiss_view_window(1);
  return 1;
}

}  // namespace tolvane
