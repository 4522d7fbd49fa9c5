// The window on displays with fonts of different resolutions: the page number is whole, and no control covers another.

#include <filesystem>
#include <span>

#include "x11/viewer.h"
#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"

namespace {

std::vector<Area> controls_of(Window shell) {
  std::vector<Area> areas;
  const std::vector<Window> parts = parts_of(shell);
  Window root, parent, *children = nullptr;
  unsigned count = 0;
  if (parts.empty() || !XQueryTree(screen(), parts.front(), &root, &parent, &children, &count)) return areas;
  for (const Window child : std::span(children, count))
    if (is_viewable(child)) areas.push_back(area_of(child));
  if (children) XFree(children);
  return areas;
}

bool is_crowded(Window shell) {
  const Area window = area_of(shell);
  const std::vector<Area> areas = controls_of(shell);
  for (const Area &a : areas) {
    if (a.y + a.height > window.y + window.height) return true;
    for (const Area &b : areas)
      if (&a != &b && a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height && b.y < a.y + a.height)
        return true;
  }
  return areas.size() < 15;
}

// First and last row of the slider's 30 pixels above its slide in which there is ink.
std::pair<int, int> rows_of_page_number(Window shell) {
  int first = -1, last = -1;
  for (const Area &area : controls_of(shell)) {
    if (area.height != 30 || area.width != 94) continue;
    const std::vector<uint32_t> pixels = photograph({area.x, area.y, area.width, 14});
    for (size_t i = 0; i < pixels.size(); ++i) {
      if (pixels[i] != 0) continue;
      last = static_cast<int>(i) / area.width;
      if (first < 0) first = last;
    }
  }
  return {first, last};
}

}  // namespace

TEST(Looks, ControlsAreLegibleAndApartInEveryFontResolution) {
  const TempDir dir;
  const std::string document = dir.write("two.fax", fax_bytes("#PAGES:99999\n", {blank_page(300), blank_page(2300)}));
  const std::string started = dir.path("started");
  const std::vector<std::string> openbox = {"openbox", "--sm-disable", "--startup", "touch " + started};
  for (const auto &[command, fonts] : {std::pair{MWM, "/usr/share/fonts/X11/75dpi"},
                                       {MWM, "/usr/share/fonts/X11/100dpi"},
                                       {MWM, "built-ins"},
                                       {openbox, "/usr/share/fonts/X11/100dpi"}}) {
    SCOPED_TRACE(command[0] + " " + fonts);
    const WindowManager manager(command);
    // While it starts, this manager forgets windows that are mapped.
    ASSERT_TRUE(wait_until([&] { return command != openbox || std::filesystem::exists(started); }));
    std::string with[] = {fonts, "built-ins"};
    char *path[] = {with[0].data(), with[1].data()};
    XSetFontPath(screen(), path, fonts == with[1] ? 1 : 2);
    XSync(screen(), False);
    Viewer viewer({document});
    viewer.command("x");  // answered once the start is over
    std::pair<int, int> rows;
    EXPECT_TRUE(wait_until([&] {
      rows = rows_of_page_number(viewer.window);
      return rows.second - rows.first >= 7;  // digits cut in half have six rows
    })) << rows.first
        << " to " << rows.second;
    for (const char *scale : {"x", "reduced", "reduced"}) {
      viewer.command(scale);
      for (const char *page : {"prevpage", "nextpage"}) {
        viewer.command(page);
        for (const char *turn : {"rotate_0", "rotate_90", "rotate_180", "rotate_270"}) {
          viewer.command(turn);
          EXPECT_TRUE(wait_until([&] { return !is_crowded(viewer.window); })) << scale << " " << page << " " << turn;
        }
      }
    }
  }
}
