// A parent program: holds the fax viewer as a window of its own and prints every event that it hears of.
//
//   parent FAX_FILE [SECOND_FAX_FILE]
//
// The first file opens as a preview. Each button below makes one call of the embedding interface; what it gives and
// what the viewer reports comes on standard output, one line each.
#include <tolvane/embed.h>

#include <cstdint>
#include <cstdio>
#include <iterator>

#include <Xm/PushB.h>
#include <Xm/RowColumn.h>

namespace {

char *program;
char *first_file;
char *second_file;
Widget toplevel;

const char *name_of(int32_t code) {
  static const char *const names[] = {"none",    "window gone", "window mapped", "send",   "save",
                                      "discard", "print",       "properties",    "attach", "delete",
                                      "rename",  "to original", "to selected",   "route"};
  return code > 0 && code < static_cast<int32_t>(std::size(names)) ? names[code] : "unknown";
}

void heard(int32_t code) {
  printf("event %d: %s\n", code, name_of(code));
}

void open_file(char *file, tolvane::TnFace face) {
  char *arguments[] = {program, file, nullptr};
  const int result = tolvane::tn_open_view(XtDisplay(toplevel), 2, arguments);
  if (result == 0) tolvane::tn_configure_window(face);
  printf("opened: %d\n", result);
}

void open_preview() {
  open_file(first_file, tolvane::TN_FACE_PREVIEW);
}
void open_viewer() {
  open_file(second_file, tolvane::TN_FACE_VIEWER);
}
void preview_face() {
  tolvane::tn_configure_window(tolvane::TN_FACE_PREVIEW);
}
void viewer_face() {
  tolvane::tn_configure_window(tolvane::TN_FACE_VIEWER);
}
void dismiss() {
  tolvane::tn_dismiss_view_window(0);
}
void say_state() {
  printf("up: %d\n", tolvane::tn_window_is_up());
}

void destroy() {
  if (tolvane::tn_Shell000) XtDestroyWidget(tolvane::tn_Shell000);
}

void quit() {
  tolvane::exit_tasks();
  XtAppSetExitFlag(XtWidgetToApplicationContext(toplevel));
}

struct Button {
  const char *label;
  void (*run)();
};
const Button buttons[] = {
    {"Open preview", open_preview},
    {"Open viewer", open_viewer},
    {"Preview face", preview_face},
    {"Viewer face", viewer_face},
    {"Take picture away", tolvane::tn_empty_view_window},
    {"Raise", tolvane::tn_raise_view_window},
    {"Dismiss", dismiss},
    {"Destroy", destroy},
    {"Is it up?", say_state},
    {"Quit", quit},
};

void pressed(Widget, XtPointer button, XtPointer) {
  static_cast<const Button *>(button)->run();
}

void build_buttons() {
  const Widget column = XtVaCreateManagedWidget("column", xmRowColumnWidgetClass, toplevel, nullptr);
  for (const Button &button : buttons) {
    const Widget widget = XtVaCreateManagedWidget(button.label, xmPushButtonWidgetClass, column, nullptr);
    XtAddCallback(widget, XmNactivateCallback, pressed, const_cast<Button *>(&button));
  }
}

}  // namespace

int main(int argc, char **argv) {
  XtAppContext context;
  toplevel = XtVaAppInitialize(&context, "Parent", nullptr, 0, &argc, argv, nullptr, XmNtitle, "Fax Parent", nullptr);
  if (argc < 2 || argc > 3) {
    fprintf(stderr, "Usage: %s fax_file [second_fax_file]\n", argv[0]);
    return 1;
  }
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  program = argv[0];
  first_file = argv[1];
  second_file = argv[argc - 1];
  build_buttons();
  XtRealizeWidget(toplevel);
  tolvane::tn_assign_callback_func(heard);
  open_preview();
  XtAppMainLoop(context);
  return 0;
}
