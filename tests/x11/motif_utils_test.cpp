#include "x11/xt_app.h"
#include "ui/motif_dialog.h"
#include "ui/motif_lists.h"
#include "ui/motif_tree.h"
#include "ui/motif_utils.h"

#include <Xm/XmAll.h>

using namespace tolvane;

namespace {

int calls;  // of count_call
void count_call(Widget, XtPointer, XtPointer) {
  calls++;
}

// A window with one child for each test.
struct Helpers : testing::Test {
  template <typename... Resources>
  Widget show(WidgetClass type, Resources... resources) {
    calls = 0;
    return XtVaCreateManagedWidget("child", type, shell_, resources..., nullptr);
  }
  void TearDown() override {
    XtDestroyWidget(shell_);
    app_.process_pending();
  }
  XtApp &app_ = xt_app();
  Widget shell_ = app_.make_shell("helpers");
};

}  // namespace

TEST_F(Helpers, CutTextFieldsAtACharacter) {
  const std::string a(197, 'a');
  const std::string rows[][2] = {{a + "bcd", a + "bc"}, {a + "b\xc3\xbc", a + "b"}, {a + "\xe2\x82\xac", a}};
  Widget field = show(xmTextFieldWidgetClass);
  for (const auto &[value, expected] : rows) {
    set_textfield(field, value.c_str());
    EXPECT_EQ(get_textfield(field), expected);
  }
}

TEST_F(Helpers, ReadAndSelectListItems) {
  const std::string longest(1200, 'x');
  Widget list = show(xmListWidgetClass, XmNselectionPolicy, XmBROWSE_SELECT);
  XtAddCallback(list, XmNbrowseSelectionCallback, count_call, nullptr);
  for (const char *item : {"one", "two", longest.c_str(), "two"}) add_item_to_list(list, item);
  for (const int outside : {-1, 0, 5}) EXPECT_EQ(get_list_item(list, outside), nullptr);
  EXPECT_STREQ(get_list_item(list, 2), "two");
  EXPECT_EQ(get_list_item(list, 3), longest.substr(0, 999));
  char buffer[1300] = "before";
  EXPECT_EQ(get_selected_item(list, buffer), 0);
  EXPECT_STREQ(buffer, "");
  const struct {
    std::string text;
    int notify, position, calls;
  } rows[] = {{"two", 0, 2, 0}, {longest, 1, 3, 1}, {"three", 1, 0, 1}};
  for (const auto &row : rows) {
    EXPECT_EQ(select_list_item(list, row.text.c_str(), row.notify), row.position);
    EXPECT_EQ(calls, row.calls);
  }
  EXPECT_EQ(get_selected_item(list, buffer), 3);
  EXPECT_EQ(buffer, longest);
}

TEST_F(Helpers, KeepSelectionsAcrossARebuild) {
  for (const unsigned char policy : {XmSINGLE_SELECT, XmBROWSE_SELECT, XmEXTENDED_SELECT}) {
    Widget list = show(xmListWidgetClass, XmNselectionPolicy, policy);
    for (const char *item : {"a", "b", "c", "d"}) add_item_to_list(list, item);
    select_all_items(list);
    EXPECT_EQ(numb_selected_items(list), 4);
    XmListDeselectPos(list, 3);
    save_selected_items(list);
    remove_all_items_from_list(list);
    for (const char *item : {"e", "f", "g"}) add_item_to_list(list, item);
    restore_selected_items(list);
    EXPECT_EQ(numb_selected_items(list), 2);  // there is no fourth any more
    EXPECT_FALSE(XmListPosSelected(list, 3));
    EXPECT_EQ(resource<unsigned char>(list, XmNselectionPolicy), policy);
    restore_selected_items(list);  // a save is good for one restore
    EXPECT_EQ(numb_selected_items(list), 0);
    XtDestroyWidget(list);
  }
}

TEST_F(Helpers, AskUntilTheUserAnswers) {
  static void (*act)(Window);  // what the user does
  const struct {
    void (*act)(Window);
    int expected;
  } rows[] = {{[](Window) { click(XmMessageBoxGetChild(question_popup, XmDIALOG_OK_BUTTON)); }, 1},
              {[](Window) { click(XmMessageBoxGetChild(question_popup, XmDIALOG_CANCEL_BUTTON)); }, 0},
              {close_window, 0}};
  const WindowManager manager;
  for (const auto &row : rows) {
    act = row.act;  // the question runs a loop of its own: the user comes by a timer in it
    const XtTimerCallbackProc come = [](XtPointer, XtIntervalId *) {
      flush_display();  // the timer may be due before the loop has sent the dialog to the server
      act(find_window("Sorbex: Notice"));
    };
    XtAppAddTimeOut(app_.context, 50, come, nullptr);
    EXPECT_EQ(AskUser("Send it?\nReally?", "Go on", "Stop"), row.expected);
    EXPECT_EQ(find_window("Sorbex: Notice", Milliseconds(0)), 0u);
    EXPECT_EQ(written(question_popup, XmNokLabelString) + written(question_popup, XmNcancelLabelString) +
                  written(question_popup, XmNmessageString),
              "[Go on][Stop]>[Send it?]/[Really?]");
  }
}

TEST_F(Helpers, WalkThroughPulldownMenusParentsFirst) {
  Widget bar = show(xmRowColumnWidgetClass, XmNrowColumnType, XmMENU_BAR);
  char name[] = "menu";
  Widget menu = XmCreatePulldownMenu(bar, name, nullptr, 0);
  XtVaCreateManagedWidget("first", xmCascadeButtonWidgetClass, bar, XmNsubMenuId, menu, nullptr);
  Widget entry = XtVaCreateManagedWidget("entry", xmPushButtonWidgetClass, menu, nullptr);
  XtVaCreateManagedWidget("entry", xmPushButtonGadgetClass, bar, nullptr);
  static std::string walked;
  apply_to_widget_tree(
      bar, [](Widget w, int data) { walked += XtName(w) + std::to_string(data) + " "; }, 5);
  EXPECT_EQ(walked, "child5 first5 menu5 entry5 entry5 ");
  EXPECT_EQ(search_widget_by_name(bar, "entry"), entry);
}

TEST_F(Helpers, PressAButtonThroughTheServer) {
  Widget button = show(xmPushButtonWidgetClass, XmNwidth, 60, XmNheight, 30);
  XtAddCallback(button, XmNarmCallback, count_call, nullptr);
  set_push_button_state(button, 3);  // not on the screen yet: nowhere to press
  XtRealizeWidget(shell_);
  ASSERT_TRUE(app_.process_until([&] { return is_viewable(XtWindow(shell_)); }));
  EXPECT_EQ(calls, 0);
  set_push_button_state(button, 0);
  wait_for_screen_update(50);
  EXPECT_EQ(calls, 1);

  // A timer that is due and no X event: the wait must not block for one.
  app_.process_pending();
  XtAppAddTimeOut(
      app_.context, 0, [](XtPointer, XtIntervalId *) { calls++; }, nullptr);
  wait_for_screen_update(0);
  EXPECT_EQ(calls, 2);
}
