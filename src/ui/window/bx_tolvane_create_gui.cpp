// The window as data: a row for each widget in the order of creation, a row for each child of the form with the sides
// it is attached by, and one procedure that builds a row. What the controls do is in the callbacks.
// The order of the rows matters: the form lays out its children, and the keyboard traverses them, in the order of
// creation.
#include "ui/window/bx_tolvane_create_gui.h"

#include <initializer_list>
#include <span>

#include "ui/bx_tolvane_utils.h"
#include "ui/widgets.h"
#include "ui/window/bx_tolvane_callbacks.h"

#include <Xm/XmAll.h>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|bx_tolvane_create_gui|9|01|2|0|0|11/23/26|06:29:09";

// The window being built: its shell, and the widgets that only other rows refer to.
Widget shell;
Widget scale_label, scale_frame, orientation_label, browser_label, scale_area;
Widget fax_cascade, fax_menuMenuShell, fax_menu;

struct Resource {
  const char *name;
  XtArgVal value;
};

struct Callback {
  const char *reason;
  XtCallbackProc procedure;
};

constexpr size_t MOST_RESOURCES = 10;

struct Row {
  const char *name;
  Widget *handle;  ///< receives the widget; null if no code needs it
  const WidgetClass &type;
  Widget &parent;
  bool managed;
  const char *label;  ///< in the label language; null for a widget without one
  Resource resources[MOST_RESOURCES];
  Callback callback;
};

constexpr bool MANAGED = true, UNMANAGED = false;
constexpr const char *NO_LABEL = nullptr;
constexpr Widget *NO_HANDLE = nullptr;

// clang-format off

