// The parent program of examples/ under a window manager: what a user does in the embedded window, and what the parent
// hears of it.

#include "x11/viewer.h"

#include <algorithm>

#include "helpers/temp_dir.h"

#include <X11/Xutil.h>

namespace {

const char *const PREVIEW = "Sorbex KT Fax Preview", *const VIEWER = "Sorbex KT Fax Viewer";

/// The buttons among the parts of a window, from top to bottom, as far as they begin inside `where`.
std::vector<Area> buttons_in(Window window, Area where) {
  std::vector<Area> found;
  for (Window part : parts_of(window)) {
    const Area area = area_of(part);
    if (area.height > 10 && area.height < 50 && area.x >= where.x && area.x < where.x + where.width &&
        area.y >= where.y && area.y < where.y + where.height)
      found.push_back(area);
  }
  std::sort(found.begin(), found.end(), [](const Area &a, const Area &b) { return a.y < b.y; });
  return found;
}

void click_nth(const std::vector<Area> &buttons, size_t index) {
  ASSERT_LT(index, buttons.size());
  click(buttons[index].x + buttons[index].width / 2, buttons[index].y + buttons[index].height / 2);
}

/// The pulldown menu, which the window manager does not frame, once it stands below `top`.
std::vector<Area> menu_entries(Area shell) {
  std::vector<Area> entries;
  wait_until([&] {
    Window root, parent, *children = nullptr;
    unsigned count = 0;
    XQueryTree(screen(), DefaultRootWindow(screen()), &root, &parent, &children, &count);
    for (unsigned i = 0; i < count; ++i) {
      XWindowAttributes attributes;
      if (!XGetWindowAttributes(screen(), children[i], &attributes) || !attributes.override_redirect) continue;
      const Area menu = area_of(children[i]);
      if (is_viewable(children[i]) && menu.y > shell.y && menu.y < shell.y + 60)
        entries = buttons_in(children[i], menu);
    }
    if (children) XFree(children);
    return entries.size() >= 8;
  });
  if (entries.size() > 8) entries.erase(entries.begin(), entries.end() - 8);  // the line to tear the menu off by
  return entries;
}

class Parent : public testing::Test {
 protected:
  explicit Parent(const std::string &second = marked_document(2, 2))
      : program({TOLVANE_BUILD_DIR "/examples/parent", dir.write("one.fax", marked_document(1, 1)),
                 dir.write("second", second)},
                {"XKEYSYMDB=none"}),
        own(find_window("Fax Parent")) {}

  enum Button { OPEN_PREVIEW, OPEN_VIEWER, PREVIEW_FACE, VIEWER_FACE, TAKE_AWAY, RAISE, DISMISS, DESTROY, IS_UP, QUIT };
  void press(Button button) { click_nth(buttons_in(own, area_of(own)), button); }
  /// A button at the foot of the embedded window's column, counted from the top.
  void press_below(const char *face, size_t index) {
    const Area shell = area_of(find_window(face));
    click_nth(buttons_in(find_window(face), {shell.x, shell.y + shell.height - 125, 100, 125}), index);
  }
  void choose(size_t entry) {
    const Area shell = area_of(find_window(VIEWER));
    click(shell.x + 40, shell.y + 17);
    click_nth(menu_entries(shell), entry);
  }
  void press_key_in(const char *face, const char *key) {
    const Area shell = area_of(find_window(face));
    click(shell.x + 300, shell.y + 100);
    press_key(key);
  }
  void expect_lines(const std::vector<std::string> &lines) {
    for (const std::string &line : lines) EXPECT_EQ(program.read_line().value_or("nothing"), line);
  }
  /// Asks once more, so that nothing can have come unnoticed before.
  void expect_up(bool up) {
    press(IS_UP);
    expect_lines({up ? "up: 1" : "up: 0"});
  }
  void expect_shown(const char *face, const std::string &expected) {
    EXPECT_TRUE(wait_until([&] { return shown_in(find_window(face)) == expected; }, Milliseconds(3000))) << expected;
  }

  const TempDir dir;
  WindowManager manager;
  ChildProcess program;
  const Window own;
};

struct ParentOfText : Parent {
  ParentOfText() : Parent("no fax") {}
};

}  // namespace

