// The command protocol: a parent process controls the stand-alone viewer by commands on its standard input and reads
// one-line replies from its standard output.
#pragma once

#include <cstdint>

#include <X11/Intrinsic.h>

namespace tolvane {

/// Adds standard input to the main loop of `tn_context`. Commands are not read while the program is a background job of
/// the terminal that standard input is, or while the reader of the replies does not keep up; the window works on.
void register_stdin_input();

/// The Xt input callback: one read of up to 1000 bytes, then every command in it. If it ends in the middle of a line
/// and more is waiting, the line is left to the next read, so that only lines longer than 1000 bytes are cut. A read of
/// one byte is ignored. At end of file or after a read error the input source is removed; the viewer stays.
void read_stdin(XtPointer client_data, int *descriptor, XtInputId *id);

/// Runs every command in `text`, which is `length` bytes followed by two zero bytes. Each accepted word is answered
/// with "OK" on standard output, any other with a message on standard error. The words of one call are not joined with
/// those of the next.
void process_stdin_command(const char *text, int32_t length);

}  // namespace tolvane
