// The switching half of the trace log: the text file TRACES says which program traces, whether, and where to.
//
// A program calls `tr_init` once with its own directory and the one for trace files, then `open_trace_file` with its
// name, and again whenever it wants an edited TRACES to take effect:
//
//   tr_init(directory_of_the_program, get_temp_dir());
//   open_trace_file("tolvane");
//   ...
//   open_trace_file("tolvane");  // before each page, say; a `stat` per place as long as TRACES has not changed
//   trprintf("page %d: %d lines\n", page, lines);
//
// Lines of TRACES: `program [on|off [output [mode]]]`, `#` begins a comment, `-` leaves a field to its default (on, the
// program's name, append). The output is "stdout", "stderr", an absolute path, or a name: trace_<name> in the directory
// for trace files. A mode that begins with O overwrites. The first line of the program decides.
#pragma once

#include <sys/stat.h>

namespace tolvane {

/// Gives the directory of the program, where TRACES is looked for, and the directory for trace files.
///
/// @return 1, or 0 with nothing changed if it has been called before, a trace is open, or a directory is null, empty or
///         longer than a path may be
int tr_init(const char *exec_dir, const char *work_dir);

/// Closes the trace and forgets the directories. A trace that was open stays marked so (`Trace_on`): `tr_init` is then
/// refused for the rest of the process.
///
/// @return 1
int tr_close();

/// Opens, redirects, keeps or closes the trace as TRACES says now for the program `name`, which may be a path.
///
/// Without TRACES or a line for the program there is no trace and that is no failure. TRACES that has not changed since
/// it was last read leaves everything as it is.
///
/// @return 1; 0 with a message on standard error before `tr_init`, or if the trace file cannot be opened, in which case
///         the trace goes to standard output
int open_trace_file(const char *name);

/// Sizes of the buffers of `check_trace_config_file` in bytes, the closing zero included.
constexpr int TRACE_FIELD_SIZE = 128;
constexpr int TRACE_OUTPUT_SIZE = 256;

/// Reads the line of TRACES for the program `name`, if the file has changed since it was last read.
///
/// @param on_off, mode, fifth  buffers of TRACE_FIELD_SIZE bytes, filled on result 0; longer fields are cut
/// @param output               a buffer of TRACE_OUTPUT_SIZE bytes, filled and cut in the same way
/// @return 0 a line was found; 1 no TRACES; 2 no line for this program; 3 not changed
int check_trace_config_file(const char *name, char *on_off, char *output, char *mode, char *fifth);

/// Finds TRACES: under the directory of the environment variable SORBEXHOME, in the directory of the program, or in the
/// working directory, the first that exists.
///
/// @param path    a buffer of 4096 bytes for its name
/// @param status  receives its status
/// @return 1, or 0 if there is none or `path` is null
int find_trace_config_file(char *path, struct stat *status);

}  // namespace tolvane
