// All that writes to the trace, and the three words that say whether there is one. TRACES is not known here. A line
// begins with its time because each call of trprintf counts as a line: nothing adds or looks for newlines.
#include "support/trace.h"

#include <errno.h>

#include <cstdarg>
#include <ctime>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|trace|9|01|2|0|0|11/23/26|06:28:53";

const char *const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

inline bool is_active() {
  return Trace_on && Trace_toggle && Trace_fp;
}

tm local_now() {
  const time_t now = time(nullptr);
  tm local{};
  localtime_r(&now, &local);
  return local;
}
}  // namespace

int32_t Trace_on = 0;
int32_t Trace_toggle = 1;
FILE *Trace_fp = nullptr;

void trprintf(const char *format, ...) {
  if (!is_active()) return;
  const int kept = errno;
  trace_print_time();
  va_list arguments;
  va_start(arguments, format);
  vfprintf(Trace_fp, format, arguments);
  va_end(arguments);
  errno = kept;
}

void tr_puts(const char *text) {
  if (!is_active()) return;
  trace_print_time();
  fputs(text, Trace_fp);
}

void tr_write(const void *buffer, size_t count) {
  if (is_active()) fwrite(buffer, 1, count, Trace_fp);
}

int tr_putc(int ch) {
  return is_active() ? fputc(ch, Trace_fp) : ch;
}

void trace_print_date() {
  if (!is_active()) return;
  const tm now = local_now();
  fprintf(Trace_fp, "%2d-%s-%04d ", now.tm_mday, months[now.tm_mon], now.tm_year + 1900);
}

void trace_print_time() {
  if (!is_active()) return;
  const tm now = local_now();
  fprintf(Trace_fp, "%02d:%02d:%02d ", now.tm_hour, now.tm_min, now.tm_sec);
}

void trflush() {
  if (Trace_on && Trace_fp) fflush(Trace_fp);
}

int tr_set_toggle_on(int value) {
  Trace_toggle = value;
  return 1;
}

int tr_is_toggle_on() {
  return Trace_toggle;
}

int tr_is_trace_on() {
  return Trace_on;
}

FILE *tr_get_file_pointer() {
  return Trace_fp;
}

void tr_av_printf(const av_record *record) {
  if (!Trace_on || !Trace_toggle) return;
  trprintf("key:         [%s]\n", record->key);
  trprintf("check_value: [%ld]\n", record->check_value);
  for (const av_attribute *each = record->attributes; each; each = each->next)
    trprintf("    %s = [%s]\n", each->name, each->value);
}

}  // namespace tolvane
