// Keys and the mouse wheel in the real program's window, and how a user replaces them.

#include <thread>

#include "x11/viewer.h"
#include "app/info_window.h"
#include "app/key_bindings.h"
#include "app/open_view.h"
#include "app/resource_defaults.h"
#include "helpers/fax_bytes.h"
#include "helpers/places.h"
#include "helpers/temp_dir.h"

namespace {

struct Keys : testing::Test {
  const TempDir dir;
  const std::string document = dir.write("four.fax", marked_document(4, 4));
};

// The text without comments, white space and line joins.
std::string bare(std::string text) {
  for (size_t at; (at = text.find('!')) != std::string::npos;) text.erase(at, text.find('\n', at) - at);
  std::erase_if(text, [](char ch) { return isspace(ch) || ch == '\\'; });
  return text;
}

}  // namespace

TEST_F(Keys, EachKeyDoesItsWork) {
  const Viewer viewer({document});
  viewer.press(R"(
      Page_Down 2 100% 0 top     n 3 100% 0 top      N 2 100% 0 top          Page_Up 1 100% 0 top  Page_Up 1 100% 0 top
      End 4 100% 0 top           n 4 100% 0 top      Home 1 100% 0 top
      space 1 100% 0 bottom      space 2 100% 0 top  BackSpace 1 100% 0 bottom             BackSpace 1 100% 0 top
      Down 1 100% 0 between      Up 1 100% 0 top     wheel_down 1 100% 0 between           wheel_up 1 100% 0 top
      minus 1 75% 0 top          KP_Subtract 1 50% 0 top             minus 1 50% 0 top     KP_Add 1 75% 0 top
      3 1 75% 0 top              Return 3 75% 0 top  Return 3 75% 0 top      1 3 75% 0 top         Return 1 75% 0 top
      1 1 75% 0 top              Down 1 75% 0 top    2 1 75% 0 top           Return 2 75% 0 top
      1 2 75% 0 top              BackSpace 1 75% 0 top                       3 1 75% 0 top         Return 3 75% 0 top
      1 3 75% 0 top              wheel_up 3 75% 0 top                        1 3 75% 0 top         Return 1 75% 0 top
      r 1 75% 270 top            r 1 75% 180 top     R 1 75% 270 top         R 1 75% 0 top         R 1 75% 90 top)");
  const Area area = area_of(viewer.window);
  click(area.x + 48, area.y + 182);  // the toggle "100%": had the keys left it on, it would do nothing
  viewer.expect("1 100% 90 top");
}

TEST_F(Keys, TheMouseMovesAndScalesThePage) {
  const Viewer viewer({document});
  viewer.expect("1 100% 0 top");
  const Area area = area_of(viewer.window);
  drag(area.x + 400, area.y + 500, area.x + 400, area.y + 300);
  viewer.expect("1 100% 0 between");
  drag(area.x + 400, area.y + 300, area.x + 400, area.y + 700);
  viewer.expect("1 100% 0 top");
  const auto click_twice = [&](int x, int y) {
    for (int i = 0; i < 2; ++i) click(area.x + x, area.y + y);
  };
  click_twice(400, 300);
  viewer.expect("1 50% 0 top");
  std::this_thread::sleep_for(Milliseconds(500));  // no third click of the same
  click_twice(400, 250);
  viewer.expect("1 100% 0 between");
  hold_control(true);
  for (const unsigned wheel : {5, 5, 4}) click(area.x + 300, area.y + 100, wheel);
  hold_control(false);
  viewer.expect("1 75% 0 top");
}

TEST_F(Keys, TheInformationWindowFollowsTheFileAndCloses) {
  dir.write("two.fax", fax_bytes("SUBJECT:" + std::string(120, 'x') + "\n#PAGES:1\n", {blank_page(40)}));
  Viewer viewer({document}, {}, dir.string());
  const auto open = [&] {
    const Area area = area_of(viewer.window);
    click(area.x + 5, area.y + 500, 2);
    press_key("i");
    return find_window("TolVane: Information");
  };
  const Window info = open();
  const int height = area_of(info).height;
  viewer.program.write("newfile two.fax\n");  // of a subject in three lines
  EXPECT_TRUE(wait_until([&] { return area_of(info).height >= height + 20; }));
  for (const char *close : {"i", "Escape", "manager"}) {
    const Area area = area_of(info);
    click(area.x + 5, area.y + 5, 2);
    std::string(close) == "manager" ? close_window(info) : press_key(close);
    EXPECT_TRUE(wait_until([&] { return !is_viewable(info); })) << close;
    EXPECT_EQ(open(), info);
  }
}

TEST_F(Keys, TheInformationWindowShowsAnyValue) {
  const std::string word(50, 'w');
  const std::pair<std::string, std::string> rows[] = {
      {"", "-"},
      {"a\x1b[1m\rb\x7f\t", "a [1m b  "},
      {"\xc3\x89lan \xc2\x9b \xe2\x80\x94", "\xc9lan   --"},
      {"\xe9lan\x9b", "\xe9lan "},
      {word + " " + word, word + "\n" + word},
      {"aaaaa " + word, "aaaaa\n" + word},
      {std::string(200, 'w'), word + "\n" + word + "\n" + word + "\n" + word},
      {std::string(201, 'w'), word + "\n" + word + "\n" + word + "\n" + word.substr(3) + "..."},
  };
  for (const auto &[value, lines] : rows) EXPECT_EQ(tolvane::info_lines(value), lines) << value;
}

TEST_F(Keys, AUsersResourcesStandAboveTheDefaults) {
  const std::string resources = dir.write("resources", R"(
Tolvane*HorScrollBar.accelerators:
*next_chunk.accelerators: #override <Key>x: ArmAndActivate()
Tolvane*tolvane_form.accelerators: #override \n <Key>osfRight: tn-next-page() \n <Key>q: tn-dismiss()
)");
  Viewer viewer({document}, {"XENVIRONMENT=" + resources});
  viewer.press("Right 2 100% 0 top  n 2 100% 0 top  x 2 100% 0 bottom  Up 2 100% 0 between  q");
  EXPECT_EQ(viewer.program.wait(PATIENCE), 0);
}

TEST_F(Keys, TheInstalledResourceFileRepeatsTheDefaults) {
  std::string defaults;
  for (const char *const *lines : {tolvane::tn_fallbacks, tolvane::default_colours, tolvane::default_keys})
    for (; *lines; ++lines) defaults += *lines;
  EXPECT_EQ(bare(read_file(in_checkout("packaging/Tolvane"))), bare(defaults));
}
