// Keys and the mouse wheel in the real program's window, and how a user replaces them.

#include "x11/viewer.h"

#include "app/key_bindings.h"
#include "app/open_view.h"
#include "app/resource_defaults.h"
#include "helpers/places.h"
#include "helpers/temp_dir.h"

namespace {

struct Keys : testing::Test {
  const TempDir dir;
  const std::string document = dir.write("four.fax", marked_document(4, 4));
};

/// The text without comments, white space and line joins.
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
      r 1 75% 270 top            r 1 75% 180 top     R 1 75% 270 top         R 1 75% 0 top         R 1 75% 90 top)");
  const Area area = area_of(viewer.window);
  click(area.x + 48, area.y + 182);  // the toggle "100%": had the keys left it on, it would do nothing
  viewer.expect("1 100% 90 top");
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
