// The information texts of the program; each is printed before the process ends.
#pragma once

namespace tolvane {

/// Sets the revision stamp whose version the texts show; it must remain valid.
void set_program_stamp(const char *stamp);

/// Prints the usage text on standard error and ends the process with status 1.
[[noreturn]] void tolvane_syntax();

/// Prints the version line on standard error and ends the process with status 0.
[[noreturn]] void tolvane_revinfo();

/// Prints the version line and its date on standard error and ends the process with status 0.
[[noreturn]] void undoc_tolvane_syntax();

}  // namespace tolvane
