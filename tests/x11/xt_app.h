// An Xt application inside the test process, for tests that hold widgets in their hands. One serves the process.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "x11/display.h"
#include "ui/motif_values.h"

#include <Xm/Xm.h>

struct XtApp {
  XtAppContext context = nullptr;
  Display *display = nullptr;
  /// Never popped up: the parent of dialogs, as in the program.
  Widget hidden_shell = nullptr;
  /// Every warning of the toolkit since a test cleared them, each followed by the words that belong into it.
  std::vector<std::string> warnings;

  /// A shell of its own for a test's widgets, at the place where the program puts its window.
  Widget make_shell(const char *title) const;

  /// Serves events until `condition` holds or the time is over.
  bool process_until(const std::function<bool()> &condition) const;
  /// Serves what is pending, and what the server has sent by the time it has answered.
  void process_pending() const;
};

/// Opened at the first call, with the viewer's fallback resources, label converters and widget helpers.
XtApp &xt_app();

/// A compound string written out: > and < changes of direction, [text], #tag where it is not the default, / a line
/// break. Motif joins texts of one tag.
std::string written(XmString string);
/// The same of a label.
std::string written(Widget w, const char *name);
