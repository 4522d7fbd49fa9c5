// Small operations on Motif widgets, so that compound strings and resource lists stay away from the call sites.
// Nothing here knows the viewer's own widgets. Motif writes a resource in its own width (Dimension 2 bytes, a toggle's
// state 1): the variable handed to XtVaGetValues must have that very width.
#include "ui/motif_utils.h"

#include "support/handle.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <thread>
#include <utility>

#include <X11/cursorfont.h>
#include <Xm/XmAll.h>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|motif_utils|9|01|1|0|0|11/22/26|21:20:00";

Display *display;
XtAppContext context;
Widget toplevel;

char ret_str[200];
char menu_choice_name[100];
char item_str[1000];

int answer;
Cursor clock_cursor;

struct XtDeleter {
  void operator()(char *text) const { XtFree(text); }
};
using XtText = std::unique_ptr<char, XtDeleter>;

/// A compound string for as long as a resource is being set; the widget keeps a copy of its own.
class CompoundString {
 public:
  explicit CompoundString(XmString string) : string_(string) {}
  ~CompoundString() { XmStringFree(string_); }
  CompoundString(const CompoundString &) = delete;
  CompoundString &operator=(const CompoundString &) = delete;
  XmString get() const { return string_; }

 private:
  XmString string_;
};

XmString plain(const char *text) {
  return XmStringCreateSimple(const_cast<char *>(text));
}

/// The selected positions of a list, in ascending order.
struct Selection {
  Block<int> positions;
  int count = 0;
};

Selection selection_of(Widget list) {
  int *positions = nullptr;
  int count = 0;
  if (!XmListGetSelectedPos(list, &positions, &count)) return {};
  return {Block<int>(positions), count};
}

Selection saved;

/// A resource of `w`; 0 if the widget has none of that name.
template <typename Value>
Value resource(Widget w, const char *name) {
  Value value{};
  XtVaGetValues(w, name, &value, nullptr);
  return value;
}

template <size_t SIZE>
char *copy_cut(char (&to)[SIZE], const char *from) {
  size_t length = strnlen(from, SIZE);
  if (length == SIZE) {
    // Back to the head of a UTF-8 character, which has at most three bytes behind it.
    length = SIZE - 1;
    for (int i = 0; i < 3 && (from[length] & 0xc0) == 0x80; i++) length--;
  }
  memcpy(to, from, length);
  to[length] = '\0';
  return to;
}

/// The text of an item; null if it has none under the default tag.
XtText item_text(XmString item) {
  char *text = nullptr;
  if (!XmStringGetLtoR(item, XmFONTLIST_DEFAULT_TAG, &text)) return {};
  return XtText(text);
}

/// Selects positions one by one without a callback. Only under this policy does one selection leave the others alone.
template <typename Position>
void select_several(Widget list, int count, Position position) {
  const auto policy = resource<unsigned char>(list, XmNselectionPolicy);
  XtVaSetValues(list, XmNselectionPolicy, XmMULTIPLE_SELECT, nullptr);
  for (int i = 0; i < count; i++) XmListSelectPos(list, position(i), False);
  XtVaSetValues(list, XmNselectionPolicy, policy, nullptr);
}

}  // namespace

Widget question_popup;

void register_motif_utils_variables(Display *app_display, XtAppContext app_context, Widget app_shell) {
  display = app_display;
  context = app_context;
  toplevel = app_shell;
}

// Text fields, labels, sliders and toggles.

void set_textfield(Widget w, const char *text) {
  XtVaSetValues(w, XmNvalue, text, nullptr);
  XmTextFieldSetInsertionPosition(w, XmTextFieldGetLastPosition(w));
}

char *get_textfield(Widget w) {
  const XtText value(resource<char *>(w, XmNvalue));
  return copy_cut(ret_str, value ? value.get() : "");
}

void set_label(Widget w, const char *text) {
  const CompoundString label(plain(text));
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
  return copy_cut(menu_choice_name, choice ? XtName(choice) : "");
}

// Lists.

void add_item_to_list(Widget list, const char *text) {
  const CompoundString item(plain(text));
  XmListAddItem(list, item.get(), 0);
}

char *get_list_item(Widget list, int pos) {
  if (pos < 1 || pos > get_list_numb_items(list)) return nullptr;
  const auto items = resource<XmStringTable>(list, XmNitems);
  if (!items) return nullptr;
  const XtText text = item_text(items[pos - 1]);
  return text ? copy_cut(item_str, text.get()) : nullptr;
}

int get_list_numb_items(Widget list) {
  return resource<int>(list, XmNitemCount);
}

int numb_selected_items(Widget list) {
  return selection_of(list).count;
}

void select_all_items(Widget list) {
  deselect_all_items(list);
  select_several(list, get_list_numb_items(list), [](int i) { return i + 1; });
}

void deselect_all_items(Widget list) {
  XmListDeselectAllItems(list);
}

void remove_all_items_from_list(Widget list) {
  XmListDeleteAllItems(list);
}

void select_list_position(Widget list, int pos, int notify) {
  const int last = get_list_numb_items(list);
  XmListSelectPos(list, pos > last ? last : pos, notify ? True : False);
}

int select_list_item(Widget list, const char *text, int notify) {
  const int count = get_list_numb_items(list);
  const auto items = resource<XmStringTable>(list, XmNitems);
  if (!items) return 0;
  for (int i = 0; i < count; i++) {
    const XtText item = item_text(items[i]);
    if (!item || strcmp(item.get(), text) != 0) continue;
    XmListSelectPos(list, i + 1, notify ? True : False);
    return i + 1;
  }
  return 0;
}

