// Drag and drop: a file dropped onto the window is shown (X drag and drop, version 5: the protocol of the desktops).
#pragma once

#include <string>

#include <X11/Intrinsic.h>

namespace tolvane {

/// Offers the realised shell as a place to drop files, and from then on shows the first file of this host in what is
/// dropped, like the command "newfile".
void accept_dropped_files(Widget shell);

/// The path in the first URI of a list (text/uri-list, RFC 2483) that names a file of this host (RFC 8089).
/// @param host  the name of this host, accepted in a URI as "localhost" and no name are
/// @return empty if there is none
std::string first_local_file(const std::string &list, const std::string &host);

}  // namespace tolvane
