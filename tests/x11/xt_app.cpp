#include "x11/xt_app.h"

#include "app/app_state.h"
#include "app/open_view.h"
#include "ui/bx_tolvane_utils.h"
#include "ui/motif_utils.h"

#include <X11/Shell.h>

namespace {

void keep_warning(char *, char *, char *, char *text, char **words, Cardinal *count) {
  std::string warning = text;
  for (Cardinal i = 0; words && i < *count; i++) warning += std::string(", ") + words[i];
  xt_app().warnings.push_back(warning);
}

XtApp open_app() {
  XtApp app;
  int argc = 0;
  app.display = tolvane::open_display(&argc, nullptr);
  app.context = tolvane::tn_context;
  XtAppSetWarningHandler(app.context, [](char *warning) { xt_app().warnings.emplace_back(warning); });
  XtAppSetWarningMsgHandler(app.context, keep_warning);
  tolvane::RegisterBxConverters(app.context);
  app.hidden_shell = XtAppCreateShell("tolvane", "Tolvane", applicationShellWidgetClass, app.display, nullptr, 0);
  tolvane::register_motif_utils_variables(app.display, app.context, app.hidden_shell);
  return app;
}

}  // namespace

XtApp &xt_app() {
  static XtApp app = open_app();
  return app;
}

Widget XtApp::make_shell(const char *title) const {
  return XtVaAppCreateShell("tolvane", "Tolvane", applicationShellWidgetClass, display, XtNtitle, title, XtNx, 150,
                            XtNy, 75, nullptr);
}

void XtApp::process_pending() const {
  XSync(display, False);
  while (XtAppPending(context)) {
    XtAppProcessEvent(context, XtIMAll);
    XSync(display, False);
  }
}

bool XtApp::process_until(const std::function<bool()> &condition) const {
  return wait_until([&] {
    process_pending();
    return condition();
  });
}

std::string written(XmString string) {
  std::string out;
  XmStringContext context;
  if (!XmStringInitContext(&context, string)) return "no string";
  unsigned length;
  XtPointer value;
  XmStringComponentType type;
  char direction = 0;
  while ((type = XmStringGetNextTriple(context, &length, &value)) != XmSTRING_COMPONENT_END) {
    const std::string text(static_cast<char *>(value), value ? length : 0);
    const char arrow = text[0] == XmSTRING_DIRECTION_R_TO_L ? '<' : '>';
    if (type == XmSTRING_COMPONENT_DIRECTION && arrow != direction) out += direction = arrow;
    if (type == XmSTRING_COMPONENT_TEXT || type == XmSTRING_COMPONENT_LOCALE_TEXT) out += "[" + text + "]";
    if (type == XmSTRING_COMPONENT_TAG && text != "UTF-8") out += "#" + text;
    if (type == XmSTRING_COMPONENT_SEPARATOR) out += '/';
    XtFree(static_cast<char *>(value));
  }
  XmStringFreeContext(context);
  return out;
}

std::string written(Widget w, const char *name) {
  const auto label = tolvane::resource<XmString>(w, name);
  const std::string out = written(label);
  XmStringFree(label);
  return out;
}
