// The page cycle and the controls in this process: what a load says and shows, what each control does, and what a page
// that cannot be read leaves alone.

#include <sys/stat.h>

#include "x11/xt_app.h"
#include "app/app_state.h"
#include "app/open_view.h"
#include "app/tn_api_functions.h"
#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"
#include "ui/widgets.h"
#include "view/screen/pagescope.h"
#include "view/screen/presentation.h"
#include "view/screen/tolvane_cb.h"
#include "view/view_state.h"

#include <Xm/Xm.h>

using namespace tolvane;

namespace {

// Expects that the window comes to tell this of file and page: labels, the slider's range and value, orientation, the
// height of the picture as painted, and the bell.
void expect(const std::string &expected) {
  std::string text;
  bool rung = false;
  EXPECT_TRUE(xt_app().process_until([&] {
    text.clear();
    for (const Widget w : {pages_label, res_textfield, lines_textfield}) text += written(w, XmNlabelString) + " ";
    text += std::to_string(resource<int>(scale, XmNminimum)) + "-" + std::to_string(resource<int>(scale, XmNmaximum)) +
            ": " + std::to_string(resource<int>(scale, XmNvalue)) + (XtIsSensitive(scale) ? "" : " off") + ", " +
            std::to_string(orientation) + " " + std::to_string(resource<Dimension>(drawing_area, XmNheight));
    rung |= bells_rung() > 0;
    return text + (rung ? " bell" : "") == expected;
  })) << text
      << ", not " << expected;
}

// The window, with a file of three pages.
struct Pagescope : testing::Test {
  // Calls that fail on displays of their own; the first that gets further takes the display of this process.
  static void SetUpTestSuite() {
    XtApp &app = xt_app();
    const std::string display = getenv("DISPLAY");
    std::string program = "tolvane", file = "none";
    char *argv[] = {program.data(), file.data(), nullptr};
    std::vector<XtAppContext> contexts;
    for (const char *name : {":4711", display.c_str(), display.c_str()}) {
      setenv("DISPLAY", name, 1);
      EXPECT_EQ(tn_open_view(nullptr, 2, argv), 1);
      contexts.push_back(tn_context);
    }
    EXPECT_EQ(contexts[0], nullptr);
    EXPECT_EQ(contexts[1], contexts[2]);
    app.warnings.clear();
  }
  void SetUp() override {
    three_ = dir_.write("three.fax", fax_bytes("#PAGES:3\nRESOLUTION:1\n", {blank_page(400), blank_page(800), ""}));
    std::string program = "tolvane";
    char *argv[] = {program.data(), three_.data(), nullptr};
    ASSERT_EQ(tn_open_view(xt_app().display, 2, argv), 0);
    ASSERT_EQ(tn_context, xt_app().context);
    ASSERT_TRUE(xt_app().process_until([] { return tn_window_is_up() == 1; }));
  }
  void TearDown() override { EXPECT_EQ(testing::PrintToString(xt_app().warnings), "{}"); }

  TempDir dir_;
  std::string three_;
};

}  // namespace

TEST_F(Pagescope, LoadsAFileAndShowsWhatItsHeaderSays) {
  const std::string page = blank_page(4);
  mkfifo(dir_.path("fifo").c_str(), 0600);
  const std::pair<std::string, const char *> rows[] = {
      {fax_bytes("#PAGES:2\nRESOLUTION:1\n", {page}), "[Pages: 2] [Fine Res] [4 Lines] 1-2: 1, 0 2"},
      {fax_bytes("#PAGES:-9\n", {page.substr(0, 5)}), "[Pages: -9] [Norm Res] [2 Lines] 0-1: 1 off, 0 2"},
      {fax_bytes("DATE:\n", {blank_page(10000)}), "[Pages: 0] [Norm Res] [10000 Lines] 0-1: 1 off, 0 3488"},
      // An empty picture leaves the window its size; a first page that cannot be had the whole picture.
      {fax_bytes("COMPRESSION:9\n", {page}), "[Pages: 0] [Norm Res] [0 Lines] 0-1: 1 off, 0 200"},
      {fax_bytes("#PAGES:4\n"), "[Pages: 4] [Fine Res] [400 Lines] 1-4: 1, 0 200 bell"},
      {fax_bytes("INCLUDE:fifo 1 1\n", {page}), "[Pages: 0] [Fine Res] [400 Lines] 0-1: 1 off, 0 200 bell"},
  };
  for (const auto &[bytes, expected] : rows) {
    EXPECT_EQ(common(three_.c_str()), 0);
    refresh_view();
    expect("[Pages: 3] [Fine Res] [400 Lines] 1-3: 1, 0 200");
    EXPECT_EQ(common(dir_.write("bad.fax", bytes).c_str()), 0);
    refresh_view();
    expect(expected);
  }
}

