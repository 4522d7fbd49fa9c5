#include "x11/xt_app.h"

#include "ui/bx_tolvane_create_gui.h"
#include "ui/motif_utils.h"
#include "ui/widgets.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <sstream>

#include <X11/IntrinsicP.h>
#include <Xm/XmAll.h>

using namespace tolvane;

namespace {

// In the order of creation: name, class, parent, managed, handle, label (_ is a blank, / a line break); for children of
// the form what holds their top, bottom, left and right side: a neighbour, with "=" one that it is flush with, and the
// offset; resources, where H is highlightThickness=0 and M marginHeight=3.
const char WIDGETS[] = R"(dismiss_print_buttons XmRowColumn tolvane_form + h - | - form+5 form+25 - | rowColumnType=0
fax_menubar XmRowColumn tolvane_form - h - | form+5 - form+5 - | marginWidth=0 marginHeight=0 rowColumnType=1
fax_ops XmRowColumn tolvane_form - h - | - form+3 form+6 - | spacing=5 entryAlignment=1 packing=1 rowColumnType=0
scale_label XmLabel tolvane_form + - Scale: | - scale_frame+2 =scale_frame+0 - | H M
scale_frame XmFrame tolvane_form + - - | prev_chunk+31 - form+19 - | marginHeight=3
view_down XmArrowButton tolvane_form + h - | view_up+32 - =view_up+0 - | H arrowDirection=1 width=32 height=32
view_right XmArrowButton tolvane_form + h - | view_up+0 - view_up+0 - | H arrowDirection=3 width=32 height=32
view_left XmArrowButton tolvane_form + h - | view_up+0 - - view_up+0 | H arrowDirection=2 width=32 height=32
view_up XmArrowButton tolvane_form + h - | scale_frame+33 - form+37 - | H arrowDirection=0 width=32 height=32
orientation_label XmLabel tolvane_form + - Orientation: | - view_up+3 =view_left+0 - | H M
lines_textfield XmLabel tolvane_form + h 2101_lines | res_textfield+0 - form+20 - | H M recomputeSize=0
res_textfield XmLabel tolvane_form + h High_Res | view_down+8 - form+22 - | H M recomputeSize=0 height=20
next_chunk XmArrowButton tolvane_form + h - | =prev_chunk+0 - prev_chunk+10 - | H arrowDirection=1 width=35 height=35
scale XmScale tolvane_form + h - | pages_label+3 - form+5 scrolled_window+5 | H maximum=10 minimum=1)"
                       R"( orientation=2 showValue=1 scaleMultiple=1 width=94
prev_chunk XmArrowButton tolvane_form + h - | scale+33 - form+10 - | H arrowDirection=0 width=35 height=35
browser_label XmLabel tolvane_form + - Browse: | - prev_chunk+2 form+10 - | H M
pages_label XmLabel tolvane_form + h Pages: | fax_menubar+5 - form+10 - | H M
scrolled_window XmScrolledWindow tolvane_form + h - | form+0 form+0 form+104 form+0 | scrollingPolicy=0
drawing_area XmDrawingArea ClipWindow + h - | | width=892 height=863
scale_area XmRowColumn scale_frame + - - | | radioAlwaysOne=1 radioBehavior=1 marginHeight=3)"
                       R"( spacing=0 entryAlignment=0 packing=2
scale_100 XmToggleButton scale_area + h 100% | | H M set=1
scale_75 XmToggleButton scale_area + h 75% | | H M set=0
scale_50 XmToggleButton scale_area + h 50% | | H M set=0
send_fax XmPushButton fax_ops + - Send_Fax | | H alignment=1
save_fax XmPushButton fax_ops + - Save_Fax/(don't_send) | | H alignment=1
discard_fax XmPushButton fax_ops + - Discard_Fax | | H alignment=1
fax_cascade XmCascadeButton fax_menubar + - Fax_Options | |
fax_menu XmRowColumn fax_menuMenuShell - - - | | tearOffModel=0 rowColumnType=2
tn_print XmPushButton fax_menu + - Print | |
tn_print_props XmPushButton fax_menu + - Print_Properties... | |
tn_attach XmPushButton fax_menu + - Add_to_Attachments | |
tn_delete XmPushButton fax_menu + - Delete_Fax(es) | |
tn_rename XmPushButton fax_menu + - Rename_Fax... | |
tn_send_original XmPushButton fax_menu + - Send_to_Original_Recipient(s) | |
tn_send_selected XmPushButton fax_menu + - Send_to_Selected_Recipient(s) | |
tn_route XmPushButton fax_menu + h Route_Fax(es)... | |
print_button XmPushButton dismiss_print_buttons + h Print | | H M
dismiss_button XmPushButton dismiss_print_buttons + h Dismiss | | H M)";

const char *const SIDES[] = {"top", "bottom", "left", "right"};

/// A numeric resource, which the widget holds in 1, 2 or 4 bytes: the low ones, as on all hosts of ours.
std::string number(Widget w, const std::string &name) {
  return std::to_string(resource<XtArgVal>(w, name));
}

