// The texts that the program gives about itself, and the ways out of the process behind them.
#pragma once

namespace tolvane {

/// Gives the revision stamp of the program, whose version the texts show; it must outlive them.
void set_program_stamp(const char *stamp);

/// The usage text on standard error, exit status 1.
[[noreturn]] void tolvane_syntax();

/// The version line on standard error, exit status 0.
[[noreturn]] void tolvane_revinfo();

/// The version line and the date of the version on standard error, exit status 0.
[[noreturn]] void undoc_tolvane_syntax();

}  // namespace tolvane