TEST_F(Pagescope, EachControlDecodesAnewOrLeavesEverythingAsItWas) {
  // More records than the header promises, and a last one that is cut short.
  const std::string bytes = fax_bytes("#PAGES:2\nRESOLUTION:1\n", {blank_page(400), blank_page(800), "", "abcd"});
  const std::string path = dir_.write("more.fax", bytes.substr(0, bytes.size() - 1));
  view_arbitrary_fax(path.c_str());
  const struct {
    std::function<void()> act;
    const char *shown;
  } rows[] = {
      {[] { prev_page_cb(); }, "[400 Lines] 1-2: 1, 0 200 bell"},
      {[] { click(next_chunk); }, "[800 Lines] 1-2: 2, 0 400"},
      {[] { click(prev_chunk); }, "[400 Lines] 1-2: 1, 0 200"},
      {[] { next_page_cb(); }, "[800 Lines] 1-2: 2, 0 400"},
      {[] { click(view_left); }, "[800 Lines] 1-2: 2, 90 864"},
      {[] { click(view_down); }, "[800 Lines] 1-2: 2, 180 400"},
      {[] { click(view_right); }, "[800 Lines] 1-2: 2, 270 864"},
      {[] { next_page_cb(); }, "[0 Lines] 1-2: 2, 270 864"},
      {[] { next_page_cb(); }, "[0 Lines] 1-2: 2, 270 864 bell"},
      {[] { random_page(1); }, "[400 Lines] 1-2: 1, 270 864"},
      {[] {
         const Area slider = area_of(scale);
         drag(slider.x + 8, slider.y + 22, slider.x + 90, slider.y + 22);
       },
       "[800 Lines] 1-2: 2, 270 864"},
      {[] { click(view_up); }, "[800 Lines] 1-2: 2, 0 400"},
      {[] { click(scale_75); }, "[800 Lines] 1-2: 2, 0 266"},  // from now on the small window hides controls
      {[] { view_size_cb(50); }, "[800 Lines] 1-2: 2, 0 200"},
      {[&] {
         std::filesystem::resize_file(path, 50);
         random_page(1);
         view_size_cb(100);
       },
       "[800 Lines] 1-2: 2, 0 200 bell"},
  };
  for (const auto &[act, expected] : rows) {
    act();
    expect(std::string("[Pages: 2] [Fine Res] ") + expected);
  }
  EXPECT_EQ(Reduced, 0);  // the new setting stands, the old picture stays
}

TEST_F(Pagescope, CentresThePageAfterAChangeOfScale) {
  const auto bar = resource<Widget>(scrolled_window, XmNhorizontalScrollBar);
  EXPECT_EQ(resource<int>(bar, XmNvalue), 0);
  for (const int percent : {75, 100}) view_size_cb(percent);
  EXPECT_EQ(resource<int>(bar, XmNvalue), 25);
}

TEST_F(Pagescope, PutsTheSliderBackIfThePageCannotBeRead) {
  const std::string bytes = fax_bytes("#PAGES:2\nRESOLUTION:1\n", {blank_page(400), "abcd"});
  view_arbitrary_fax(dir_.write("cut.fax", bytes.substr(0, bytes.size() - 1)).c_str());
  expect("[Pages: 2] [Fine Res] [400 Lines] 1-2: 1, 0 200");
  const Area slider = area_of(scale);
  drag(slider.x + 8, slider.y + 22, slider.x + 90, slider.y + 22);
  expect("[Pages: 2] [Fine Res] [400 Lines] 1-2: 1, 0 200 bell");
}