const Row WINDOW[] = {
    {"tolvane_form", &tolvane_form, xmFormWidgetClass, shell, UNMANAGED, NO_LABEL,
     {{XmNmarginHeight, 3}, {XmNresizePolicy, XmRESIZE_GROW}, {XmNx, 184}, {XmNy, 149}, {XmNwidth, 940},
      {XmNheight, 735}},
     {XmNdestroyCallback, bx_destroy_form_cb}},
    {"dismiss_print_buttons", &dismiss_print_buttons, xmRowColumnWidgetClass, tolvane_form, MANAGED, NO_LABEL,
     {{XmNrowColumnType, XmWORK_AREA}}, {}},
    {"fax_menubar", &fax_menubar, xmRowColumnWidgetClass, tolvane_form, UNMANAGED, NO_LABEL,
     {{XmNmarginWidth, 0}, {XmNmarginHeight, 0}, {XmNrowColumnType, XmMENU_BAR}, {XmNx, 5}, {XmNy, 5}, {XmNwidth, 86},
      {XmNheight, 25}}, {}},
    {"fax_ops", &fax_ops, xmRowColumnWidgetClass, tolvane_form, UNMANAGED, NO_LABEL,
     {{XmNspacing, 5}, {XmNentryAlignment, XmALIGNMENT_CENTER}, {XmNpacking, XmPACK_TIGHT},
      {XmNrowColumnType, XmWORK_AREA}, {XmNx, 6}, {XmNy, 630}, {XmNwidth, 74}, {XmNheight, 110}}, {}},
    {"scale_label", &scale_label, xmLabelWidgetClass, tolvane_form, MANAGED, "Scale:",
     {{XmNhighlightThickness, 0}, {XmNmarginHeight, 3}, {XmNy, 135}}, {}},
    {"scale_frame", &scale_frame, xmFrameWidgetClass, tolvane_form, MANAGED, NO_LABEL,
     {{XmNmarginHeight, 3}, {XmNx, 19}}, {}},
    {"view_down", &view_down, xmArrowButtonWidgetClass, tolvane_form, MANAGED, NO_LABEL,
     {{XmNhighlightThickness, 0}, {XmNarrowDirection, XmARROW_DOWN}, {XmNwidth, 32}, {XmNheight, 32}},
     {XmNactivateCallback, bx_view_down_cb}},
    {"view_right", &view_right, xmArrowButtonWidgetClass, tolvane_form, MANAGED, NO_LABEL,
     {{XmNhighlightThickness, 0}, {XmNarrowDirection, XmARROW_RIGHT}, {XmNwidth, 32}, {XmNheight, 32}},
     {XmNactivateCallback, bx_view_right_cb}},
    {"view_left", &view_left, xmArrowButtonWidgetClass, tolvane_form, MANAGED, NO_LABEL,
     {{XmNhighlightThickness, 0}, {XmNarrowDirection, XmARROW_LEFT}, {XmNx, 5}, {XmNwidth, 32}, {XmNheight, 32}},
     {XmNactivateCallback, bx_view_left_cb}},
    {"view_up", &view_up, xmArrowButtonWidgetClass, tolvane_form, MANAGED, NO_LABEL,
     {{XmNhighlightThickness, 0}, {XmNx, 37}, {XmNwidth, 32}, {XmNheight, 32}},
     {XmNactivateCallback, bx_view_up_cb}},
    {"orientation_label", &orientation_label, xmLabelWidgetClass, tolvane_form, MANAGED, "Orientation:",
     {{XmNhighlightThickness, 0}, {XmNmarginHeight, 3}, {XmNy, 261}}, {}},
    {"lines_textfield", &lines_textfield, xmLabelWidgetClass, tolvane_form, MANAGED, "2101 lines",
     {{XmNhighlightThickness, 0}, {XmNmarginHeight, 3}, {XmNrecomputeSize, False}, {XmNx, 20}}, {}},
    {"res_textfield", &res_textfield, xmLabelWidgetClass, tolvane_form, MANAGED, "High Res",
     {{XmNhighlightThickness, 0}, {XmNmarginHeight, 3}, {XmNrecomputeSize, False}, {XmNx, 22}, {XmNheight, 20}}, {}},
    {"next_chunk", &next_chunk, xmArrowButtonWidgetClass, tolvane_form, MANAGED, NO_LABEL,
     {{XmNhighlightThickness, 0}, {XmNarrowDirection, XmARROW_DOWN}, {XmNwidth, 35}, {XmNheight, 35}},
     {XmNactivateCallback, bx_next_chunk_cb}},
    {"scale", &scale, xmScaleWidgetClass, tolvane_form, MANAGED, NO_LABEL,
     {{XmNhighlightThickness, 0}, {XmNmaximum, 10}, {XmNminimum, 1}, {XmNorientation, XmHORIZONTAL},
      {XmNshowValue, True}, {XmNscaleMultiple, 1}, {XmNx, 5}, {XmNwidth, 94}, {XmNheight, 30}},
     {XmNvalueChangedCallback, bx_scale_cb}},
    {"prev_chunk", &prev_chunk, xmArrowButtonWidgetClass, tolvane_form, MANAGED, NO_LABEL,
     {{XmNhighlightThickness, 0}, {XmNarrowDirection, XmARROW_UP}, {XmNx, 10}, {XmNwidth, 35}, {XmNheight, 35}},
     {XmNactivateCallback, bx_prev_chunk_cb}},
    {"browser_label", &browser_label, xmLabelWidgetClass, tolvane_form, MANAGED, "Browse:",
     {{XmNhighlightThickness, 0}, {XmNmarginHeight, 3}, {XmNx, 10}, {XmNy, 69}}, {}},
    {"pages_label", &pages_label, xmLabelWidgetClass, tolvane_form, MANAGED, "Pages:",
     {{XmNhighlightThickness, 0}, {XmNmarginHeight, 3}, {XmNx, 10}}, {}},
    {"scrolled_window", &scrolled_window, xmScrolledWindowWidgetClass, tolvane_form, MANAGED, NO_LABEL,
     {{XmNscrollingPolicy, XmAUTOMATIC}, {XmNx, 104}, {XmNy, 0}, {XmNwidth, 836}, {XmNheight, 735}}, {}},
    {"drawing_area", &drawing_area, xmDrawingAreaWidgetClass, scrolled_window, MANAGED, NO_LABEL,
     {{XmNwidth, 892}, {XmNheight, 863}},
     {XmNexposeCallback, bx_draw_expose_cb}},
};

