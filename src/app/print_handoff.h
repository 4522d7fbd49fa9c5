// Printing: the viewer hands the file on to a print script or program and prints nothing itself.
#pragma once

namespace tolvane {

/// Runs `tolvane_print` or else `ormbrix2`, found in SORBEXHOME, the current directory or PATH, on the fax file shown,
/// with Server_name and Printer_name. Blocks until the command has ended; what it exits with is not looked at.
///
/// @return 0 when the command was started; 1, after a message on standard error, when neither exists, a name cannot
///         stand in a command line, the line is too long, or the shell could not be started
int tn_call_ormbrix();

}  // namespace tolvane
