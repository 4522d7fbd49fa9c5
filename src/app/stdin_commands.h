// The command protocol: a parent process drives the stand-alone viewer by words on its standard input and reads
// replies of one line on its standard output.
#pragma once

#include <cstdint>

#include <X11/Intrinsic.h>

namespace tolvane {

/// Adds standard input to the main loop of `tn_context`.
void register_stdin_input();

/// The Xt input callback: one read of up to 1000 bytes, then every command in it. A read of one byte is dropped. At
/// end of file, and when the descriptor cannot be read, the input source is taken out; the viewer stays.
void read_stdin(XtPointer client_data, int *descriptor, XtInputId *id);

/// Runs every command in `text`, of `length` bytes and two zero bytes behind them. Each word accepted is answered by
/// "OK" on standard output, each that is not by a message on standard error. The words of one call are not joined
/// with those of the next.
void process_stdin_command(const char *text, int32_t length);

}  // namespace tolvane
