// The default keys, and the actions for keys without a control. A key that has a virtual name in the toolkit (osfUp,
// osfBackSpace) must be written by that name: the plain one never matches.
#include "app/key_bindings.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "app/info_window.h"
#include "app/print_handoff.h"
#include "app/tn_api_functions.h"
#include "ui/motif_utils.h"
#include "ui/motif_values.h"
#include "ui/widgets.h"
#include "view/scales.h"
#include "view/screen/pagescope.h"
#include "view/screen/scrolling.h"
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
        ~Shift~Ctrl<Btn4Down>: IncrementUpOrLeft(0) \n\
        ~Shift~Ctrl<Btn5Down>: IncrementDownOrRight(0) \n\
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
        Ctrl<Btn4Down>: tn-larger() \n\
        Ctrl<Btn5Down>: tn-smaller() \n\
        <Key>0: tn-page-digit(0) \n\
        <Key>1: tn-page-digit(1) \n\
        <Key>2: tn-page-digit(2) \n\
        <Key>3: tn-page-digit(3) \n\
        <Key>4: tn-page-digit(4) \n\
        <Key>5: tn-page-digit(5) \n\
        <Key>6: tn-page-digit(6) \n\
        <Key>7: tn-page-digit(7) \n\
        <Key>8: tn-page-digit(8) \n\
        <Key>9: tn-page-digit(9) \n\
        <Key>Return: tn-go-to-page() \n\
        Shift<Key>r: tn-rotate-left() \n\
        <Key>r: tn-rotate-right() \n\
        <Key>i: tn-show-info() \n\
        <Key>p: tn-print() \n\
        <Key>q: tn-dismiss())",
    R"(*drawing_area.translations: #override \n\
        <Btn1Down>: tn-start-pan() \n\
        <Btn1Motion>: tn-pan() \n\
        <Btn1Up>: tn-toggle-scale(double))",  nullptr,
};

namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|key_bindings|9|01|4|0|0|11/23/26|11:25:01";

int32_t typed_page;  // the digits typed one after the other, as a number

template <void (*operation)()>
void action(Widget, XEvent *, String *, Cardinal *) {
  operation();
}

// Runs before every action, also those of the controls. A key or button that does anything else ends the digits.
void forget_typed_page(Widget, XtPointer, String name, XEvent *event, String *, Cardinal *) {
  const std::string_view typing[] = {"tn-page-digit", "tn-go-to-page"};
  const bool by_user = event && (event->type == KeyPress || event->type == ButtonPress);
  if (by_user && std::ranges::count(typing, name) == 0) typed_page = 0;
}

void type_digit(Widget, XEvent *, String *parameters, Cardinal *count) {
  const int32_t digit = *count > 0 ? static_cast<int32_t>(strtol(parameters[0], nullptr, 10)) : 0;
  typed_page = std::min(10 * typed_page + std::clamp(digit, 0, 9), 99999);
}

void go_to_typed_page() {
  if (const int32_t page = std::exchange(typed_page, 0); page > 0) random_page(page);
}

// The position of a button or motion event on the screen, and in the window of the widget.
struct Pointer {
  int x_root, y_root, x, y;
};
bool find_pointer(const XEvent *event, Pointer &pointer) {
  if (event->type == MotionNotify)
    pointer = {event->xmotion.x_root, event->xmotion.y_root, event->xmotion.x, event->xmotion.y};
  else if (event->type == ButtonPress || event->type == ButtonRelease)
    pointer = {event->xbutton.x_root, event->xbutton.y_root, event->xbutton.x, event->xbutton.y};
  else
    return false;
  return true;
}

template <void (*operation)(int, int)>
void drag(Widget, XEvent *event, String *, Cardinal *) {
  if (Pointer pointer; find_pointer(event, pointer)) operation(pointer.x_root, pointer.y_root);
}

// Whether this is the second click at one place within the time of a double click. A translation for double clicks
// would keep the toolkit from matching those for the parts of a drag.
bool is_second_click(Widget widget, const XEvent *event, const Pointer &pointer) {
  static Time time;
  static Pointer place;
  const Time now = event->xbutton.time;
  const bool second = now - time <= static_cast<Time>(XtGetMultiClickTime(XtDisplay(widget))) &&
                      std::abs(pointer.x_root - place.x_root) + std::abs(pointer.y_root - place.y_root) <= 8;
  time = second ? 0 : now;
  place = pointer;
  return second;
}

// Between 100% and 50%, with the place under the pointer in the middle of the view. With the parameter "double" only at
// the second of two clicks.
void toggle_scale(Widget widget, XEvent *event, String *parameters, Cardinal *count) {
  Pointer pointer;
  const auto width = resource<Dimension>(widget, XmNwidth), height = resource<Dimension>(widget, XmNheight);
  if (!find_pointer(event, pointer) || width == 0 || height == 0) return;
  if (*count > 0 && strcmp(parameters[0], "double") == 0 && !is_second_click(widget, event, pointer)) return;
  set_button_and_notify(scale_toggle(scale_of_percent(Reduced == 0 ? 50 : 100)), 1);
  scroll_to_middle(double(pointer.x) / width, double(pointer.y) / height);
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

void show_info() {
  if (const Widget made = toggle_info_window()) install_below(made, tolvane_form);
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
      {"tn-page-digit", type_digit},
      {"tn-go-to-page", action<go_to_typed_page>},
      {"tn-start-pan", drag<start_pan>},
      {"tn-pan", drag<pan_to>},
      {"tn-toggle-scale", toggle_scale},
      {"tn-show-info", action<show_info>},
      {"tn-print", action<print>},
      {"tn-dismiss", action<dismiss>},
  };
  for (const auto &[name, run] : actions) {
    XtActionsRec record{const_cast<String>(name), run};
    XtAppAddActions(context, &record, 1);
  }
  XtAppAddActionHook(context, forget_typed_page, nullptr);
}

void install_keys(Widget form) {
  install_below(form, form);
}

}  // namespace tolvane
