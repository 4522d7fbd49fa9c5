#include <algorithm>
#include <cstring>
#include <sstream>

#include "x11/xt_app.h"
#include "ui/motif_tree.h"
#include "ui/widgets.h"
#include "ui/window/bx_tolvane_create_gui.h"

#include <X11/IntrinsicP.h>
#include <Xm/XmAll.h>

using namespace tolvane;

namespace {

// Name, class, parent, managed, label (_ is a blank, / a line break); for children of the form what holds their top,
// bottom, left and right side: a neighbour, with "=" one that it is flush with, and the offset; resources, where H is
// highlightThickness=0 and M marginHeight=3.
const char WIDGETS[] = R"(dismiss_print_buttons XmRowColumn tolvane_form + - | - form+5 form+25 - | rowColumnType=0
fax_menubar XmRowColumn tolvane_form - - | form+5 - form+5 - | marginWidth=0 marginHeight=0 rowColumnType=1
fax_ops XmRowColumn tolvane_form - - | - form+3 form+6 - | spacing=5 entryAlignment=1 packing=1 rowColumnType=0
scale_label XmLabel tolvane_form + Scale: | - scale_frame+2 =scale_frame+0 - | H M
scale_frame XmFrame tolvane_form + - | prev_chunk+31 - form+19 - | marginHeight=3
view_down XmArrowButton tolvane_form + - | view_up+32 - =view_up+0 - | H arrowDirection=1 width=32 height=32
view_right XmArrowButton tolvane_form + - | view_up+0 - view_up+0 - | H arrowDirection=3 width=32 height=32
view_left XmArrowButton tolvane_form + - | view_up+0 - - view_up+0 | H arrowDirection=2 width=32 height=32
view_up XmArrowButton tolvane_form + - | scale_frame+33 - form+37 - | H arrowDirection=0 width=32 height=32
orientation_label XmLabel tolvane_form + Orientation: | - view_up+3 =view_left+0 - | H M
lines_textfield XmLabel tolvane_form + 2101_lines | res_textfield+0 - form+20 - | H M recomputeSize=0
res_textfield XmLabel tolvane_form + High_Res | view_down+8 - form+22 - | H M recomputeSize=0 height=20
next_chunk XmArrowButton tolvane_form + - | =prev_chunk+0 - prev_chunk+10 - | H arrowDirection=1 width=35 height=35
scale XmScale tolvane_form + - | pages_label+3 - form+5 scrolled_window+5 | H maximum=10 minimum=1 width=94
prev_chunk XmArrowButton tolvane_form + - | scale+33 - form+10 - | H arrowDirection=0 width=35 height=35
browser_label XmLabel tolvane_form + Browse: | - prev_chunk+2 form+10 - | H M
pages_label XmLabel tolvane_form + Pages: | fax_menubar+5 - form+10 - | H M
scrolled_window XmScrolledWindow tolvane_form + - | form+0 form+0 form+104 form+0 | scrollingPolicy=0
drawing_area XmDrawingArea ClipWindow + - | | width=892 height=863
scale_area XmRowColumn scale_frame + - | | radioAlwaysOne=1 radioBehavior=1 spacing=0 packing=2
scale_100 XmToggleButton scale_area + 100% | | H M set=1
scale_75 XmToggleButton scale_area + 75% | | H M set=0
scale_50 XmToggleButton scale_area + 50% | | H M set=0
send_fax XmPushButton fax_ops + Send_Fax | | H alignment=1
save_fax XmPushButton fax_ops + Save_Fax/(don't_send) | | H alignment=1
discard_fax XmPushButton fax_ops + Discard_Fax | | H alignment=1
fax_cascade XmCascadeButton fax_menubar + Fax_Options | |
fax_menu XmRowColumn fax_menuMenuShell - - | | tearOffModel=0 rowColumnType=2
tn_print XmPushButton fax_menu + Print | |
tn_print_props XmPushButton fax_menu + Print_Properties... | |
tn_attach XmPushButton fax_menu + Add_to_Attachments | |
tn_delete XmPushButton fax_menu + Delete_Fax(es) | |
tn_rename XmPushButton fax_menu + Rename_Fax... | |
tn_send_original XmPushButton fax_menu + Send_to_Original_Recipient(s) | |
tn_send_selected XmPushButton fax_menu + Send_to_Selected_Recipient(s) | |
tn_route XmPushButton fax_menu + Route_Fax(es)... | |
print_button XmPushButton dismiss_print_buttons + Print | | H M
dismiss_button XmPushButton dismiss_print_buttons + Dismiss | | H M)";

const char *const SIDES[] = {"top", "bottom", "left", "right"};

std::string side_of(Widget w, const std::string &side) {
  const auto attachment = resource<unsigned char>(w, (side + "Attachment").c_str());
  const std::string offset = "+" + std::to_string(resource<int>(w, (side + "Offset").c_str()));
  if (attachment == XmATTACH_NONE) return "-";
  if (attachment == XmATTACH_FORM) return "form" + offset;
  return (attachment == XmATTACH_WIDGET ? "" : "=") +
         std::string(XtName(resource<Widget>(w, (side + "Widget").c_str()))) + offset;
}

struct MainWindow : testing::Test {
  XtApp &app_ = xt_app();
  Widget shell_ = app_.make_shell("TolVane");
  Widget form_ = Createtolvane_form(shell_);

