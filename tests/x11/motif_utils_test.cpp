#include "x11/xt_app.h"

#include "ui/motif_utils.h"

#include <gmock/gmock.h>

#include <Xm/XmAll.h>

using namespace tolvane;
using testing::ElementsAre;

namespace {

int calls;  // of count_call
void count_call(Widget, XtPointer, XtPointer) {
  calls++;
}

/// A window with one child for each test, on the screen.
struct Helpers : testing::Test {
  template <typename... Resources>
  Widget show(const char *name, WidgetClass type, Resources... resources) {
    shell_ = app_.make_shell("helpers");
    Widget w = XtVaCreateManagedWidget(name, type, shell_, resources..., nullptr);
    calls = 0;
    return w;
  }
  Widget show_list(std::initializer_list<const char *> items, int policy) {
    Widget list = show("list", xmListWidgetClass, XmNselectionPolicy, policy, XmNvisibleItemCount, 2);
    for (const char *item : items) add_item_to_list(list, item);
    for (const char *reason : {XmNsingleSelectionCallback, XmNmultipleSelectionCallback, XmNbrowseSelectionCallback,
                               XmNextendedSelectionCallback})
      XtAddCallback(list, reason, count_call, nullptr);
    return list;
  }
  void realise() {
    XtRealizeWidget(shell_);
    ASSERT_TRUE(app_.process_until([&] { return is_viewable(XtWindow(shell_)); }));
  }
  void TearDown() override {
    if (shell_) XtDestroyWidget(shell_);
    app_.process_pending();
  }
  XtApp &app_ = xt_app();
  Widget shell_ = nullptr;
};

std::string selected(Widget list) {
  std::string positions;
  for (int i = 1; i <= resource<int>(list, XmNitemCount); i++)
    if (XmListPosSelected(list, i)) positions += std::to_string(i) + " ";
  return positions;
}

std::string text(const char *s) {
  return s ? s : "null";
}

}  // namespace

TEST_F(Helpers, CutTextFieldsAtACharacter) {
  const std::string a(197, 'a');
  const std::string rows[][2] = {{"", ""},
                                 {a + "bc", a + "bc"},
                                 {a + "bcd", a + "bc"},
                                 {a + "b\xc3\xbc", a + "b"},
                                 {a + "\xe2\x82\xac", a},
                                 {a + "\xc3\xbcx", a + "\xc3\xbc"}};
  Widget field = show("field", xmTextFieldWidgetClass);
  for (const auto &[value, expected] : rows) {
    set_textfield(field, value.c_str());
    EXPECT_EQ(text(get_textfield(field)), expected);
    EXPECT_EQ(XmTextFieldGetInsertionPosition(field), XmTextFieldGetLastPosition(field));
  }
}

TEST_F(Helpers, SetTogglesWithAndWithoutCallback) {
  Widget toggle = show("toggle", xmToggleButtonWidgetClass);
  XtAddCallback(toggle, XmNvalueChangedCallback, count_call, nullptr);
  set_button(toggle, 7);
  EXPECT_EQ(button_is_set(toggle), 1);
  set_button_and_notify(toggle, 0);
  EXPECT_EQ(button_is_set(toggle), 0);
  EXPECT_EQ(calls, 1);
  XtVaSetValues(toggle, XmNtoggleMode, XmTOGGLE_INDETERMINATE, XmNset, XmINDETERMINATE, nullptr);
  EXPECT_EQ(button_is_set(toggle), 0);
  set_label(toggle, "one\nline");
  EXPECT_EQ(written(toggle, XmNlabelString), "[one\nline]");
  sensitize(toggle, 0);
  EXPECT_FALSE(XtIsSensitive(toggle));
}

TEST_F(Helpers, NameTheChoiceOfAnOptionMenu) {
  Widget column = show("column", xmRowColumnWidgetClass);
  char menu_name[] = "menu", option_name[] = "option";
  Widget menu = XmCreatePulldownMenu(column, menu_name, nullptr, 0);
  Arg args[] = {{const_cast<char *>(XmNsubMenuId), reinterpret_cast<XtArgVal>(menu)}};
  Widget option = XmCreateOptionMenu(column, option_name, args, 1);
  EXPECT_EQ(text(get_menu_choice(option)), "");
  const std::string longest(120, 'n');
  Widget first = XtCreateManagedWidget("first", xmPushButtonWidgetClass, menu, nullptr, 0);
  Widget second = XtCreateManagedWidget(longest.c_str(), xmPushButtonWidgetClass, menu, nullptr, 0);
  for (Widget choice : {first, second}) {
    XtVaSetValues(option, XmNmenuHistory, choice, nullptr);
    EXPECT_EQ(text(get_menu_choice(option)), std::string(XtName(choice)).substr(0, 99));
  }
}

