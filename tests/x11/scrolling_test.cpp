// The reading steps and their marker, read off the screen. Which page and place the steps come to without a marker is
// also looked at with the commands and the keys.

#include "x11/viewer.h"
#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"
#include "t4/t4dec.h"

TEST(Scrolling, ChunksReadAPageInTwoStopsAndMarkTheOldViewsEnd) {
  const TempDir dir;
  const std::string charts[] = {coded_chart("itu1", 1), coded_chart("itu7", 1)};
  Viewer viewer({dir.write("two.fax", fax_bytes("#PAGES:2\nRESOLUTION:1\nCOMPRESSION:3\n", {charts[0], charts[1]}))});
  PlainPicture pages[] = {{0, 0, true}, {0, 0, true}};
  int32_t lines = 0;
  for (const int page : {0, 1}) lines = pages[page].paint_page(charts[page], tolvane::COMP_MMR);

  enum Place { TOP, BOTTOM, MARKED };  // the marker is only ever seen from the bottom
  const struct {
    const char *command;
    int page;
    Place place;
  } rows[] = {
      {"chunkup", 1, TOP},               // the first page has none before it
      {"scrollup", 1, TOP},              //
      {"chunkdown", 1, MARKED},          //
      {"expose", 1, MARKED},             // a repaint brings the marker back
      {"chunkup", 1, TOP},               //
      {"expose", 1, TOP},                // and not one that has gone
      {"chunkdown", 1, MARKED},          //
      {"chunkdown", 2, TOP},             //
      {"chunkdown", 2, MARKED},          // the last page has none behind it
      {"chunkup", 2, TOP},               //
      {"chunkup", 1, BOTTOM},            // backward enters a page at its bottom
      {"chunkup chunkdown", 1, MARKED},  //
      {"nextpage", 2, BOTTOM},           // a new picture replaces the marker
      {"chunkup", 2, TOP},               // and no later step brings it back
      {"resize", 2, TOP},                // now a page fits into the view: one stop each
      {"chunkup", 1, TOP},               //
      {"chunkdown", 2, TOP},
  };
  Window painted = 0;
  for (const auto &[command, page, place] : rows) {
    if (command == std::string("expose"))
      XClearArea(screen(), painted, 0, 0, 0, 0, True);
    else if (command == std::string("resize"))
      resize_window(viewer.window, 1400, 1300);
    else
      viewer.command(command);
    painted = page_shown(viewer.window, pages[page - 1], lines, place == MARKED, [place = place](const PageWindow &at) {
                return at.clip.y - at.page.y == (place == TOP ? 0 : at.page.height - at.clip.height);
              }).window;
    ASSERT_TRUE(painted) << command << " to " << page << ", " << place;
  }
}
