// The output half of the trace log. Library code calls these without a test of its own: without a trace they return
// at once. trace_config.h decides whether there is a trace, and where it goes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace tolvane {

extern int32_t Trace_on;      ///< non-zero: a trace is open
extern int32_t Trace_toggle;  ///< 0 mutes an open trace without closing it; 1 at first
extern FILE *Trace_fp;        ///< where the trace goes; may be standard output or standard error

/// Writes the local time "HH:MM:SS " and then the text, as `printf` does, if a trace is active: open, not muted, and
/// with a stream. errno is left as it was.
[[gnu::format(printf, 1, 2)]] void trprintf(const char *format, ...);

/// The time, then the text as it is; no newline is added.
void tr_puts(const char *text);

/// Bytes without a time before them.
void tr_write(const void *buffer, size_t count);

/// One byte without a time before it.
///
/// @return what `fputc` gave, or `ch` when no trace is active
int tr_putc(int ch);

/// Writes the date "DD-Mon-YYYY " if a trace is active.
void trace_print_date();
/// Writes the time "HH:MM:SS " if a trace is active.
void trace_print_time();

/// Flushes an open trace, a muted one too.
void trflush();

/// Lets output through (non-zero) or mutes it (0).
///
/// @return 1
int tr_set_toggle_on(int value);
int tr_is_toggle_on();        ///< `Trace_toggle`
int tr_is_trace_on();         ///< `Trace_on`
FILE *tr_get_file_pointer();  ///< `Trace_fp`

/// One attribute of a record, in a singly linked list closed by null.
struct av_attribute {
  const char *name;
  const char *value;
  const av_attribute *next;
};

/// A record that `tr_av_printf` writes.
struct av_record {
  const char *key;
  long check_value;
  const av_attribute *attributes;
};

/// Writes key, check value and each attribute, a line each with its own time.
void tr_av_printf(const av_record *record);

}  // namespace tolvane
