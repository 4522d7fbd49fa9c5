// Diagnostics and progress on standard error. Commands print results to standard output themselves. A diagnostic first
// removes the progress line, so that the two never share a line.
#include "io/report.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "support/printable.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|report|9|01|5|0|0|11/23/26|14:40:52";

constexpr size_t BLOCK = 64 << 10;      // bytes of diagnostics in one block, or a little more
constexpr size_t DAMAGE_REPORTED = 10;  // damaged places of one page that are reported one by one

bool progress_on_screen = false;

// Whether standard error is a terminal that understands escape sequences.
bool is_screen() {
  const char *kind = getenv("TERM");
  return isatty(STDERR_FILENO) && kind && *kind && strcmp(kind, "dumb") != 0;
}

bool coloured() {
  const char *no_color = getenv("NO_COLOR");
  return (!no_color || !*no_color) && is_screen();
}

void print_diagnostic(const std::string &text) {
  wipe_progress();
  const char *name = coloured() ? "\033[1;31mtolvane-fax:\033[0m " : "tolvane-fax: ";
  fprintf(stderr, "%s%s\n", name, printable(text, "\t").c_str());
}

// What comes before the rest of a text in a block.
struct TextStart {
  uint32_t common, rest;  // bytes: as in the text before, and those that follow
  bool is_fault;
};

thread_local Diagnostics *held_back = nullptr;  // null: diagnostics are printed at once

void take_diagnostic(const char *format, va_list arguments, bool is_fault = true) {
  va_list again;
  va_copy(again, arguments);
  std::string text(static_cast<size_t>(std::max(vsnprintf(nullptr, 0, format, arguments), 0)), '\0');
  vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  if (held_back)
    held_back->add(text, is_fault);
  else
    print_diagnostic(text);
}

}  // namespace

bool Quiet = false;
bool Verbose = false;

void wipe_progress() {
  if (progress_on_screen) fputs("\r\033[K", stderr);
  progress_on_screen = false;
}

HoldDiagnostics::HoldDiagnostics(Diagnostics &held) : before_(held_back) {
  held_back = &held;
}

HoldDiagnostics::~HoldDiagnostics() {
  held_back = before_;
}

void Diagnostics::add(std::string_view text, bool is_fault) {
  const auto common = static_cast<size_t>(std::ranges::mismatch(text, last_).in1 - text.begin());
  const TextStart start = {static_cast<uint32_t>(common), static_cast<uint32_t>(text.size() - common), is_fault};
  std::string entry(reinterpret_cast<const char *>(&start), sizeof start), last(text);
  entry += text.substr(common);
  if (blocks_.empty() || blocks_.back().size() >= BLOCK) blocks_.emplace_back();
  blocks_.back() += entry;
  last_ = std::move(last);
}

void Diagnostics::for_each(const std::function<void(const Diagnostic &)> &use) const {
  Diagnostic one;
  for (const std::string &block : blocks_) {
    for (size_t at = 0; at < block.size();) {
      TextStart start;
      memcpy(&start, &block[at], sizeof start);
      at += sizeof start;
      one.text.replace(start.common, std::string::npos, block, at, start.rest);
      one.is_fault = start.is_fault;
      at += start.rest;
      use(one);
    }
  }
}

void print_diagnostics(const Diagnostics &held) {
  held.for_each([](const Diagnostic &each) { print_diagnostic(each.text); });
}

void pass_on_diagnostics(const Diagnostics &held) {
  if (held_back)
    held.for_each([](const Diagnostic &each) { held_back->add(each.text, each.is_fault); });
  else
    print_diagnostics(held);
}

Status worse(Status one, Status other) {
  return one == FAILED || other == FAILED ? FAILED : std::max(one, other);
}

void report(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  take_diagnostic(format, arguments);
  va_end(arguments);
}

void notice(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  take_diagnostic(format, arguments, false);
  va_end(arguments);
}

void report_on_terminal(const char *format, ...) {
  if (!isatty(STDERR_FILENO)) return;
  va_list arguments;
  va_start(arguments, format);
  take_diagnostic(format, arguments, false);
  va_end(arguments);
}

void say_verbose(const char *format, ...) {
  if (!Verbose) return;
  va_list arguments;
  va_start(arguments, format);
  take_diagnostic(format, arguments, false);
  va_end(arguments);
}

Status failure(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  take_diagnostic(format, arguments);
  va_end(arguments);
  return FAILED;
}

Status usage_fault(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  take_diagnostic(format, arguments);
  va_end(arguments);
  return USAGE;
}

Status report_damage(const char *name, int32_t page, size_t count, const std::function<std::string(size_t)> &place) {
  const size_t reported = std::min(count, DAMAGE_REPORTED);
  for (size_t i = 0; i < reported; ++i) report("%s: page %d: %s", name, page, place(i).c_str());
  if (reported < count) report("%s: page %d: %zu more damaged places", name, page, count - reported);
  return count > 0 ? DAMAGED : DONE;
}

const char *cause() {
  return errno == 0 ? "the file has become shorter" : strerror(errno);
}

Status system_failure(const char *name, const char *what) {
  return what ? failure("%s: %s: %s", name, what, cause()) : failure("%s: %s", name, cause());
}

Progress::Progress(const char *unit, int32_t total)
    : unit_(unit),
      total_(total),
      shown_(!Quiet && !held_back && is_screen()),
      start_(std::chrono::steady_clock::now()),
      last_(start_) {}

Progress::~Progress() {
  if (shown_) wipe_progress();
}

void Progress::step() {
  ++done_;
  const auto now = std::chrono::steady_clock::now();
  if (!shown_ || now - start_ < std::chrono::seconds(1) || now - last_ < std::chrono::milliseconds(100)) return;
  last_ = now;
  const double rate = done_ / std::chrono::duration<double>(now - start_).count();
  const std::string of = total_ ? " of " + std::to_string(total_) : "";
  fprintf(stderr, "\r\033[K%d%s %s, %.1f a second", done_, of.c_str(), unit_, rate);
  fflush(stderr);
  progress_on_screen = true;
}

}  // namespace tolvane
