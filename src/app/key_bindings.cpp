// The default keys, and the actions for keys without a control. A key that has a virtual name in the toolkit (osfUp,
// osfBackSpace) must be written by that name: the plain one never matches.
#include "app/key_bindings.h"

#include "app/print_handoff.h"
#include "app/tn_api_functions.h"
#include "ui/motif_utils.h"
#include "ui/widgets.h"
#include "view/screen/pagescope.h"
#include "view/scales.h"
#include "view/screen/tolvane_cb.h"
#include "view/view_state.h"

#include <Xm/Xm.h>

namespace tolvane {

// Control with the space bar still activates the control that has the focus.
const char *const default_keys[] = {
    R"(*next_chunk.accelerators: #override \n\
        ~Ctrl<Key>space: ArmAndActivate())",
    R"(*prev_chunk.accelerators: #override \n\
        <Key>osfBackSpace: ArmAndActivate())",
    R"(*VertScrollBar.accelerators: #override \n\
        ~Shift<Btn4Down>: IncrementUpOrLeft(0) \n\
        ~Shift<Btn5Down>: IncrementDownOrRight(0) \n\
        <Key>osfUp: IncrementUpOrLeft(0) \n\
        <Key>osfDown: IncrementDownOrRight(0))",
    R"(*HorScrollBar.accelerators: #override \n\
        Shift<Btn4Down>: IncrementUpOrLeft(1) \n\
        Shift<Btn5Down>: IncrementDownOrRight(1) \n\
        <Key>osfLeft: IncrementUpOrLeft(1) \n\
        <Key>osfRight: IncrementDownOrRight(1))",
    R"(*tolvane_form.accelerators: #override \n\
        <Key>osfPageDown: tn-next-page() \n\
        <Key>osfPageUp: tn-previous-page() \n\
        Shift<Key>n: tn-previous-page() \n\
        <Key>n: tn-next-page() \n\
        <Key>osfBeginLine: tn-first-page() \n\
        <Key>osfEndLine: tn-last-page() \n\
        <Key>plus: tn-larger() \n\
        <Key>KP_Add: tn-larger() \n\
        <Key>minus: tn-smaller() \n\
        <Key>KP_Subtract: tn-smaller() \n\
        Shift<Key>r: tn-rotate-left() \n\
        <Key>r: tn-rotate-right() \n\
        <Key>p: tn-print() \n\
        <Key>q: tn-dismiss())",  nullptr,
};

namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|key_bindings|9|01|1|0|0|11/22/26|20:58:00";

template <void (*operation)()>
void action(Widget, XEvent *, String *, Cardinal *) {
  operation();
}

void next_page() {
  next_page_cb();
}
void previous_page() {
  prev_page_cb();
}
void first_page() {
  random_page(1);
}
void last_page() {
  random_page(Total_pages);
}

template <int32_t step>
void rescale() {
  const int32_t wanted = Reduced + step;
  if (!is_scale(wanted)) return bell();
  set_button_and_notify(scale_toggle(wanted), 1);
}

template <int32_t turn>
void rotate() {
  rotate_view((orientation + turn) % 360);
}

bool offered(Widget button) {
  return XtIsManaged(button) && XtIsManaged(XtParent(button));
}

void print() {
  if (offered(print_button))
    tn_call_ormbrix();
  else if (XtIsManaged(fax_menubar))
    notify_api_parent(TN_PRINT);
}

void dismiss() {
  if (offered(dismiss_button)) tn_dismiss_view_window(0);
}

// Covers every widget with a window, since only they have translations, except popups and the menu bar. The label of
// the slider is a gadget.
void install_below(Widget widget, Widget form) {
  if (!XtIsWidget(widget) || widget == fax_menubar) return;
  XtInstallAllAccelerators(widget, form);
  WidgetList children = nullptr;
  Cardinal count = 0;
  if (XtIsComposite(widget)) XtVaGetValues(widget, XmNchildren, &children, XmNnumChildren, &count, nullptr);
  for (Cardinal i = 0; i < count; ++i) install_below(children[i], form);
}

}  // namespace

void add_key_actions(XtAppContext context) {
  struct {
    const char *name;
    XtActionProc run;
  } const actions[] = {
      {"tn-next-page", action<next_page>},
      {"tn-previous-page", action<previous_page>},
      {"tn-first-page", action<first_page>},
      {"tn-last-page", action<last_page>},
      {"tn-larger", action<rescale<-1>>},
      {"tn-smaller", action<rescale<1>>},
      {"tn-rotate-left", action<rotate<90>>},
      {"tn-rotate-right", action<rotate<270>>},
      {"tn-print", action<print>},
      {"tn-dismiss", action<dismiss>},
  };
  for (const auto &[name, run] : actions) {
    XtActionsRec record{const_cast<String>(name), run};
    XtAppAddActions(context, &record, 1);
  }
}

void install_keys(Widget form) {
  install_below(form, form);
}

}  // namespace tolvane
