// Printing: the viewer passes the file to a print script or program.
#pragma once

namespace tolvane {

/// Runs `tolvane_print` or else `ormbrix2`, found in SORBEXHOME, the current directory or PATH, on the fax file shown,
/// with Server_name and Printer_name. Blocks until the command ends; its exit status is ignored.
///
/// @return 0 if the command was started; 1, after a message on standard error, if neither exists, a name contains
///         special characters, the line is too long, or the shell could not be started
int tn_call_ormbrix();

}  // namespace tolvane
