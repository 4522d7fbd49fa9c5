// The controls of the window inside this process, which stands for the parent program, with a document of three pages.
#include "x11/viewer.h"
#include "x11/xt_app.h"

#include "app/open_view.h"
#include "app/tn_api_functions.h"
#include "helpers/temp_dir.h"
#include "ui/bx_tolvane_callbacks.h"
#include "ui/widgets.h"
#include "view/view_state.h"

#include <Xm/XmAll.h>

using namespace tolvane;

TEST(Controls, TurnPagesScalesAndOrientationsAndLeaveNoWindowBehind) {
  const TempDir dir;
  XtApp &app = xt_app();
  std::string program = "parent", document = dir.write("three.fax", marked_document(3, 3));
  char *arguments[] = {program.data(), document.data(), nullptr};
  ASSERT_EQ(tn_open_view(app.display, 2, arguments), 0);
  ASSERT_TRUE(app.process_until([] { return tn_window_is_up() == 1; }));
  const struct {
    Widget control;
    int32_t page, degrees, scale;
  } clicks[] = {
      {next_chunk, 0, 0, 0}, {next_chunk, 1, 0, 0}, {prev_chunk, 0, 0, 0},   {view_down, 0, 180, 0},
      {view_left, 0, 90, 0}, {view_up, 0, 0, 0},    {scale_75, 0, 0, 1},     {scale_50, 0, 0, 2},
      {scale_50, 0, 0, 2},   {scale_100, 0, 0, 0},  {view_right, 0, 270, 0},
  };
  for (const auto &step : clicks) {
    click(step.control);
    EXPECT_TRUE(app.process_until([&] {
      return page_number == step.page && orientation == step.degrees && Reduced == step.scale;
    })) << XtName(step.control);
  }
  XmArrowButtonCallbackStruct no_click{XmCR_ACTIVATE, nullptr, 0};
  XtCallCallbacks(view_left, XmNactivateCallback, &no_click);
  EXPECT_EQ(orientation, 270);
  const Area slider = area_of(scale);
  drag(slider.x + 8, slider.y + 22, slider.x + 90, slider.y + 22);
  EXPECT_TRUE(app.process_until([] { return page_number == 2; }));
  bx_prev_page_cb(nullptr, nullptr, nullptr);
  EXPECT_EQ(page_number, 1);
  bx_next_page_cb(nullptr, nullptr, nullptr);
  EXPECT_EQ(page_number, 2);

  static std::string news;
  tn_assign_callback_func(
      [](int32_t code) { news += std::to_string(code) + (tn_Shell000 || bitmap ? " too early" : " gone"); });
  XtDestroyWidget(tn_Shell000);
  EXPECT_EQ(news, "1 gone");
}
