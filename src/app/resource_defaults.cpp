// Colours and fonts that make the controls legible. The places of the controls are fixed in pixels, the size of a font
// in pixels depends on the display: a font is chosen by measuring.
#include "app/resource_defaults.h"

#include <ctype.h>

#include <algorithm>
#include <string>
#include <vector>

#include <X11/Xresource.h>

namespace tolvane {

// White, the toolkit's choice for the default background, has a contrast of 2.2 to it; black has one of 9.
const char *const default_colours[] = {"*foreground:\t\tblack", nullptr};

namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|resource_defaults|9|01|3|0|0|11/23/26|09:08:16";

// By Motif's own protocol nothing is dragged here. Preparing for it takes eleven round trips to the server at the
// start.
constexpr const char *const NO_AUTO_DRAG[] = {"*scrolled_window.autoDragModel: auto_drag_disabled", nullptr};

// The usual font is the one of the fallback resources. The others are smaller, each size one that the bitmap fonts for
// 75 or 100 dots per inch contain.
constexpr const char *USUAL_FONT = "-*-helvetica-bold-r-*-*-*-120-*-*-*-*-iso8859-1";
constexpr const char *SMALLER_FONTS[] = {
    "-*-helvetica-bold-r-*-*-14-*-*-*-*-*-iso8859-1",
    "-*-helvetica-bold-r-*-*-12-*-*-*-*-*-iso8859-1",
    "-*-helvetica-bold-r-*-*-11-*-*-*-*-*-iso8859-1",
    "fixed",
};

// A text that must fit its place: the value of the slider between the top of its 30 pixels and the slide; a label, a
// button or a menu title in the column of 104 pixels, without the margins around it.
struct FixedPlace {
  const char *specifier;
  const char *text;
  int width, height;
  const char *also = nullptr;  ///< goes with a smaller font
};
constexpr FixedPlace FIXED_PLACES[] = {
    {"*scale.fontList", "00000", 84, 14},
    {"*pages_label.fontList", "Pages: 00000", 92, 24, "*pages_label.marginWidth: 1"},
    {"*fax_ops*fontList", "(don't send)", 82, 30},
    {"*fax_cascade.fontList", "Fax Options", 74, 21},
};

std::vector<XFontStruct *> measured;

// A font, asked for only once however many places it is tried for.
class Font {
 public:
  Font(Display *display, const char *name) : display_(display), name_(name) {}
  const char *name() const { return name_; }

  // Whether the display has the font, not scaled from one of another size, and the text fits in it.
  bool fits(const FixedPlace &place) {
    if (!asked_) load();
    const std::string text = place.text;
    return font_ && XTextWidth(font_, text.data(), static_cast<int>(text.size())) <= place.width &&
           font_->ascent + font_->descent <= place.height;
  }

 private:
  void load() {
    asked_ = true;
    int count = 0;
    char **names = XListFonts(display_, name_, 1, &count);
    const bool scaled = count > 0 && std::string(names[0]).find("-p-0-") != std::string::npos;
    if (names) XFreeFontNames(names);
    if (count > 0 && !scaled) font_ = XLoadQueryFont(display_, name_);
    if (font_) measured.push_back(font_);
  }

  Display *display_;
  const char *name_;
  bool asked_ = false;
  XFontStruct *font_ = nullptr;
};

}  // namespace

void merge_below_user_resources(Display *display, const char *scope, const char *const *lines) {
  std::string text;
  for (; *lines; ++lines) text += std::string(scope) + *lines + '\n';
  XrmDatabase database = XtDatabase(display);
  XrmCombineDatabase(XrmGetStringDatabase(text.c_str()), &database, False);
}

std::string application_resource(Display *display, const char *name) {
  std::string class_name = name;
  class_name[0] = static_cast<char>(toupper(class_name[0]));
  char *type = nullptr;
  XrmValue value;
  const bool found = XrmGetResource(XtDatabase(display), (std::string("tolvane.") + name).c_str(),
                                    ("Tolvane." + class_name).c_str(), &type, &value);
  return found ? value.addr : "";
}

void add_default_looks(Display *display, const char *scope) {
  merge_below_user_resources(display, scope, default_colours);
  merge_below_user_resources(display, scope, NO_AUTO_DRAG);
  Font usual(display, USUAL_FONT);
  std::vector<Font> smaller;
  for (const char *name : SMALLER_FONTS) smaller.emplace_back(display, name);
  for (const FixedPlace &place : FIXED_PLACES) {
    if (usual.fits(place)) continue;
    const auto font = std::ranges::find_if(smaller, [&](Font &each) { return each.fits(place); });
    if (font == smaller.end()) continue;
    const std::string line = std::string(place.specifier) + ": " + font->name();
    const char *const lines[] = {line.c_str(), place.also, nullptr};
    merge_below_user_resources(display, scope, lines);
  }
}

void free_measured_fonts(Display *display) {
  for (XFontStruct *font : measured) XFreeFont(display, font);
  measured.clear();
}

}  // namespace tolvane