const Row SCALE_TOGGLES[] = {
    {"scale_area", &scale_area, xmRowColumnWidgetClass, scale_frame, MANAGED, NO_LABEL,
     {{XmNradioAlwaysOne, True}, {XmNradioBehavior, True}, {XmNmarginHeight, 3}, {XmNspacing, 0},
      {XmNentryAlignment, XmALIGNMENT_BEGINNING}, {XmNpacking, XmPACK_COLUMN}, {XmNx, 2}, {XmNy, 5}, {XmNwidth, 54},
      {XmNheight, 84}}, {}},
    {"scale_100", &scale_100, xmToggleButtonWidgetClass, scale_area, MANAGED, "100%",
     {{XmNhighlightThickness, 0}, {XmNmarginHeight, 3}, {XmNset, True}, {XmNwidth, 48}, {XmNheight, 26}},
     {XmNvalueChangedCallback, bx_scale_100_cb}},
    {"scale_75", &scale_75, xmToggleButtonWidgetClass, scale_area, MANAGED, "75%",
     {{XmNhighlightThickness, 0}, {XmNmarginHeight, 3}, {XmNwidth, 48}, {XmNheight, 26}},
     {XmNvalueChangedCallback, bx_scale_75_cb}},
    {"scale_50", &scale_50, xmToggleButtonWidgetClass, scale_area, MANAGED, "50%",
     {{XmNhighlightThickness, 0}, {XmNmarginHeight, 3}, {XmNwidth, 48}, {XmNheight, 26}},
     {XmNvalueChangedCallback, bx_scale_50_cb}},
};

// The controls of the embedded faces. Their groups stay unmanaged until tn_configure_window chooses a face.
const Row FAX_OPERATIONS[] = {
    {"send_fax", NO_HANDLE, xmPushButtonWidgetClass, fax_ops, MANAGED, "Send Fax",
     {{XmNhighlightThickness, 0}, {XmNalignment, XmALIGNMENT_CENTER}},
     {XmNactivateCallback, bx_send_preview_fax_cb}},
    {"save_fax", NO_HANDLE, xmPushButtonWidgetClass, fax_ops, MANAGED, ":::t\"Save Fax\"\"(don't send)\"",
     {{XmNhighlightThickness, 0}, {XmNalignment, XmALIGNMENT_CENTER}},
     {XmNactivateCallback, bx_save_preview_fax_cb}},
    {"discard_fax", NO_HANDLE, xmPushButtonWidgetClass, fax_ops, MANAGED, "Discard Fax",
     {{XmNhighlightThickness, 0}, {XmNalignment, XmALIGNMENT_CENTER}},
     {XmNactivateCallback, bx_discard_preview_fax_cb}},
    {"fax_cascade", &fax_cascade, xmCascadeButtonWidgetClass, fax_menubar, MANAGED, "Fax Options",
     {{XmNx, 2}, {XmNy, 2}, {XmNwidth, 82}, {XmNheight, 21}}, {}},
    {"fax_menuMenuShell", &fax_menuMenuShell, xmMenuShellWidgetClass, fax_menubar, UNMANAGED, NO_LABEL,
     {{XmNwidth, 1}, {XmNheight, 1}}, {}},
    {"fax_menu", &fax_menu, xmRowColumnWidgetClass, fax_menuMenuShell, UNMANAGED, NO_LABEL,
     {{XmNtearOffModel, XmTEAR_OFF_ENABLED}, {XmNrowColumnType, XmMENU_PULLDOWN}, {XmNx, 0}, {XmNy, 0},
      {XmNwidth, 186}, {XmNheight, 182}}, {}},
    {"tn_print", NO_HANDLE, xmPushButtonWidgetClass, fax_menu, MANAGED, "Print",
     {}, {XmNactivateCallback, bx_tn_print_cb}},
    {"tn_print_props", NO_HANDLE, xmPushButtonWidgetClass, fax_menu, MANAGED, "Print Properties...",
     {}, {XmNactivateCallback, bx_tn_print_props_cb}},
    {"tn_attach", NO_HANDLE, xmPushButtonWidgetClass, fax_menu, MANAGED, "Add to Attachments",
     {}, {XmNactivateCallback, bx_tn_attach_cb}},
    {"tn_delete", NO_HANDLE, xmPushButtonWidgetClass, fax_menu, MANAGED, "Delete Fax(es)",
     {}, {XmNactivateCallback, bx_tn_delete_cb}},
    {"tn_rename", NO_HANDLE, xmPushButtonWidgetClass, fax_menu, MANAGED, "Rename Fax...",
     {}, {XmNactivateCallback, bx_tn_rename_cb}},
    {"tn_send_original", NO_HANDLE, xmPushButtonWidgetClass, fax_menu, MANAGED, "Send to Original Recipient(s)",
     {}, {XmNactivateCallback, bx_tn_send_original_cb}},
    {"tn_send_selected", NO_HANDLE, xmPushButtonWidgetClass, fax_menu, MANAGED, "Send to Selected Recipient(s)",
     {}, {XmNactivateCallback, bx_tn_send_selected_cb}},
    {"tn_route", &tn_route, xmPushButtonWidgetClass, fax_menu, MANAGED, "Route Fax(es)...",
     {}, {XmNactivateCallback, bx_tn_route_cb}},
};

