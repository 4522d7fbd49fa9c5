#include "x11/viewer.h"

#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"
#include "t4/t4dec.h"

#include <map>

namespace {

// Two pages of about 1188 rows at 100%, where a view has less than 700: each is read in two stops.
class Scrolling : public testing::Test {
 protected:
  static constexpr int TOP = 0, BOTTOM = -1;

  void SetUp() override {
    const std::string charts[] = {coded_chart("itu1", 1), coded_chart("itu7", 1)};
    file_ = dir_.write("two.fax", fax_bytes("#PAGES:2\nRESOLUTION:1\nCOMPRESSION:3\n", {charts[0], charts[1]}));
    for (int page : {1, 2}) lines_[page] = pictures_[page].paint_page(charts[page - 1], tolvane::COMP_MMR);
  }

  void start() {
    viewer_ = std::make_unique<Viewer>(std::vector{file_});
    expect("start", 1, TOP, false);
  }

  void command(const std::string &words) {
    viewer_->program.write(words + "\n");
    EXPECT_EQ(viewer_->replies(1), "OK\n");
  }

  // Waits until the page stands at that place, every pixel right. `hidden` counts the rows above the view.
  void expect(const std::string &what, int page, int hidden, bool marked) {
    const PlainPicture &picture = pictures_[page];
    const int width = picture.width(lines_[page]), height = picture.height(lines_[page]);
    int scrolled = 0;
    const bool there = wait_until([&] {
      const PageWindow before = find_page(viewer_->window(), width, height);
      const PageWindow at = page_shown(viewer_->window(), picture, lines_[page], marked ? before.clip.height : 0);
      scrolled = at.clip.y - at.page.y;
      return at.window && scrolled == (hidden == BOTTOM ? height - at.clip.height : hidden);
    });
    EXPECT_TRUE(there) << what << ": scrolled by " << scrolled;
  }

  TempDir dir_;
  std::string file_;
  std::map<int, PlainPicture> pictures_{{1, {0, 0, true}}, {2, {0, 0, true}}};
  std::map<int, int32_t> lines_;
  std::unique_ptr<Viewer> viewer_;
};

}  // namespace

TEST_F(Scrolling, ChunksReadAPageInTwoStopsAndMarkTheOldViewsEnd) {
  start();
  struct Row {
    const char *command;
    int page, hidden;
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
  };
  for (const Row &row : rows) {
    if (row.command == std::string("expose")) {
      const Window page = find_page(viewer_->window(), 864, pictures_[1].height(lines_[1])).window;
      XClearArea(screen(), page, 0, 0, 0, 0, True);
    } else {
      command(row.command);
    }
    expect(row.command, row.page, row.hidden, row.marked);
  }
  command("prevpage");
  command("scrolldown");
  int step = 0;
  ASSERT_TRUE(wait_until([&] {
    const PageWindow at = page_shown(viewer_->window(), pictures_[1], lines_[1]);
    return (step = at.clip.y - at.page.y) > 0;
  }));
  command("scrolldown");
  expect("two steps down", 1, 2 * step, false);
  command("scrollup");
  expect("one step up", 1, step, false);
}

TEST_F(Scrolling, APageThatFitsIntoTheViewIsOneStop) {
  start();
  resize_window(viewer_->window(), 1400, 1300);
  for (const auto &[words, page] : {std::pair("chunkdown", 2), {"chunkdown", 2}, {"chunkup", 1}, {"chunkup", 1}}) {
    ASSERT_TRUE(wait_until(
        [&] { return find_page(viewer_->window(), 864, pictures_[page].height(lines_[page])).clip.height > 1200; }));
    command(words);
    expect(words, page, TOP, false);
  }
}