TEST_F(Helpers, ReadListItems) {
  const std::string longest(1200, 'x');
  Widget list = show_list({"one", "two", longest.c_str(), "two"}, XmBROWSE_SELECT);
  EXPECT_EQ(get_list_numb_items(list), 4);
  const std::string expected[] = {"null", "one", "two", longest.substr(0, 999), "two", "null"};
  for (int i = 0; i < 6; i++) EXPECT_EQ(text(get_list_item(list, i)), expected[i]) << i;
  EXPECT_EQ(text(get_list_item(list, -1)), "null");

  char buffer[1300] = "before";
  EXPECT_EQ(get_selected_item(list, buffer), 0);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(get_first_selected_position(list), 0);
  EXPECT_EQ(select_list_item(list, "two", 0), 2);
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(select_list_item(list, longest.c_str(), 1), 3);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(select_list_item(list, "three", 1), 0);
  EXPECT_EQ(get_selected_item(list, buffer), 3);
  EXPECT_EQ(buffer, longest);
  select_list_position(list, 99, 1);
  EXPECT_EQ(get_first_selected_position(list), 4);
  EXPECT_EQ(calls, 2);

  set_list_top_item(list, 3);
  EXPECT_EQ(get_list_top_item(list), 3);
  set_list_top_item(list, 0);
  EXPECT_EQ(get_list_top_item(list), 1);
  remove_all_items_from_list(list);
  EXPECT_EQ(select_list_item(list, "one", 0), 0);
  EXPECT_EQ(text(get_list_item(list, 1)), "null");
}

TEST_F(Helpers, KeepSelectionsUnderEveryPolicy) {
  for (const unsigned char policy : {XmSINGLE_SELECT, XmMULTIPLE_SELECT, XmEXTENDED_SELECT, XmBROWSE_SELECT}) {
    SCOPED_TRACE(policy);
    Widget list = show_list({}, policy);
    select_all_items(list);
    for (const char *item : {"a", "b", "c", "d"}) add_item_to_list(list, item);
    select_all_items(list);
    EXPECT_EQ(selected(list), "1 2 3 4 ");
    EXPECT_EQ(numb_selected_items(list), 4);
    save_selected_items(list);
    XmListDeselectPos(list, 1);
    XmListDeselectPos(list, 3);
    save_selected_items(list);  // in the place of the first
    remove_all_items_from_list(list);
    for (const char *item : {"e", "f", "g"}) add_item_to_list(list, item);
    XmListSelectPos(list, 1, False);
    restore_selected_items(list);
    EXPECT_EQ(selected(list), "2 ");  // there is no fourth any more
    restore_selected_items(list);
    EXPECT_EQ(selected(list), "");
    EXPECT_EQ(resource<unsigned char>(list, XmNselectionPolicy), policy);
    EXPECT_EQ(calls, 0);
    XtDestroyWidget(shell_);
  }
  shell_ = nullptr;
}

TEST_F(Helpers, AskUntilTheUserAnswers) {
  static void (*act)(Window);  // what the user does
  const struct {
    const char *yes, *no;
    void (*act)(Window);
    int expected;
  } rows[] = {{"Yes", "No", [](Window) { click(XmMessageBoxGetChild(question_popup, XmDIALOG_OK_BUTTON)); }, 1},
              {"Go on", "Stop", [](Window) { click(XmMessageBoxGetChild(question_popup, XmDIALOG_CANCEL_BUTTON)); }, 0},
              {"Yes", "No", close_window, 0}};
  WindowManager manager;
  for (const auto &row : rows) {
    act = row.act;  // the question runs a loop of its own: the user comes by a timer in it
    XtAppAddTimeOut(
        app_.context, 50, [](XtPointer, XtIntervalId *) { act(find_window("Sorbex: Notice")); }, nullptr);
    EXPECT_EQ(AskUser("Send it?\nReally?", row.yes, row.no), row.expected);
    EXPECT_EQ(find_window("Sorbex: Notice", Milliseconds(0)), 0u);
    EXPECT_EQ(written(question_popup, XmNokLabelString) + written(question_popup, XmNcancelLabelString) +
                  written(question_popup, XmNmessageString),
              std::string("[") + row.yes + "][" + row.no + "]>[Send it?]/[Really?]");
  }
  EXPECT_FALSE(XtIsManaged(XmMessageBoxGetChild(question_popup, XmDIALOG_HELP_BUTTON)));
  EXPECT_EQ(resource<unsigned char>(question_popup, XmNdialogStyle), XmDIALOG_FULL_APPLICATION_MODAL);
}

