// What the application shares: the application context and the names for the print program. Nothing else lives here, so
// that the modules below the start-up can use it without knowing the start-up.
#pragma once

#include <cstddef>

#include <X11/Intrinsic.h>

namespace tolvane {

/// The one application context; an embedding parent that brought none runs its loop on it. Null until the start.
extern XtAppContext tn_context;

constexpr size_t NAME_SIZE = 100;  ///< bytes of Printer_name and Server_name, the closing zero included
/// Argument of "-p", handed to the print program; may be empty.
extern char Printer_name[NAME_SIZE];
/// Argument of "-s", handed to the print program; stand-alone it is this host's name when the switch is absent.
extern char Server_name[NAME_SIZE];

}  // namespace tolvane
