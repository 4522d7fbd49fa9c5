// The question dialog. One question is open at a time: the answer and the dialog are single.
#include "ui/motif_dialog.h"

#include "ui/motif_utils.h"
#include "ui/motif_values.h"

#include <Xm/AtomMgr.h>
#include <Xm/MessageB.h>
#include <Xm/Protocols.h>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|motif_dialog|9|01|2|0|0|11/23/26|04:51:49";

int answer;
}  // namespace

Widget question_popup;

void response(Widget, XtPointer client_data, XtPointer call_data) {
  int *given = static_cast<int *>(client_data);
  switch (static_cast<XmAnyCallbackStruct *>(call_data)->reason) {
    case XmCR_OK:
      *given = 1;
      break;
    case XmCR_CANCEL:
      *given = 0;
      break;
    default:
      break;
  }
}

namespace {

// The window manager closed the dialog: neither button was pressed, which means no.
void refuse(Widget, XtPointer client_data, XtPointer) {
  *static_cast<int *>(client_data) = 0;
}

Widget make_question_popup() {
  char name[] = "question_popup";
  Widget popup = XmCreateQuestionDialog(motif_utils_shell(), name, nullptr, 0);
  XtVaSetValues(popup, XmNmessageAlignment, XmALIGNMENT_CENTER, nullptr);
  XtUnmanageChild(XmMessageBoxGetChild(popup, XmDIALOG_HELP_BUTTON));
  XtAddCallback(popup, XmNokCallback, response, &answer);
  XtAddCallback(popup, XmNcancelCallback, response, &answer);

  Widget shell = XtParent(popup);
  XtVaSetValues(shell, XmNtitle, "Sorbex: Notice", nullptr);
  char close[] = "WM_DELETE_WINDOW";
  XmAddWMProtocolCallback(shell, XmInternAtom(XtDisplay(shell), close, False), refuse, &answer);
  return popup;
}

}  // namespace

int AskUser(const char *question, const char *yes_label, const char *no_label) {
  if (!question_popup) question_popup = make_question_popup();
  const CompoundString yes(yes_label), no(no_label);
  XtVaSetValues(question_popup, XmNdialogStyle, XmDIALOG_FULL_APPLICATION_MODAL, XmNokLabelString, yes.get(),
                XmNcancelLabelString, no.get(), nullptr);
  answer = -1;
  // Unlike the labels, the question breaks into lines.
  const CompoundString message(XmStringCreateLtoR(const_cast<char *>(question), XmSTRING_DEFAULT_CHARSET));
  XtVaSetValues(question_popup, XmNmessageString, message.get(), nullptr);
  XtManageChild(question_popup);
  Widget shell = XtParent(question_popup);
  XtPopup(shell, XtGrabNone);
  while (answer == -1) XtAppProcessEvent(motif_utils_context(), XtIMAll);
  XtPopdown(shell);
  wait_for_screen_update(300);
  return answer;
}

}  // namespace tolvane