TEST_F(Helpers, WalkThroughPulldownMenusParentsFirst) {
  Widget bar = show("bar", xmRowColumnWidgetClass, XmNrowColumnType, XmMENU_BAR);
  char menu_name[] = "menu";
  Widget menu = XmCreatePulldownMenu(bar, menu_name, nullptr, 0);
  XtVaCreateManagedWidget("first", xmCascadeButtonWidgetClass, bar, XmNsubMenuId, menu, nullptr);
  Widget entry = XtVaCreateManagedWidget("entry", xmPushButtonWidgetClass, menu, nullptr);
  Widget twin = XtVaCreateManagedWidget("entry", xmPushButtonGadgetClass, bar, nullptr);
  static std::string walked;
  walked.clear();
  EXPECT_EQ(apply_to_widget_tree(
                bar, [](Widget w, int data) { walked += XtName(w) + std::to_string(data) + " "; }, 5),
            0);
  EXPECT_EQ(walked, "bar5 first5 menu5 entry5 entry5 ");
  EXPECT_EQ(search_widget_by_name(bar, "entry"), entry);
  EXPECT_EQ(search_widget_by_name(twin, "entry"), twin);
  EXPECT_EQ(search_widget_by_name(bar, "enter"), nullptr);
}

TEST_F(Helpers, PressAButtonThroughTheServer) {
  Widget button = show("button", xmPushButtonWidgetClass, XmNwidth, 60, XmNheight, 30);
  XtAddCallback(button, XmNarmCallback, count_call, nullptr);
  set_push_button_state(button, 3);  // not on the screen yet: nowhere to press
  realise();
  EXPECT_EQ(push_button_state(button), 3);
  set_push_button_state(button, 3);
  app_.process_pending();
  EXPECT_EQ(calls, 0);
  set_push_button_state(button, 0);
  EXPECT_EQ(calls, 0);
  wait_for_screen_update(50);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(push_button_state(button), 0);
}

TEST_F(Helpers, ScrollToTheRightAndTellTheClients) {
  Widget window =
      show("window", xmScrolledWindowWidgetClass, XmNscrollingPolicy, XmAUTOMATIC, XmNwidth, 200, XmNheight, 200);
  Widget area =
      XtVaCreateManagedWidget("area", xmDrawingAreaWidgetClass, window, XmNwidth, 900, XmNheight, 100, nullptr);
  realise();
  const auto bar = resource<Widget>(window, XmNhorizontalScrollBar);
  static XmScrollBarCallbackStruct told;
  XtAddCallback(
      bar, XmNincrementCallback,
      [](Widget, XtPointer, XtPointer data) { told = *static_cast<XmScrollBarCallbackStruct *>(data); }, nullptr);
  scroll_to_far_right(window);
  const int end = resource<int>(bar, XmNmaximum) - resource<int>(bar, XmNsliderSize);
  EXPECT_GT(end, 600);
  EXPECT_EQ(told.reason, XmCR_INCREMENT);
  EXPECT_EQ(told.value, end);
  EXPECT_EQ(resource<Position>(area, XmNx), -end);
}

TEST_F(Helpers, ServeTheScreen) {
  Widget area = show("area", xmDrawingAreaWidgetClass, XmNwidth, 100, XmNheight, 100);
  show_clock_cursor(area);  // without a window there is nothing to show it on
  realise();
  const std::string before = cursor_in(area_of(area));
  show_clock_cursor(area);
  EXPECT_EQ(cursor_in(area_of(area)), "watch");
  restore_cursor(area);
  EXPECT_EQ(cursor_in(area_of(area)), before);

  EXPECT_EQ(color_to_pixel("#123456"), 0x123456u);
  app_.warnings.clear();
  set_background(area, "no such colour");
  EXPECT_THAT(app_.warnings, ElementsAre(testing::HasSubstr("no such colour")));
  EXPECT_EQ(resource<Pixel>(area, XmNbackground), ~Pixel{0});
  set_background(area, "#00ff00");
  flush_display();
  app_.process_pending();
  EXPECT_EQ(photograph(area_of(area))[5050], 0x00ff00u);

  bells_rung();
  bell();
  EXPECT_TRUE(wait_until([] { return bells_rung() == 1; }));

  // A timer that is due and no X event: the wait must not block for one.
  app_.process_pending();
  XtAppAddTimeOut(
      app_.context, 0, [](XtPointer, XtIntervalId *) { calls++; }, nullptr);
  wait_for_screen_update(0);
  EXPECT_EQ(calls, 1);
}
