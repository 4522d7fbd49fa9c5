// The message dialog. It can be needed before the window exists, so that it has a shell of its own to belong to.
#include "ui/notice.h"

#include "support/printable.h"
#include "ui/motif_values.h"

#include <X11/Shell.h>
#include <Xm/MessageB.h>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|notice|9|01|4|0|0|11/23/26|11:32:38";

Display *display;  // null while notices are off
Widget dialog;     // null until the first message

Widget make_dialog() {
  String name, type;
  XtGetApplicationNameAndClass(display, &name, &type);
  const Widget owner = XtAppCreateShell(name, type, applicationShellWidgetClass, display, nullptr, 0);
  char dialog_name[] = "notice";
  const Widget made = XmCreateErrorDialog(owner, dialog_name, nullptr, 0);
  XtVaSetValues(XtParent(made), XmNtitle, "TolVane: Message", nullptr);
  for (const unsigned char button : {XmDIALOG_CANCEL_BUTTON, XmDIALOG_HELP_BUTTON})
    XtUnmanageChild(XmMessageBoxGetChild(made, button));
  return made;
}

}  // namespace

void enable_notices(Display *for_display) {
  display = for_display;
}

bool notices_enabled() {
  return display;
}

void notify_user(const std::string &text) {
  if (!display) return;
  if (!dialog || XtDisplay(dialog) != display) dialog = make_dialog();
  std::string shown = printable(text, "\n");
  const CompoundString message(XmStringCreateLtoR(shown.data(), XmSTRING_DEFAULT_CHARSET));
  XtVaSetValues(dialog, XmNmessageString, message.get(), nullptr);
  XtManageChild(dialog);
}

void wait_for_notices() {
  while (dialog && XtIsManaged(dialog)) XtAppProcessEvent(XtDisplayToApplicationContext(display), XtIMAll);
}

}  // namespace tolvane
