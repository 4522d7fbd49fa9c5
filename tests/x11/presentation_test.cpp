#include "x11/viewer.h"

#include "helpers/fax_bytes.h"
#include "helpers/plain_picture.h"
#include "helpers/temp_dir.h"
#include "t4/t4dec.h"

namespace {

// Gives the commands in one write and waits until all are answered.
bool command(Viewer &viewer, const std::string &text) {
  viewer.program.write(text + "\n");
  std::string expected = "OK\n";
  for (char c : text) expected += c == ' ' ? "OK\n" : "";
  return viewer.replies(static_cast<int>(expected.size() / 3)) == expected;
}

}  // namespace

TEST(Presentation, PaintsEveryPixelAtAllScalesOrientationsAndResolutions) {
  const TempDir dir;
  for (bool fine : {true, false}) {
    const std::string coded = coded_chart("itu5", fine ? 1 : 2);
    const std::string lines_of_header = std::string("COMPRESSION:3\nRESOLUTION:") + (fine ? "1\n" : "0\n");
    Viewer viewer({dir.write("chart.fax", fax_bytes(lines_of_header, {coded}))});
    for (int32_t reduced : {0, 1, 2}) {
      ASSERT_TRUE(command(viewer, reduced == 0 ? "x" : "reduced"));  // answered once the start is over
      resize_window(viewer.window(), 1400, 1300);  // room for the whole page, so that nothing is scrolled away
      for (int32_t degrees : {0, 90, 180, 270}) {
        ASSERT_TRUE(command(viewer, "rotate_" + std::to_string(degrees)));
        PlainPicture picture{reduced, degrees, fine};
        const int32_t lines = picture.paint_page(coded, tolvane::COMP_MMR);
        EXPECT_TRUE(wait_until([&] {
          const PageWindow at = page_shown(viewer.window(), picture, lines);
          return at.window && at.clip.width >= at.page.width && at.clip.height >= at.page.height;
        })) << "Reduced "
            << reduced << ", " << degrees << " degrees" << (fine ? ", fine" : "");
      }
    }
  }
}

TEST(Presentation, GivesTheShellItsSizeAtEachScaleAndKeepsTheUsersChoice) {
  const WindowManager mwm;
  const TempDir dir;
  const std::string file = dir.write("two.fax", fax_bytes("#PAGES:2\n", {blank_page(400), blank_page(800)}));
  Viewer viewer({file});
  struct Row {
    const char *command;
    int resize_to, width, height;
  };
  const Row rows[] = {
      {"rotate_0", 0, 940, 717},                              // fixed, whatever the page
      {"nextpage", 0, 940, 717},                              //
      {"rotate_90", 0, 940, 717},                             //
      {"reduced", 0, 641, 580},                               // 800 lines at 2/3, 576 pixels across, the controls
      {"rotate_0", 0, 684, 537},                              //
      {"prevpage", 0, 684, 270},                              // follows the page
      {"nextpage rotate_90 rotate_0 prevpage", 0, 684, 270},  // faster than the window can follow
      {"nextpage", 0, 684, 537},
      {"nextpage", 900, 900, 900},  // somebody takes a corner of it
      {"prevpage", 0, 900, 900},    //
      {"rotate_90", 0, 900, 900},   //
      {"fullsize", 0, 940, 717},    // the other scales keep theirs
      {"reduced", 0, 900, 900},     //
      {"reduced", 0, 308, 436},     //
      {"fullsize", 0, 900, 900},    //
  };
  for (const Row &row : rows) {
    ASSERT_TRUE(command(viewer, row.command));
    if (row.resize_to) resize_window(viewer.window(), row.resize_to, row.resize_to);
    EXPECT_TRUE(wait_until([&] {
      const Area area = area_of(viewer.window());
      return area.width == row.width && area.height == row.height;
    })) << row.command
        << ": " << area_of(viewer.window()).width << " x " << area_of(viewer.window()).height;
  }
}
