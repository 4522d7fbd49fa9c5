#include <gmock/gmock.h>

#include <optional>

#include "x11/viewer.h"
#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"
#include "t4/t4dec.h"

#include <X11/Xutil.h>

TEST(Presentation, PaintsEveryPixelAtAllScalesOrientationsAndResolutions) {
  const TempDir dir;
  for (const auto &[fine, zoom] : {std::pair{true, 1}, {false, 1}, {true, 2}}) {
    const std::string coded = coded_chart("itu5", fine ? 1 : 2);
    const std::string lines_of_header = std::string("COMPRESSION:3\nRESOLUTION:") + (fine ? "1\n" : "0\n");
    const std::string resource = "*zoom: " + std::to_string(zoom);
    Viewer viewer({"-xrm", resource, dir.write("chart.fax", fax_bytes(lines_of_header, {coded}))});
    for (const int32_t reduced : {0, 1, 2}) {
      viewer.command(reduced == 0 ? "x" : "reduced");  // answered once the start is over
      resize_window(viewer.window, 1400 * zoom,
                    1300 * zoom);  // room for the whole page, so that nothing is scrolled away
      for (const int32_t degrees : {0, 90, 180, 270}) {
        viewer.command("rotate_" + std::to_string(degrees));
        PlainPicture picture{reduced, degrees, fine, zoom};
        const int32_t lines = picture.paint_page(coded, tolvane::COMP_MMR);
        const auto whole = [](const PageWindow &at) {
          return at.clip.width >= at.page.width && at.clip.height >= at.page.height;
        };
        EXPECT_TRUE(page_shown(viewer.window, picture, lines, false, whole).window)
            << "Reduced " << reduced << ", " << degrees << " degrees" << (fine ? ", fine, zoom " : ", zoom ") << zoom;
      }
    }
  }
}

TEST(Presentation, GivesTheShellItsSizeAtEachScaleAndKeepsTheUsersChoice) {
  const TempDir dir;
  const std::string document = dir.write("two.fax", fax_bytes("#PAGES:2\n", {blank_page(400), blank_page(800)}));
  const struct {
    const char *command;
    int width, height;
  } rows[] = {
      {"rotate_0", 940, 717},                              // fixed, whatever the page
      {"nextpage rotate_90", 940, 717},                    //
      {"reduced", 641, 580},                               // 800 lines at 2/3, 576 pixels across, the controls
      {"rotate_0 prevpage", 684, 270},                     // follows the page
      {"nextpage rotate_90 rotate_0 prevpage", 684, 270},  // faster than the window can follow
      {"nextpage", 684, 537},                              //
      {"drag", 900, 900},                                  // somebody takes a corner of it
      {"prevpage rotate_90", 900, 900},                    //
      {"fullsize", 940, 717},                              // the other scales keep theirs
      {"reduced", 900, 900},                               //
      {"reduced", 308, 436},
      {"fullsize", 900, 900},  // of 75%
      {"fullsize", 940, 717},
      {"drag", 1300, 910},  // maximised
      {"reduced reduced", 308, 436},
      {"drag", 1300, 910},  // and again: the size of before is nothing of the program's own
      {"nextpage", 1300, 910},
  };
  for (const std::vector<std::string> &command : {std::vector<std::string>(), MWM}) {
    std::optional<WindowManager> manager;
    if (!command.empty()) manager.emplace(command);
    Viewer viewer({document});
    XSizeHints hints = {};
    long supplied = 0;
    wait_until([&] { return XGetWMNormalHints(screen(), viewer.window, &hints, &supplied) && hints.min_height > 0; });
    EXPECT_THAT(hints.min_height, testing::AllOf(testing::Ge(450), testing::Le(580)));
    for (const auto &[words, width, asked_height] : rows) {
      const int height = manager ? std::max(asked_height, hints.min_height) : asked_height;
      words == std::string("drag") ? resize_window(viewer.window, width, height) : viewer.command(words);
      EXPECT_TRUE(wait_until([&, w = width] { return has_size(viewer.window, w, height); }))
          << testing::PrintToString(command) << ": " << words;
    }
  }
}