const Row BUTTONS[] = {
    {"print_button", &print_button, xmPushButtonWidgetClass, dismiss_print_buttons, MANAGED, "Print",
     {{XmNhighlightThickness, 0}, {XmNmarginHeight, 3}, {XmNalignment, XmALIGNMENT_CENTER}},
     {XmNactivateCallback, bx_call_ormbrix_bx}},
    {"dismiss_button", &dismiss_button, xmPushButtonWidgetClass, dismiss_print_buttons, MANAGED, "Dismiss",
     {{XmNhighlightThickness, 0}, {XmNmarginHeight, 3}, {XmNalignment, XmALIGNMENT_CENTER}},
     {XmNactivateCallback, bx_exit_cb}},
};

// clang-format on

// One side of a child of the form.
struct Side {
  int attachment = XmATTACH_NONE;
  int offset = 0;
  const Widget *other = nullptr;
};

constexpr Side free_side() {
  return {};
}
constexpr Side form(int offset) {
  return {XmATTACH_FORM, offset, nullptr};
}
// Next to a widget: a top side lies below it, a left side to the right of it, and so on.
constexpr Side beside(const Widget &other, int offset) {
  return {XmATTACH_WIDGET, offset, &other};
}
// Aligned with the same side of a widget.
constexpr Side flush(const Widget &other, int offset) {
  return {XmATTACH_OPPOSITE_WIDGET, offset, &other};
}

struct Attachments {
  Widget *widget;
  Side top, bottom, left, right;
};

// clang-format off

constexpr Attachments ATTACHMENTS[] = {
    // widget                 top                      bottom                  left                   right
    {&dismiss_print_buttons,  free_side(),             form(5),                form(25),              free_side()},
    {&fax_menubar,            form(5),                 free_side(),            form(5),               free_side()},
    {&fax_ops,                free_side(),             form(3),                form(6),               free_side()},
    {&pages_label,            beside(fax_menubar, 5),  free_side(),            form(10),              free_side()},
    {&scale,                  beside(pages_label, 3),  free_side(),            form(5),  beside(scrolled_window, 5)},
    {&browser_label,          free_side(),             beside(prev_chunk, 2),  form(10),              free_side()},
    {&prev_chunk,             beside(scale, 33),       free_side(),            form(10),              free_side()},
    {&next_chunk,             flush(prev_chunk, 0),    free_side(),            beside(prev_chunk, 10), free_side()},
    {&scale_label,            free_side(),             beside(scale_frame, 2), flush(scale_frame, 0), free_side()},
    {&scale_frame,            beside(prev_chunk, 31),  free_side(),            form(19),              free_side()},
    {&orientation_label,      free_side(),             beside(view_up, 3),     flush(view_left, 0),   free_side()},
    {&view_up,                beside(scale_frame, 33), free_side(),            form(37),              free_side()},
    {&view_left,              beside(view_up, 0),      free_side(),            free_side(),           beside(view_up, 0)},
    {&view_right,             beside(view_up, 0),      free_side(),            beside(view_up, 0),    free_side()},
    {&view_down,              beside(view_up, 32),     free_side(),            flush(view_up, 0),     free_side()},
    {&res_textfield,          beside(view_down, 8),    free_side(),            form(22),              free_side()},
    {&lines_textfield,        beside(res_textfield, 0), free_side(),           form(20),              free_side()},
    {&scrolled_window,        form(0),                 form(0),                form(104),             form(0)},
};

// clang-format on

// An argument list that fills up as a widget's row is read.
class Arguments {
 public:
  void add(const char *name, XtArgVal value) { args_[count_++] = {const_cast<char *>(name), value}; }