TEST_F(Parent, HearsOfThePreviewsButtons) {
  expect_lines({"opened: 0", "event 2: window mapped"});
  expect_shown(PREVIEW, "1 100% 0 top");
  press_below(PREVIEW, 0);
  expect_lines({"event 3: send"});
  expect_up(true);
  press_key_in(PREVIEW, "p");  // keys of buttons that this face does not offer
  press_key("q");
  expect_up(true);
  press_below(PREVIEW, 1);
  expect_lines({"event 4: save", "event 1: window gone"});
  expect_up(false);
  press(OPEN_PREVIEW);
  expect_lines({"opened: 0", "event 2: window mapped"});
  press_below(PREVIEW, 2);
  expect_lines({"event 5: discard", "event 1: window gone"});
  expect_up(false);
}

TEST_F(Parent, HearsOfTheViewersMenuAndOfItsEnd) {
  expect_lines({"opened: 0", "event 2: window mapped"});
  press(VIEWER_FACE);
  const char *const events[] = {"event 6: print",        "event 7: properties", "event 8: attach",
                                "event 9: delete",       "event 10: rename",    "event 11: to original",
                                "event 12: to selected", "event 13: route"};
  for (size_t entry = 0; entry < 8; ++entry) {
    choose(entry);
    expect_lines({events[entry]});
  }
  press_key_in(VIEWER, "p");
  expect_lines({"event 6: print"});
  press_below(VIEWER, 0);
  expect_lines({"event 1: window gone"});
  press(OPEN_VIEWER);
  expect_lines({"opened: 0", "event 2: window mapped"});
  close_window(find_window(VIEWER));
  expect_lines({"event 1: window gone"});
  expect_up(false);
  press(QUIT);
  EXPECT_EQ(program.wait(), 0);
}

TEST_F(Parent, HidesRaisesDestroysAndBuildsAnew) {
  expect_lines({"opened: 0", "event 2: window mapped"});
  press(OPEN_VIEWER);
  expect_lines({"opened: 0"});  // the window that is up takes the other file
  expect_shown(VIEWER, "1 100% 0 top");
  const Window shell = find_window(VIEWER);
  XIconifyWindow(screen(), shell, DefaultScreen(screen()));
  XSync(screen(), False);
  EXPECT_TRUE(wait_until([&] { return !is_viewable(shell); }));
  expect_up(false);
  press(RAISE);
  expect_lines({"event 2: window mapped"});
  expect_up(true);
  XWithdrawWindow(screen(), shell, DefaultScreen(screen()));
  XSync(screen(), False);
  EXPECT_TRUE(wait_until([&] { return !is_viewable(shell); }));
  expect_up(false);
  press(RAISE);
  expect_lines({"event 2: window mapped"});
  expect_shown(VIEWER, "1 100% 0 top");

  press(TAKE_AWAY);
  expect_shown(VIEWER, "");
  press_key_in(VIEWER, "n");
  expect_shown(VIEWER, "2 100% 0 top");
  press(DISMISS);
  expect_lines({"event 1: window gone"});
  press(RAISE);  // without a picture, until a page is asked for
  expect_lines({"event 2: window mapped"});
  press_key_in(VIEWER, "N");
  expect_shown(VIEWER, "1 100% 0 top");

  press(DESTROY);
  expect_lines({"event 1: window gone"});
  for (const Button harmless : {RAISE, DISMISS, TAKE_AWAY, PREVIEW_FACE, VIEWER_FACE}) press(harmless);
  expect_up(false);
  press(OPEN_PREVIEW);
  expect_lines({"opened: 0", "event 2: window mapped"});
  press_key_in(PREVIEW, "minus");
  expect_shown(PREVIEW, "1 75% 0 top");
}

TEST_F(ParentOfText, OutlivesAFileThatIsNoFax) {
  expect_lines({"opened: 0", "event 2: window mapped"});
  press(OPEN_VIEWER);
  expect_lines({"event 1: window gone", "opened: 1"});
  EXPECT_EQ(program.errors(), "File '" + dir.path("second") + "' is not a fax !\n");
  expect_up(false);
  press(OPEN_PREVIEW);
  expect_lines({"opened: 0", "event 2: window mapped"});
  expect_shown(PREVIEW, "1 100% 0 top");
}
