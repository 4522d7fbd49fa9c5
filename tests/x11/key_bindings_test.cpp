// Keys and the mouse wheel in the real program's window, and how a user replaces them.

#include "x11/viewer.h"

#include <algorithm>

#include "app/key_bindings.h"
#include "app/open_view.h"
#include "helpers/temp_dir.h"

#include <X11/Xresource.h>

namespace {

class Keys : public testing::Test {
 protected:
  TempDir dir;
  const std::string document = dir.write("four.fax", marked_document(4, 4));
};

struct Press {
  const char *key;  // a name that begins with "wheel" is a button of the mouse
  const char *shown;
};

void press(const Viewer &viewer, const std::vector<Press> &presses) {
  viewer.point();
  for (const auto &[key, shown] : presses) {
    SCOPED_TRACE(key);
    if (const std::string name = key; name.starts_with("wheel")) {
      const Area area = area_of(viewer.window());
      click(area.x + 300, area.y + 100, name == "wheel up" ? 4 : 5);
    } else {
      press_key(name);
    }
    EXPECT_EQ(viewer.shows(shown), shown);
  }
}

using Lines = std::vector<std::pair<std::string, std::string>>;

Bool take_line(XrmDatabase *, XrmBindingList bindings, XrmQuarkList quarks, XrmRepresentation *, XrmValue *value,
               XPointer lines) {
  std::string specifier;
  for (; *quarks != NULLQUARK; ++quarks, ++bindings)
    specifier += std::string(*bindings == XrmBindLoosely ? "*" : ".") + XrmQuarkToString(*quarks);
  reinterpret_cast<Lines *>(lines)->emplace_back(specifier, value->addr);
  return False;
}

Lines lines_of(XrmDatabase database) {
  Lines lines;
  XrmQuark none = NULLQUARK;
  XrmEnumerateDatabase(database, &none, &none, XrmEnumAllLevels, take_line, reinterpret_cast<XPointer>(&lines));
  std::sort(lines.begin(), lines.end());
  return lines;
}

}  // namespace

TEST_F(Keys, EachKeyDoesItsWork) {
  const Viewer viewer({document}, {"XKEYSYMDB=none"});
  press(viewer, {{"Page_Down", "2 100% 0 top"},
                 {"n", "3 100% 0 top"},
                 {"N", "2 100% 0 top"},
                 {"Page_Up", "1 100% 0 top"},
                 {"Page_Up", "1 100% 0 top"},
                 {"End", "4 100% 0 top"},
                 {"n", "4 100% 0 top"},
                 {"Home", "1 100% 0 top"},
                 {"space", "1 100% 0 bottom"},
                 {"space", "2 100% 0 top"},
                 {"BackSpace", "1 100% 0 bottom"},
                 {"BackSpace", "1 100% 0 top"},
                 {"Down", "1 100% 0 110"},
                 {"Down", "1 100% 0 220"},
                 {"Up", "1 100% 0 110"},
                 {"wheel down", "1 100% 0 220"},
                 {"wheel up", "1 100% 0 110"},
                 {"Home", "1 100% 0 110"},
                 {"Up", "1 100% 0 top"},
                 {"plus", "1 100% 0 top"},
                 {"minus", "1 75% 0 top"},
                 {"KP_Subtract", "1 50% 0 top"},
                 {"minus", "1 50% 0 top"},
                 {"KP_Add", "1 75% 0 top"},
                 {"r", "1 75% 270 top"},
                 {"r", "1 75% 180 top"},
                 {"R", "1 75% 270 top"},
                 {"R", "1 75% 0 top"},
                 {"R", "1 75% 90 top"},
                 {"plus", "1 100% 90 top"}});
}

TEST_F(Keys, TheToggleOfTheScaleComesOnWithTheKey) {
  const Viewer viewer({document}, {"XKEYSYMDB=none"});
  press(viewer, {{"minus", "1 75% 0 top"}});
  const Area area = area_of(viewer.window());
  click(area.x + 48, area.y + 182);  // the toggle "100%": one that is still on would do nothing
  EXPECT_EQ(viewer.shows("1 100% 0 top"), "1 100% 0 top");
}

TEST_F(Keys, AUsersResourcesStandAboveTheDefaults) {
  const std::string resources = dir.write(
      "resources",
      "Tolvane*HorScrollBar.accelerators:\n"
      "*next_chunk.accelerators: #override <Key>x: ArmAndActivate()\n"
      "Tolvane*tolvane_form.accelerators: #override \\n <Key>osfRight: tn-next-page() \\n <Key>q: tn-dismiss()\n");
  Viewer viewer({document}, {"XKEYSYMDB=none", "XENVIRONMENT=" + resources});
  press(viewer, {{"Right", "2 100% 0 top"},
                 {"n", "2 100% 0 top"},
                 {"x", "2 100% 0 bottom"},
                 {"Up", "2 100% 0 304"},  // what the user leaves alone stays
                 {"x", "2 100% 0 bottom"}});
  press_key("q");
  EXPECT_EQ(viewer.program.wait(), 0);
}

TEST_F(Keys, TheInstalledResourceFileRepeatsTheDefaults) {
  XrmInitialize();
  std::string defaults;
  for (const char *const *lines : {tolvane::tn_fallbacks, tolvane::default_keys})
    for (; *lines; ++lines) defaults += std::string(*lines) + "\n";
  EXPECT_EQ(lines_of(XrmGetFileDatabase(TOLVANE_SOURCE_DIR "/packaging/Tolvane")),
            lines_of(XrmGetStringDatabase(defaults.c_str())));
}
