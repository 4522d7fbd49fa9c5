// The parent program of examples/ under a window manager: what a user does in the embedded window, and what the parent
// hears of it.

#include "x11/viewer.h"
#include "helpers/places.h"
#include "helpers/temp_dir.h"

#include <X11/Xutil.h>

namespace {

// The pulldown menu, which alone has no frame by the window manager.
Window find_menu() {
  for (const Window window : parts_of(DefaultRootWindow(screen()))) {
    XWindowAttributes attributes;
    if (XGetWindowAttributes(screen(), window, &attributes) && attributes.override_redirect && attributes.height > 150)
      return window;
  }
  return 0;
}

// Clicks on an entry of a column of equal ones.
void click_entry(Window column, int entry, int entries, int above = 0) {
  const Area area = area_of(column);
  click(area.x + area.width / 2, area.y + above + (area.height - above) * (2 * entry + 1) / (2 * entries));
}

struct Parent : testing::Test {
  enum Button { OPEN_PREVIEW, OPEN_SECOND, PREVIEW_FACE, VIEWER_FACE, TAKE_AWAY, RAISE, DISMISS, DESTROY, IS_UP, QUIT };

  void start(const std::string &second) {
    program = std::make_unique<ChildProcess>(std::vector<std::string>{
        in_build("examples/parent"), dir.write("one.fax", marked_document(1, 1)), dir.write("second", second)});
    own = find_window("Fax Parent");
    expect("opened: 0, event 2: window mapped", "1 100% 0 top");
  }
  void push(Button button) const { click_entry(own, button, QUIT + 1); }
  Window shell() const {
    const Window preview = find_window("Sorbex KT Fax Preview", Milliseconds(0));
    return preview ? preview : find_window("Sorbex KT Fax Viewer", Milliseconds(0));
  }
  void choose(int entry) const {
    const Area area = area_of(shell());
    click(area.x + 40, area.y + 17);
    ASSERT_TRUE(wait_until(find_menu));
    click_entry(find_menu(), entry, 8, 10);  // below the line to tear the menu off by
  }
  void key(const char *name) const {
    const Area area = area_of(shell());
    click(area.x + 3, area.y + 450);  // a place without a control
    press_key(name);
  }
  void hide(int (*call)(Display *, Window, int)) const {
    call(screen(), shell(), DefaultScreen(screen()));
    EXPECT_TRUE(wait_until([&] { return !shell(); }));
  }

  // What the parent says after a step: the codes of the events, "opened 0". Asked at last whether the window is up, it
  // has said nothing else before.
  void expect(const std::string &heard, const std::string &shown, bool up = true) {
    SCOPED_TRACE(heard + " and " + shown);
    for (size_t at = 0, end; at < heard.size(); at = end + 2) {
      end = std::min(heard.find(", ", at), heard.size());
      EXPECT_EQ(program->read_line(PATIENCE).value_or("nothing"), heard.substr(at, end - at));
    }
    push(IS_UP);
    EXPECT_EQ(program->read_line(PATIENCE).value_or("nothing"), up ? "up: 1" : "up: 0");
    expect_shown([this] { return shell(); }, shown);
  }

  const TempDir dir;
  const WindowManager manager;
  std::unique_ptr<ChildProcess> program;
  Window own = 0;
};

const std::string OPENED = "opened: 0, event 2: window mapped", GONE = "event 1: window gone";

}  // namespace

TEST_F(Parent, HearsOfEveryButtonAndMenuEntry) {
  start(marked_document(2, 2));
  press_button(shell(), 0);
  expect("event 3: send", "1 100% 0 top");
  key("p");  // keys of buttons that this face does not offer
  key("q");
  expect("", "1 100% 0 top");
  press_button(shell(), 1);
  expect("event 4: save, " + GONE, "", false);
  push(OPEN_PREVIEW);
  expect(OPENED, "1 100% 0 top");
  press_button(shell(), 2);
  expect("event 5: discard, " + GONE, "", false);
  push(OPEN_SECOND);
  expect(OPENED, "1 100% 0 top");
  int entry = 0;
  for (const char *event : {"6: print", "7: properties", "8: attach", "9: delete", "10: rename", "11: to original",
                            "12: to selected", "13: route"}) {
    choose(entry++);
    expect(std::string("event ") + event, "1 100% 0 top");
  }
  press_button(shell(), 0);
  expect(GONE, "", false);
  push(QUIT);
  EXPECT_EQ(program->wait(PATIENCE), 0);
}

TEST_F(Parent, HidesRaisesDestroysAndBuildsAnew) {
  start(marked_document(2, 2));
  push(OPEN_SECOND);
  expect("opened: 0", "1 100% 0 top");  // the window that is up takes the other file
  key("n");
  expect("", "2 100% 0 top");
  for (const auto hide_it : {XIconifyWindow, XWithdrawWindow}) {
    hide(hide_it);
    expect("", "", false);
    push(RAISE);
    expect("event 2: window mapped", "2 100% 0 top");
  }
  push(TAKE_AWAY);
  expect("", "");
  key("N");
  expect("", "1 100% 0 top");
  key("i");
  ASSERT_NE(find_window("TolVane: Information"), 0u);
  close_window(shell());
  expect(GONE, "", false);
  EXPECT_EQ(find_window("TolVane: Information", Milliseconds(0)), 0u);
  push(RAISE);
  ASSERT_TRUE(wait_until([&] { return shell() != 0; }));
  key("n");  // without a picture until a page is asked for
  expect("event 2: window mapped", "2 100% 0 top");
  key("i");
  ASSERT_NE(find_window("TolVane: Information"), 0u);
  push(DESTROY);
  expect(GONE, "", false);
  for (const Button harmless : {RAISE, DISMISS, TAKE_AWAY, PREVIEW_FACE, VIEWER_FACE}) push(harmless);
  expect("", "", false);
  push(OPEN_PREVIEW);
  expect(OPENED, "1 100% 0 top");
  key("i");
  EXPECT_NE(find_window("TolVane: Information"), 0u);
}

TEST_F(Parent, OutlivesAFileThatIsNoFax) {
  start("no fax");
  push(OPEN_SECOND);
  expect(GONE + ", opened: 1", "", false);
  EXPECT_NE(program->errors().find("File '" + dir.path("second") + "' is not a fax !\n"), std::string::npos);
}
