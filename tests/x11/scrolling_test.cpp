// The reading steps and their marker, read off the screen. Which page and place the steps come to without a marker is
// also looked at with the commands and the keys.

#include "x11/viewer.h"

#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"
#include "t4/t4dec.h"

TEST(Scrolling, ChunksReadAPageInTwoStopsAndMarkTheOldViewsEnd) {
  constexpr int TOP = 0, BOTTOM = -1;
  const TempDir dir;
  const std::string charts[] = {coded_chart("itu1", 1), coded_chart("itu7", 1)};
  Viewer viewer({dir.write("two.fax", fax_bytes("#PAGES:2\nRESOLUTION:1\nCOMPRESSION:3\n", {charts[0], charts[1]}))});
  PlainPicture pages[] = {{0, 0, true}, {0, 0, true}};
  int32_t lines = 0;
  for (int page : {0, 1}) lines = pages[page].paint_page(charts[page], tolvane::COMP_MMR);
  const int height = pages[0].height(lines);

  struct Row {
    const char *command;
    int page, hidden;  // rows above the view
    bool marked;
  };
  const Row rows[] = {
      {"chunkup", 1, TOP, false},       // the first page has none before it
      {"scrollup", 1, TOP, false},      //
      {"chunkdown", 1, BOTTOM, true},   //
      {"scrolldown", 1, BOTTOM, true},  //
      {"expose", 1, BOTTOM, true},      // a repaint brings the marker back
      {"chunkup", 1, TOP, false},       //
      {"expose", 1, TOP, false},        // and not one that has gone
      {"chunkdown", 1, BOTTOM, true},   //
      {"chunkdown", 2, TOP, false},     //
      {"chunkdown", 2, BOTTOM, true},   //
      {"chunkdown", 2, BOTTOM, true},   // the last page has none behind it
      {"chunkup", 2, TOP, false},       //
      {"chunkup", 1, BOTTOM, false},    // backward enters a page at its bottom
      {"chunkup", 1, TOP, false},       // where there was no marker to take away
      {"chunkdown", 1, BOTTOM, true},   //
      {"nextpage", 2, BOTTOM, false},   // a new picture replaces the marker
      {"chunkup", 2, TOP, false},       // and no later step brings it back
      {"resize", 2, TOP, false},        // now a page fits into the view:
      {"chunkdown", 2, TOP, false},     //
      {"chunkup", 1, TOP, false},       // one stop each
      {"chunkdown", 2, TOP, false},
  };
  for (const auto &[command, page, hidden, marked] : rows) {
    if (command == std::string("expose")) {
      XClearArea(screen(), find_page(viewer.window(), 864, height).window, 0, 0, 0, 0, True);
    } else if (command == std::string("resize")) {
      resize_window(viewer.window(), 1400, 1300);
    } else {
      viewer.program.write(std::string(command) + "\n");
      ASSERT_EQ(viewer.replies(1), "OK\n");
    }
    int scrolled = 0;
    EXPECT_TRUE(wait_until([&, &page = page, &hidden = hidden, &marked = marked] {
      const int view = find_page(viewer.window(), 864, height).clip.height;
      const PageWindow at = page_shown(viewer.window(), pages[page - 1], lines, marked ? view : 0);
      scrolled = at.clip.y - at.page.y;
      return at.window && scrolled == (hidden == BOTTOM ? height - view : hidden) &&
             (view >= height) == (area_of(viewer.window()).height == 1300);  // laid out anew
    })) << command
        << ": scrolled by " << scrolled;
  }
}