  void TearDown() override {
    XtDestroyWidget(shell_);
    app_.process_pending();
  }
};

}  // namespace

TEST_F(MainWindow, HasTheWidgetsWithTheirResources) {
  std::istringstream lines(WIDGETS);
  for (std::string line; std::getline(lines, line);) {
    SCOPED_TRACE(line);
    std::istringstream words(line);
    std::string name, type, parent, managed, label, word;
    words >> name >> type >> parent >> managed >> label >> word;
    Widget w = search_widget_by_name(form_, name.c_str());
    ASSERT_TRUE(w);
    EXPECT_EQ(XtClass(w)->core_class.class_name, type);
    EXPECT_EQ(XtName(XtParent(w)), parent);
    EXPECT_EQ(XtIsManaged(w), managed == "+");
    if (label != "-") {
      std::string text = written(w, XmNlabelString);
      std::erase_if(text, [](char c) { return strchr("<>[]", c); });
      std::ranges::replace(text, ' ', '_');
      EXPECT_EQ(text, label);
    }
    for (const char *const *side = SIDES; words >> word && word != "|"; side++) EXPECT_EQ(side_of(w, *side), word);
    while (words >> word) {
      if (word == "H") word = "highlightThickness=0";
      if (word == "M") word = "marginHeight=3";
      const size_t equals = word.find('=');
      // The widget holds the number in 1, 2 or 4 bytes: the low ones, as on all hosts of ours.
      EXPECT_EQ(std::to_string(resource<XtArgVal>(w, word.substr(0, equals).c_str())), word.substr(equals + 1));
    }
  }
}

TEST_F(MainWindow, GivesTheRoomOfALargerWindowToThePage) {
  XtManageChild(form_);
  XtPopup(shell_, XtGrabNone);
  ASSERT_TRUE(app_.process_until([&] { return is_viewable(XtWindow(drawing_area)); }));
  for (const int larger : {0, 200}) {
    XtVaSetValues(shell_, XmNwidth, 940 + larger, XmNheight, 735 + larger, nullptr);
    EXPECT_TRUE(app_.process_until([&] {
      const Area form = area_of(form_), buttons = area_of(dismiss_print_buttons);
      return area_of(scrolled_window) == Area{form.x + 104, form.y, 836 + larger, 735 + larger} &&
             area_of(view_left).x == form.x + 5 && buttons.y + buttons.height == form.y + 730 + larger;
    })) << larger;
  }
}
