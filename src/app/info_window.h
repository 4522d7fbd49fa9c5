// The small window that names the fax shown: two viewers otherwise look alike.
#pragma once

#include <string>

#include <X11/Intrinsic.h>

namespace tolvane {

/// Shows name, sender, date, subject and page count of the fax shown, in a dialog of the visible shell; closes it if it
/// is up. The user closes it with Escape or through the window manager too.
/// @return the dialog if this call has made it, so that the caller can install keys in it; else null
Widget toggle_info_window();

/// Shows the values of another file, if the window is up.
void update_info_window();

/// Closes the window, if it is up.
void close_info_window();

/// A value of a header as the window shows it, in ISO 8859-1, the encoding of the fonts: UTF-8 is converted, any other
/// text taken as it is. Control characters become blanks. The text is broken into lines of at most 50 characters, after
/// a word if possible, and cut, with an ellipsis, after 4 lines. An empty value is shown as "-".
/// @return the lines, each with its line feed except the last
std::string info_lines(const std::string &value);

}  // namespace tolvane
