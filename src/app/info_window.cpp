// The information window. It is made at its first use, as a popup of the visible shell, apart from the widgets of the
// form, and goes with that shell.
#include "app/info_window.h"

#include <iconv.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ui/motif_values.h"
#include "ui/widgets.h"
#include "view/small_database.h"
#include "view/view_state.h"

#include <Xm/Label.h>
#include <Xm/MessageB.h>
#include <Xm/RowColumn.h>

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|info_window|9|01|1|0|0|11/23/26|07:45:00";

constexpr size_t LINE_LENGTH = 50;  // characters
constexpr int MOST_LINES = 4;       // of one value

Widget dialog;         // null until the first use, and after the shell has gone
Widget names, values;  // the two columns

// The text in ISO 8859-1 if it is UTF-8; unchanged if it is not.
std::string latin1(std::string text) {
  const iconv_t converter = iconv_open("ISO-8859-1//TRANSLIT", "UTF-8");
  if (converter == reinterpret_cast<iconv_t>(-1)) return text;
  std::string result(2 * text.size(), '\0');  // a transliteration may be longer than its character
  char *in = text.data(), *out = result.data();
  size_t in_left = text.size(), out_left = result.size();
  const bool converted = iconv(converter, &in, &in_left, &out, &out_left) != static_cast<size_t>(-1);
  iconv_close(converter);
  result.resize(result.size() - out_left);
  return converted ? result : text;
}

bool is_control(char ch) {
  const auto code = static_cast<unsigned char>(ch);
  return code < 0x20 || (code >= 0x7f && code < 0xa0);
}

// The header's values of these keywords, those that are there.
std::string joined(std::initializer_list<const char *> keywords) {
  std::string text;
  for (const char *keyword : keywords) {
    const std::string value = find_keyword(keyword);
    if (!value.empty()) text += (text.empty() ? "" : ", ") + value;
  }
  return text;
}

void set_text(Widget label, const std::string &text) {
  const CompoundString string(XmStringCreateLtoR(const_cast<char *>(text.c_str()), XmSTRING_DEFAULT_CHARSET));
  XtVaSetValues(label, XmNlabelString, string.get(), nullptr);
}

void fill() {
  const std::pair<const char *, std::string> rows[] = {
      {"File:", Fullpath_fax_filename},        {"From:", joined({"SENDER_NAME", "SENDER_ORGANIZATION", "SENDER_FAX#"})},
      {"Date:", find_keyword("DATE")},         {"Subject:", find_keyword("SUBJECT")},
      {"Pages:", std::to_string(Total_pages)},
  };
  std::string left, right;
  for (const auto &[name, value] : rows) {
    const std::string lines = info_lines(value);
    left += name + std::string(static_cast<size_t>(std::ranges::count(lines, '\n')), '\n') + '\n';
    right += lines + '\n';
  }
  left.pop_back();
  right.pop_back();
  set_text(names, left);
  set_text(values, right);
}

void forget(Widget, XtPointer, XtPointer) {
  dialog = nullptr;
}

void make_dialog() {
  char dialog_name[] = "info";
  const CompoundString close("Close");
  Arg args[1];
  XtSetArg(args[0], XmNcancelLabelString,
           close.get());  // a template has the buttons that it is created with labels for
  dialog = XmCreateTemplateDialog(tn_Shell000, dialog_name, args, XtNumber(args));
  XtVaSetValues(XtParent(dialog), XmNtitle, "TolVane: Information", nullptr);
  XtAddCallback(dialog, XmNdestroyCallback, forget, nullptr);
  const Widget columns = XtVaCreateManagedWidget("columns", xmRowColumnWidgetClass, dialog, XmNorientation,
                                                 XmHORIZONTAL, XmNpacking, XmPACK_TIGHT, nullptr);
  names = XtVaCreateManagedWidget("names", xmLabelWidgetClass, columns, XmNalignment, XmALIGNMENT_BEGINNING, nullptr);
  values = XtVaCreateManagedWidget("values", xmLabelWidgetClass, columns, XmNalignment, XmALIGNMENT_BEGINNING, nullptr);
}

bool is_up() {
  return dialog && XtIsManaged(dialog);
}

}  // namespace

std::string info_lines(const std::string &value) {
  std::string text = latin1(value);
  std::ranges::replace_if(text, is_control, ' ');
  std::string lines;
  for (int count = 1; text.size() > LINE_LENGTH; ++count) {
    if (count == MOST_LINES) return lines + text.substr(0, LINE_LENGTH - 3) + "...";
    const size_t blank = text.find_last_of(' ', LINE_LENGTH);
    const size_t length = blank == std::string::npos || blank == 0 ? LINE_LENGTH : blank;
    lines += text.substr(0, length) + '\n';
    text.erase(0, length + (length == blank));
  }
  return lines.empty() && text.empty() ? "-" : lines + text;
}

Widget toggle_info_window() {
  if (is_up()) {
    close_info_window();
    return nullptr;
  }
  const bool made = !dialog;
  if (made) make_dialog();
  fill();
  XtManageChild(dialog);
  return made ? dialog : nullptr;
}

void update_info_window() {
  if (is_up()) fill();
}

void close_info_window() {
  if (is_up()) XtUnmanageChild(dialog);
}

}  // namespace tolvane