std::string label_of(Widget w) {
  std::string text = written(w, XmNlabelString);
  std::erase_if(text, [](char c) { return strchr("<>[]", c); });
  std::replace(text.begin(), text.end(), ' ', '_');
  return text;
}

std::string side_of(Widget w, const std::string &side) {
  const auto attachment = resource<unsigned char>(w, side + "Attachment");
  const std::string offset = "+" + std::to_string(resource<int>(w, side + "Offset"));
  if (attachment == XmATTACH_NONE) return "-";
  if (attachment == XmATTACH_FORM) return "form" + offset;
  return (attachment == XmATTACH_WIDGET ? "" : "=") + std::string(XtName(resource<Widget>(w, side + "Widget"))) +
         offset;
}

struct MainWindow : testing::Test {
  XtApp &app_ = xt_app();
  Widget shell_ = app_.make_shell("TolVane");
  Widget form_ = Createtolvane_form(shell_);

  Widget find(const std::string &name) const { return search_widget_by_name(form_, name.c_str()); }

  /// Where a widget stands in the form.
  std::array<int, 4> place_of(Widget w) const {
    const Area area = area_of(w), form = area_of(form_);
    return {area.x - form.x, area.y - form.y, area.width, area.height};
  }

  void TearDown() override {
    XtDestroyWidget(shell_);
    app_.process_pending();
  }
};

}  // namespace

TEST_F(MainWindow, HasTheWidgetsInOrderWithTheirResources) {
  EXPECT_EQ(form_, tolvane_form);
  EXPECT_FALSE(XtIsManaged(form_));
  EXPECT_EQ(number(form_, XmNmarginHeight) + number(form_, XmNresizePolicy), "31");
  std::map<Widget, std::string> children;
  std::string with_handle, handles;
  std::istringstream lines(WIDGETS);
  for (std::string line; std::getline(lines, line);) {
    SCOPED_TRACE(line);
    std::istringstream words(line);
    std::string name, type, parent, managed, handle, label, word;
    words >> name >> type >> parent >> managed >> handle >> label >> word;
    Widget w = find(name);
    ASSERT_TRUE(w);
    children[XtParent(w)] += " " + name;
    if (handle == "h") with_handle += " " + name;
    EXPECT_EQ(XtClass(w)->core_class.class_name, type);
    EXPECT_EQ(XtName(XtParent(w)), parent);
    EXPECT_EQ(XtIsManaged(w), managed == "+");
    EXPECT_EQ(label == "-" ? "-" : label_of(w), label);
    for (const char *const *side = SIDES; words >> word && word != "|"; side++) EXPECT_EQ(side_of(w, *side), word);
    while (words >> word) {
      if (word == "H") word = "highlightThickness=0";
      if (word == "M") word = "marginHeight=3";
      const size_t equals = word.find('=');
      EXPECT_EQ(number(w, word.substr(0, equals)), word.substr(equals + 1));
    }
  }
  for (const auto &[parent, expected] : children) {
    const auto list = resource<WidgetList>(parent, XmNchildren);
    std::string names;
    for (Cardinal i = 0; i < resource<Cardinal>(parent, XmNnumChildren); i++)
      names += std::string(" ") + XtName(list[i]);
    EXPECT_NE(names.find(expected), std::string::npos) << names << " should hold" << expected;
  }
  for (Widget w :
       {dismiss_print_buttons, fax_menubar,   fax_ops,    view_down, view_right, view_left,    view_up,
        lines_textfield,       res_textfield, next_chunk, scale,     prev_chunk, pages_label,  scrolled_window,
        drawing_area,          scale_100,     scale_75,   scale_50,  tn_route,   print_button, dismiss_button}) {
    handles += std::string(" ") + XtName(w);
  }
  EXPECT_EQ(handles, with_handle);
  EXPECT_EQ(resource<Widget>(find("fax_cascade"), XmNsubMenuId), find("fax_menu"));
  EXPECT_EQ(XtParent(XtParent(find("fax_menu"))), fax_menubar);
}

TEST_F(MainWindow, GivesTheRoomOfALargerWindowToThePage) {
  XtManageChild(form_);
  XtPopup(shell_, XtGrabNone);
  ASSERT_TRUE(app_.process_until([&] { return is_viewable(XtWindow(drawing_area)); }));
  for (const int larger : {0, 200}) {
    XtVaSetValues(shell_, XmNwidth, 940 + larger, XmNheight, 735 + larger, nullptr);
    const std::array<int, 4> page = {104, 0, 836 + larger, 735 + larger};
    EXPECT_TRUE(app_.process_until([&] { return place_of(scrolled_window) == page; }));
    EXPECT_EQ(place_of(view_left)[0], 5);
    const auto buttons = place_of(dismiss_print_buttons);
    EXPECT_EQ(buttons[1] + buttons[3], 730 + larger);
  }
}
