// The page cycle in this process: what a load says and shows, and what a page that cannot be read leaves alone.

#include "x11/xt_app.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"
#include "view/presentation.h"
#include "view/view_state.h"

#include "app/open_view.h"
#include "ui/widgets.h"
#include "view/pagescope.h"

#include <Xm/Xm.h>

using namespace tolvane;

namespace {

// What the window tells of file and page: labels, the slider's range and value, the height of the picture as decoded
// and as painted, and the bell.
std::string shown() {
  refresh_view();
  xt_app().process_pending();
  std::string text;
  for (const Widget label : {pages_label, res_textfield, lines_textfield}) text += written(label, XmNlabelString) + " ";
  text += std::to_string(resource<int>(scale, XmNminimum)) + "-" + std::to_string(resource<int>(scale, XmNmaximum)) +
          ": " + std::to_string(resource<int>(scale, XmNvalue)) + (XtIsSensitive(scale) ? "" : " off") + ", " +
          std::to_string(shown_extents().Dy) + " " + std::to_string(resource<Dimension>(drawing_area, XmNheight));
  return bells_rung() ? text + " bell" : text;
}

// The window, with a file of three pages.
struct Pagescope : testing::Test {
  void SetUp() override {
    orientation = 0;
    three_ = dir_.write("three.fax", fax_bytes("#PAGES:3\nRESOLUTION:1\n", {blank_page(400), blank_page(800), ""}));
    std::string arguments[] = {"tolvane", three_};
    char *argv[] = {arguments[0].data(), arguments[1].data(), nullptr};
    ASSERT_EQ(tn_open_view(xt_app().display, 2, argv), 0);
    ASSERT_EQ(shown(), "[Pages: 3] [Fine Res] [400 Lines] 1-3: 1, 200 200");
  }
  void TearDown() override { EXPECT_THAT(xt_app().warnings, testing::IsEmpty()); }

  TempDir dir_;
  std::string three_;
};

}  // namespace

TEST_F(Pagescope, LoadsAFileAndShowsWhatItsHeaderSays) {
  const std::string page = blank_page(4);
  mkfifo(dir_.path("fifo").c_str(), 0600);
  const std::pair<std::string, const char *> rows[] = {
      {fax_bytes("#PAGES:2\nRESOLUTION:1\n", {page}), "[Pages: 2] [Fine Res] [4 Lines] 1-2: 1, 2 2"},
      {fax_bytes("#PAGES:1\nRESOLUTION:3\n", {page}), "[Pages: 1] [Fine Res] [4 Lines] 0-1: 1 off, 2 2"},
      {fax_bytes("DATE:\n", {page}), "[Pages: 0] [Norm Res] [4 Lines] 0-1: 1 off, 4 4"},
      {fax_bytes("#PAGES:-9\n", {page.substr(0, 5)}), "[Pages: -9] [Norm Res] [2 Lines] 0-1: 1 off, 2 2"},
      {fax_bytes("DATE:\n", {blank_page(10000)}), "[Pages: 0] [Norm Res] [10000 Lines] 0-1: 1 off, 3488 3488"},
      // An empty picture leaves the window its size.
      {fax_bytes("DATE:\n", {""}), "[Pages: 0] [Norm Res] [0 Lines] 0-1: 1 off, 0 200"},
      {fax_bytes("COMPRESSION:2\n", {page}), "[Pages: 0] [Norm Res] [0 Lines] 0-1: 1 off, 0 200"},
      {fax_bytes("COMPRESSION:9\n", {page}), "[Pages: 0] [Norm Res] [0 Lines] 0-1: 1 off, 0 200"},
      // A first page that cannot be had.
      {fax_bytes("#PAGES:4\n"), "[Pages: 4] [Fine Res] [400 Lines] 1-4: 1, 200 200 bell"},
      {fax_bytes("INCLUDE:bad.fax 1 1\n", {page}), "[Pages: 0] [Fine Res] [400 Lines] 0-1: 1 off, 200 200 bell"},
      {fax_bytes("INCLUDE:. 1 1\n", {page}), "[Pages: 0] [Fine Res] [400 Lines] 0-1: 1 off, 200 200 bell"},
      {fax_bytes("INCLUDE:fifo 1 1\n", {page}), "[Pages: 0] [Fine Res] [400 Lines] 0-1: 1 off, 200 200 bell"},
  };
  for (const auto &[bytes, expected] : rows) {
    ASSERT_EQ(common(three_.c_str()), 0);
    shown();
    EXPECT_EQ(common(dir_.write("bad.fax", bytes).c_str()), 0);
    EXPECT_EQ(shown(), expected) << bytes.substr(8, 30);
  }
}

