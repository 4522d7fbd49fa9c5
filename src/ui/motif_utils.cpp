// Small operations on Motif widgets, so that compound strings and resource lists stay away from the call sites.
// Nothing here knows the viewer's own widgets.
#include "ui/motif_utils.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <thread>

#include "support/strlib.h"
#include "ui/motif_values.h"

#include <X11/cursorfont.h>
#include <Xm/XmAll.h>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|motif_utils|9|01|3|0|0|11/23/26|08:36:12";

Display *display;
XtAppContext context;
Widget toplevel;

char ret_str[200];
char menu_choice_name[100];

Cursor clock_cursor;

}  // namespace

void register_motif_utils_variables(Display *app_display, XtAppContext app_context, Widget app_shell) {
  display = app_display;
  context = app_context;
  toplevel = app_shell;
}

XtAppContext motif_utils_context() {
  return context;
}

Widget motif_utils_shell() {
  return toplevel;
}

// Text fields, labels, sliders and toggles.

void set_textfield(Widget w, const char *text) {
  XtVaSetValues(w, XmNvalue, text, nullptr);
  XmTextFieldSetInsertionPosition(w, XmTextFieldGetLastPosition(w));
}

char *get_textfield(Widget w) {
  const XtText value(resource<char *>(w, XmNvalue));
  copy_text(ret_str, sizeof ret_str, value ? value.get() : "");
  return ret_str;
}

void set_label(Widget w, const char *text) {
  const CompoundString label(text);
  XtVaSetValues(w, XmNlabelString, label.get(), nullptr);
}

void set_scale_value(Widget w, int value) {
  XmScaleSetValue(w, value);
}

int get_scale_value(Widget w) {
  int value = 0;
  XmScaleGetValue(w, &value);
  return value;
}

void set_button(Widget w, int state) {
  XtVaSetValues(w, XmNset, state ? True : False, nullptr);
}

void set_button_and_notify(Widget w, int state) {
  XmToggleButtonSetState(w, state ? True : False, True);
}

int button_is_set(Widget w) {
  return resource<unsigned char>(w, XmNset) == XmSET;
}

char *get_menu_choice(Widget w) {
  const auto choice = resource<Widget>(w, XmNmenuHistory);
  copy_text(menu_choice_name, sizeof menu_choice_name, choice ? XtName(choice) : "");
  return menu_choice_name;
}

// The screen.

void sensitize(Widget w, int sensitive) {
  XtVaSetValues(w, XmNsensitive, sensitive ? True : False, nullptr);
}

void bell() {
  XBell(display, 100);
  XFlush(display);
}

void flush_display() {
  XFlush(display);
}

void wait_for_screen_update(unsigned milliseconds) {
  XFlush(display);
  if (milliseconds != 0) std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  // Each call processes one event, timer or input. Fetching an X event instead would block if only a timer or an input
  // were pending.
  while (XtAppPending(context)) XtAppProcessEvent(context, XtIMAll);
  XFlush(display);
}

Pixel color_to_pixel(const char *colour) {
  XrmValue from{static_cast<unsigned>(strlen(colour)), const_cast<char *>(colour)};
  XrmValue to{};
  XtConvert(toplevel, XmRString, &from, XmRPixel, &to);
  return to.addr ? *reinterpret_cast<Pixel *>(to.addr) : static_cast<Pixel>(-1);
}

void set_background(Widget w, const char *colour) {
  XtVaSetValues(w, XmNbackground, color_to_pixel(colour), nullptr);
}

void scroll_to_far_right(Widget w) {
  const auto bar = resource<Widget>(w, XmNhorizontalScrollBar);
  if (!bar) return;
  const int end = resource<int>(bar, XmNmaximum) - resource<int>(bar, XmNsliderSize);
  XtVaSetValues(bar, XmNvalue, end, nullptr);
  XmScrollBarCallbackStruct call_data{XmCR_INCREMENT, nullptr, end, 0};
  XtCallCallbacks(bar, XmNincrementCallback, &call_data);
}

Cursor make_clock_cursor() {
  clock_cursor = XCreateFontCursor(display, XC_watch);
  return clock_cursor;
}

namespace {
// The window of a widget; none before it is realized, and none for a gadget, which has no field for one.
Window window_of(Widget w) {
  return XtIsWidget(w) ? XtWindow(w) : None;
}
}  // namespace

void load_clock_cursor() {
  if (!clock_cursor) make_clock_cursor();
}

void show_clock_cursor(Widget w) {
  load_clock_cursor();
  if (window_of(w)) XDefineCursor(display, window_of(w), clock_cursor);
  XFlush(display);
}

void restore_cursor(Widget w) {
  if (window_of(w)) XUndefineCursor(display, window_of(w));
  XFlush(display);
}

// Push buttons pressed by the program.

void simulate_button_click(Widget w, int state) {
  XEvent event{};
  event.xbutton.type = ButtonPress;
  event.xbutton.display = display;
  event.xbutton.window = window_of(w);
  event.xbutton.state = static_cast<unsigned>(state);
  event.xbutton.button = Button1;
  // Window 0 would mean the window under the pointer: a widget without a window gets no event.
  if (window_of(w)) XSendEvent(display, window_of(w), True, ButtonPressMask, &event);
  XtVaSetValues(w, XmNuserData, reinterpret_cast<XtPointer>(static_cast<intptr_t>(state)), nullptr);
  flush_display();
}

void set_push_button_state(Widget w, int state) {
  if (push_button_state(w) != state) simulate_button_click(w, state);
}

int push_button_state(Widget w) {
  return static_cast<int>(reinterpret_cast<intptr_t>(resource<XtPointer>(w, XmNuserData)));
}

}  // namespace tolvane
