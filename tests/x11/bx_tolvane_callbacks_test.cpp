#include "x11/viewer.h"
#include "x11/xt_app.h"

#include "app/open_view.h"
#include "app/tn_api_functions.h"
#include "helpers/temp_dir.h"
#include "ui/bx_tolvane_callbacks.h"
#include "ui/motif_utils.h"
#include "ui/widgets.h"
#include "view/view_state.h"

#include <gmock/gmock.h>

#include <cstdlib>

#include <Xm/XmAll.h>

using namespace tolvane;
using testing::ElementsAre;

namespace {

std::vector<int32_t> codes;  // that the parent program has got

/// The window inside a parent program, with a document of three pages.
class Controls : public testing::Test {
 protected:
  void SetUp() override {
    const std::string document = dir_.write("three.fax", marked_document(3, 3));
    char program[] = "parent";
    std::string name = document;
    char *arguments[] = {program, name.data(), nullptr};
    tn_assign_callback_func([](int32_t code) { codes.push_back(code); });
    ASSERT_EQ(tn_open_view(app_.display, 2, arguments), 0);
    ASSERT_TRUE(app_.process_until([] { return tn_window_is_up() == 1; }));
    codes.clear();
  }
  void TearDown() override {
    if (tn_Shell000) XtDestroyWidget(tn_Shell000);
    app_.process_pending();
  }
  void click_on(Widget w) const {
    click(w);
    app_.process_pending();
  }
  TempDir dir_;
  XtApp &app_ = xt_app();
};

}  // namespace

TEST_F(Controls, TurnPagesScalesAndOrientations) {
  const struct {
    Widget control;
    int32_t page, degrees, scale;
  } clicks[] = {
      {next_chunk, 0, 0, 0}, {next_chunk, 1, 0, 0}, {prev_chunk, 0, 0, 0},   {view_down, 0, 180, 0},
      {view_left, 0, 90, 0}, {view_up, 0, 0, 0},    {scale_75, 0, 0, 1},     {scale_50, 0, 0, 2},
      {scale_50, 0, 0, 2},   {scale_100, 0, 0, 0},  {view_right, 0, 270, 0},
  };
  for (const auto &step : clicks) {
    SCOPED_TRACE(XtName(step.control));
    click_on(step.control);
    EXPECT_EQ(page_number, step.page);
    EXPECT_EQ(orientation, step.degrees);
    EXPECT_EQ(Reduced, step.scale);
  }
  XmArrowButtonCallbackStruct no_click{XmCR_ACTIVATE, nullptr, 0};
  XtCallCallbacks(view_left, XmNactivateCallback, &no_click);
  EXPECT_EQ(orientation, 270);
  XmScaleCallbackStruct browsed{XmCR_VALUE_CHANGED, nullptr, 3};
  XtCallCallbacks(scale, XmNvalueChangedCallback, &browsed);
  EXPECT_EQ(page_number, 2);
  bx_prev_page_cb(nullptr, nullptr, nullptr);
  EXPECT_EQ(page_number, 1);
  bx_next_page_cb(nullptr, nullptr, nullptr);
  EXPECT_EQ(page_number, 2);

  // What an exposure paints is the page that was there before.
  app_.process_pending();
  const Photo before = photograph(area_of(drawing_area));
  XClearWindow(app_.display, XtWindow(drawing_area));
  XSync(app_.display, False);
  EXPECT_NE(photograph(area_of(drawing_area)), before);
  XClearArea(app_.display, XtWindow(drawing_area), 0, 0, 0, 0, True);
  app_.process_pending();
  EXPECT_EQ(photograph(area_of(drawing_area)), before);
}

TEST_F(Controls, TellTheParentProgram) {
  tn_configure_window(TN_FACE_VIEWER);
  const char *const entries[] = {"tn_print",  "tn_print_props",   "tn_attach",        "tn_delete",
                                 "tn_rename", "tn_send_original", "tn_send_selected", "tn_route"};
  for (const char *name : entries) {
    XmPushButtonCallbackStruct pushed{XmCR_ACTIVATE, nullptr, 1};
    XtCallCallbacks(search_widget_by_name(tolvane_form, name), XmNactivateCallback, &pushed);
  }
  EXPECT_THAT(codes, ElementsAre(6, 7, 8, 9, 10, 11, 12, 13));

  const struct {
    TnFace face;
    const char *name;
    std::vector<int32_t> expected;
    int up;
  } buttons[] = {{TN_FACE_PREVIEW, "send_fax", {3}, 1},
                 {TN_FACE_PREVIEW, "save_fax", {4, 1}, 0},
                 {TN_FACE_PREVIEW, "discard_fax", {5, 1}, 0},
                 {TN_FACE_VIEWER, "dismiss_button", {1}, 0}};
  for (const auto &row : buttons) {
    tn_configure_window(row.face);
    tn_raise_view_window();
    ASSERT_TRUE(app_.process_until([] { return tn_window_is_up() == 1; }));
    app_.process_pending();
    codes.clear();
    click_on(search_widget_by_name(tolvane_form, row.name));
    EXPECT_EQ(tn_window_is_up(), row.up) << row.name;
    std::erase(codes, TN_WINDOW_MAPPED);
    EXPECT_EQ(codes, row.expected) << row.name;
  }
}

TEST_F(Controls, HandTheFileToThePrintProgram) {
  dir_.write("tolvane_print", "#!/bin/sh\necho \"$1\" > \"$SORBEXHOME/printed\"\n");
  ASSERT_EQ(chmod(dir_.path("tolvane_print").c_str(), 0755), 0);
  setenv("SORBEXHOME", dir_.string().c_str(), 1);
  click_on(print_button);
  EXPECT_EQ(read_file(dir_.path("printed")), dir_.path("three.fax") + "\n");
  unsetenv("SORBEXHOME");
}

TEST_F(Controls, LeaveNoWindowBehind) {
  static Widget shell_at_the_news;
  tn_assign_callback_func([](int32_t code) {
    codes.push_back(code);
    shell_at_the_news = tn_Shell000;
  });
  shell_at_the_news = tn_Shell000;
  XtDestroyWidget(tn_Shell000);
  EXPECT_THAT(codes, ElementsAre(TN_WINDOW_GONE));
  EXPECT_EQ(shell_at_the_news, nullptr);
  EXPECT_EQ(bitmap, nullptr);
}
