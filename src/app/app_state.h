// The shared state of the application: the application context and the names for the print program. Nothing else is
// here, so that other modules need not depend on the start-up.
#pragma once

#include <cstddef>

#include <X11/Intrinsic.h>

namespace tolvane {

/// The application context, null before the start. A parent program without a context of its own runs its loop on it.
extern XtAppContext tn_context;

constexpr size_t NAME_SIZE = 100;  ///< bytes of Printer_name and Server_name, including the terminator
/// Argument of "-p", passed to the print program; may be empty.
extern char Printer_name[NAME_SIZE];
/// Argument of "-s", passed to the print program. Without the switch: stand-alone the host name, embedded empty.
extern char Server_name[NAME_SIZE];

}  // namespace tolvane