  // A side next to a widget that does not exist yet is attached to the form for now, with its final offset.
  void add(const Side &side, const char *attachment, const char *offset, const char *other) {
    if (side.attachment == XmATTACH_NONE) return;
    const bool later = side.other && !*side.other;
    add(attachment, static_cast<XtArgVal>(later ? XmATTACH_FORM : side.attachment));
    add(offset, static_cast<XtArgVal>(side.offset));
    if (side.other && !later) add(other, reinterpret_cast<XtArgVal>(*side.other));
  }

  // All sides of a child of the form; nothing for any other widget.
  void add_attachments(const Widget *widget) {
    for (const Attachments &row : ATTACHMENTS) {
      if (row.widget != widget) continue;
      add(row.top, XmNtopAttachment, XmNtopOffset, XmNtopWidget);
      add(row.bottom, XmNbottomAttachment, XmNbottomOffset, XmNbottomWidget);
      add(row.left, XmNleftAttachment, XmNleftOffset, XmNleftWidget);
      add(row.right, XmNrightAttachment, XmNrightOffset, XmNrightWidget);
    }
  }

  ArgList list() { return args_; }
  Cardinal count() const { return count_; }

 private:
  Arg args_[MOST_RESOURCES + 1 + 4 * 3];  // the resources, the label, three for each side
  Cardinal count_ = 0;
};

Widget create(const Row &row, Arguments &args) {
  return &row.type == &xmMenuShellWidgetClass
             ? XtCreatePopupShell(row.name, row.type, row.parent, args.list(), args.count())
             : XtCreateWidget(row.name, row.type, row.parent, args.list(), args.count());
}

void build(const Row &row) {
  Arguments args;
  for (const Resource &resource : row.resources) {
    if (resource.name) args.add(resource.name, resource.value);
  }
  // A label that cannot be converted is left out; the toolkit has printed a warning and shows its default.
  Boolean argok = False;
  XtArgVal label = 0;
  if (row.label) label = CONVERT(shell, row.label, XmRXmString, 0, &argok);
  if (argok) args.add(XmNlabelString, label);
  if (row.handle) args.add_attachments(row.handle);

  Widget widget = create(row, args);
  if (argok) XmStringFree(reinterpret_cast<XmString>(label));  // the widget has a copy
  if (row.callback.procedure) XtAddCallback(widget, row.callback.reason, row.callback.procedure, nullptr);
  if (row.managed) XtManageChild(widget);
  if (row.handle) *row.handle = widget;
}

void build(std::span<const Row> rows) {
  for (const Row &row : rows) build(row);
}

// Gives widgets their final attachments, now that the widgets they are attached to exist.
void attach(std::initializer_list<Widget *> widgets) {
  for (Widget *widget : widgets) {
    Arguments args;
    args.add_attachments(widget);
    XtSetValues(*widget, args.list(), args.count());
  }
}

// The handles of an earlier, destroyed window would be taken for existing widgets.
void forget_earlier_window() {
  for (const Attachments &row : ATTACHMENTS) *row.widget = nullptr;
}

}  // namespace

void BxRegisterConverters() {
  for (const WidgetClass type : {xmArrowButtonWidgetClass, xmCascadeButtonWidgetClass, xmPushButtonWidgetClass,
                                 xmToggleButtonWidgetClass, xmLabelWidgetClass, xmDrawingAreaWidgetClass,
                                 xmFrameWidgetClass, xmScaleWidgetClass, xmScrolledWindowWidgetClass, xmFormWidgetClass,
                                 xmRowColumnWidgetClass, topLevelShellWidgetClass, xmMenuShellWidgetClass}) {
    XtInitializeWidgetClass(type);
  }
}

Widget Createtolvane_form(Widget parent) {
  shell = parent;
  BxRegisterConverters();
  forget_earlier_window();
  build(WINDOW);
  attach({&scale, &next_chunk, &lines_textfield, &view_left, &view_right, &view_down});
  build(SCALE_TOGGLES);
  attach({&scale_frame, &scale_label});
  build(FAX_OPERATIONS);
  XtVaSetValues(fax_cascade, XmNsubMenuId, fax_menu, nullptr);
  build(BUTTONS);
  return tolvane_form;
}

}  // namespace tolvane