TEST_F(Pagescope, SaysWhatIsWrongWithAFile) {
  const std::string good = fax_bytes("#PAGES:1\n", {blank_page(4)}), path = dir_.path("bad.fax");
  const std::string corrupted = "read_fax_header: Bad fax file: Corrupted header\n";
  const std::string empty = "is empty !\n", fifo = dir_.path("fifo"), absent = dir_.path("absent");
  mkfifo(fifo.c_str(), 0600);
  const struct {
    std::string path, bytes, error, output;
  } rows[] = {
      {path, "", "File '" + path + "' " + empty, ""},
      {path, good.substr(0, 3), "File '" + path + "' " + empty, ""},
      {path, "Dear Pete,\n", "File '" + path + "' is not a fax !\n", ""},
      {path, good.substr(0, 12), corrupted, corrupted},
      {path, good.substr(0, 4) + big_endian(0xffffffff) + good.substr(8), corrupted, corrupted},
      {fifo, "", "File '" + fifo + "' " + empty, ""},
      {dir_.string(), "", "File '" + dir_.string() + "' " + empty, ""},
      {absent, "", "", "Problem with file \"" + absent + "\"\n"},
      {"", "", "", ""},
      {std::string(4096, 'x'), "", "The name of the fax file is longer than 4095 bytes\n", ""},
  };
  for (const auto &[name, bytes, error, output] : rows) {
    if (name == path) dir_.write("bad.fax", bytes);
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_EQ(common(name.c_str()), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), error);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), output);
  }
}

TEST_F(Pagescope, DecodesAnewOrLeavesEverythingAsItWas) {
  // More records than the header promises, and a last one that is cut short.
  const std::string bytes = fax_bytes("#PAGES:2\nRESOLUTION:1\n", {blank_page(400), blank_page(800), "", "abcd"});
  const std::string path = dir_.write("more.fax", bytes.substr(0, bytes.size() - 1));
  view_arbitrary_fax(path.c_str());
  EXPECT_EQ(Fullpath_fax_filename, three_);
  const struct {
    void (*act)();
    bool decodes;
    const char *shown;
  } rows[] = {
      {[] { prev_page_cb(); }, false, "[400 Lines] 1-2: 1, 200 200 bell"},
      {[] { next_page_cb(); }, true, "[800 Lines] 1-2: 2, 400 400"},
      {[] { view_size_cb(100); }, false, "[800 Lines] 1-2: 2, 400 400"},  // in force
      {[] { rotate_view(0); }, true, "[800 Lines] 1-2: 2, 400 400"},      // in force, and yet
      {[] { view_size_cb(50); }, true, "[800 Lines] 1-2: 2, 200 200"},
      {[] { view_size_cb(75); }, true, "[800 Lines] 1-2: 2, 266 266"},
      {[] { rotate_view(90); }, true, "[800 Lines] 1-2: 2, 576 576"},
      {[] { rotate_view(45); }, true, "[800 Lines] 1-2: 2, 576 576"},  // no such picture: the extents stay
      {[] { rotate_view(270); }, true, "[800 Lines] 1-2: 2, 576 576"},
      {[] { next_page_cb(); }, true, "[0 Lines] 1-2: 2, 576 576"},
      {[] { next_page_cb(); }, false, "[0 Lines] 1-2: 2, 576 576 bell"},
      {[] { random_page(5); }, false, "[0 Lines] 1-2: 2, 576 576 bell"},
      {[] { random_page(-1); }, true, "[0 Lines] 1-2: 2, 576 576"},
      {[] { random_page(1); }, true, "[400 Lines] 1-2: 1, 576 576"},
      {[] { view_arbitrary_fax("/absent"); }, false, "[400 Lines] 1-2: 1, 576 576"},
      {[] { view_arbitrary_fax(std::string(200, 'x').c_str()); }, false, "[400 Lines] 1-2: 1, 576 576"},
  };
  for (const auto &[act, decodes, expected] : rows) {
    bitmap[0] = 0xff;  // a decode clears it
    act();
    EXPECT_EQ(bitmap[0] == 0, decodes) << expected;
    EXPECT_EQ(shown(), std::string("[Pages: 2] [Fine Res] ") + expected);
  }
  EXPECT_STREQ(Fullpath_fax_filename, "/absent");

  std::filesystem::resize_file(path, 50);
  rotate_view(0);
  view_size_cb(100);
  EXPECT_EQ(orientation + Reduced, 0);  // the new settings stand, the old picture stays
  EXPECT_EQ(shown(), "[Pages: 2] [Fine Res] [400 Lines] 1-2: 1, 576 576 bell");
}