int get_list_top_item(Widget list) {
  return resource<int>(list, XmNtopItemPosition);
}

void set_list_top_item(Widget list, int pos) {
  XmListSetPos(list, pos > 0 ? pos : 1);
}

int get_first_selected_position(Widget list) {
  const Selection selection = selection_of(list);
  return selection.count > 0 ? *selection.positions : 0;
}

int get_selected_item(Widget list, char *buffer) {
  buffer[0] = '\0';
  const int position = get_first_selected_position(list);
  if (position == 0) return 0;
  const auto items = resource<XmStringTable>(list, XmNselectedItems);
  const XtText text = items ? item_text(items[0]) : XtText();
  if (text) strcpy(buffer, text.get());
  return position;
}

void save_selected_items(Widget list) {
  saved = selection_of(list);
}

void restore_selected_items(Widget list) {
  deselect_all_items(list);
  if (saved.count <= 0) return;
  const Selection selection = std::move(saved);
  saved = {};
  select_several(list, selection.count, [&](int i) { return selection.positions.get()[i]; });
}

// The question dialog.

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

// The window manager's close button: no button of the dialog was pressed, which is no yes.
void refuse(Widget, XtPointer client_data, XtPointer) {
  *static_cast<int *>(client_data) = 0;
}

Widget make_question_popup() {
  char name[] = "question_popup";
  Widget popup = XmCreateQuestionDialog(toplevel, name, nullptr, 0);
  XtVaSetValues(popup, XmNmessageAlignment, XmALIGNMENT_CENTER, nullptr);
  XtUnmanageChild(XmMessageBoxGetChild(popup, XmDIALOG_HELP_BUTTON));
  XtAddCallback(popup, XmNokCallback, response, &answer);
  XtAddCallback(popup, XmNcancelCallback, response, &answer);

  Widget shell = XtParent(popup);
  XtVaSetValues(shell, XmNtitle, "Sorbex: Notice", nullptr);
  char close[] = "WM_DELETE_WINDOW";
  XmAddWMProtocolCallback(shell, XmInternAtom(display, close, False), refuse, &answer);
  return popup;
}

}  // namespace

int AskUser(const char *question, const char *yes_label, const char *no_label) {
  if (!question_popup) question_popup = make_question_popup();
  const CompoundString yes(plain(yes_label)), no(plain(no_label));
  XtVaSetValues(question_popup, XmNdialogStyle, XmDIALOG_FULL_APPLICATION_MODAL, XmNokLabelString, yes.get(),
                XmNcancelLabelString, no.get(), nullptr);
  answer = -1;
  // Unlike the labels, the question breaks into lines.
  const CompoundString message(XmStringCreateLtoR(const_cast<char *>(question), XmSTRING_DEFAULT_CHARSET));
  XtVaSetValues(question_popup, XmNmessageString, message.get(), nullptr);
  XtManageChild(question_popup);
  Widget shell = XtParent(question_popup);
  XtPopup(shell, XtGrabNone);
  while (answer == -1) XtAppProcessEvent(context, XtIMAll);
  XtPopdown(shell);
  wait_for_screen_update(300);
  return answer;
}

// Widget trees.

namespace {

/// Visits `w`, its descendants and the pulldown menus of its cascade buttons, parents first, until `visit` is true.
/// A pulldown menu is no child of its button: only XmNsubMenuId leads there.
/// @return the widget at which the walk ended, null at the end of the tree
template <typename Visit>
Widget walk(Widget w, const Visit &visit) {
  if (visit(w)) return w;
  const auto count = resource<Cardinal>(w, XmNnumChildren);
  const auto children = resource<WidgetList>(w, XmNchildren);
  for (Cardinal i = 0; i < count; i++) {
    if (Widget found = walk(children[i], visit)) return found;
  }
  const auto menu = resource<Widget>(w, XmNsubMenuId);
  return menu ? walk(menu, visit) : nullptr;
}

}  // namespace

int apply_to_widget_tree(Widget w, void (*function)(Widget, int), int data) {
  walk(w, [&](Widget each) {
    function(each, data);
    return false;
  });
  return 0;
}

Widget search_widget_by_name(Widget w, const char *name) {
  return walk(w, [&](Widget each) { return strcmp(XtName(each), name) == 0; });
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
  // One call serves one thing of any kind. Fetching an X event instead would block when a timer or standard input was
  // all there was.
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

void show_clock_cursor(Widget w) {
  if (!clock_cursor) make_clock_cursor();
  if (XtWindow(w)) XDefineCursor(display, XtWindow(w), clock_cursor);
  XFlush(display);
}

void restore_cursor(Widget w) {
  if (XtWindow(w)) XUndefineCursor(display, XtWindow(w));
  XFlush(display);
}

// Push buttons pressed from inside.

void simulate_button_click(Widget w, int state) {
  XEvent event{};
  event.xbutton.type = ButtonPress;
  event.xbutton.display = display;
  event.xbutton.window = XtWindow(w);
  event.xbutton.state = static_cast<unsigned>(state);
  event.xbutton.button = Button1;
  // Window 0 stands for whatever lies under the pointer: a widget without a window gets no event.
  if (XtWindow(w)) XSendEvent(display, XtWindow(w), True, ButtonPressMask, &event);
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
