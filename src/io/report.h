// Diagnostics, damage and progress, all on standard error, and the exit statuses.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

/// The exit statuses of the program.
enum Status : int {
  DONE = 0,
  USAGE = 1,
  FAILED = 2,
  DAMAGED = 3,  ///< done, but the input is damaged
};

/// The status of two pieces of work together: FAILED if one failed, else the higher.
Status worse(Status one, Status other);

/// Set by `--quiet`: no progress is shown. Diagnostics are printed nevertheless.
extern bool Quiet;

/// Set by `--verbose`: `say_verbose` reports.
extern bool Verbose;

/// Prints "tolvane-fax: ", the text and a line feed on standard error; the name in colour on a terminal, unless
/// NO_COLOR is set in the environment or TERM is "dumb". Control characters in the text are shown as `printable` does:
/// it may contain names and values of strangers.
[[gnu::format(printf, 1, 2)]] void report(const char *format, ...);

/// The same about what is no fault.
[[gnu::format(printf, 1, 2)]] void notice(const char *format, ...);

/// The same if standard error is a terminal: somebody who waits there wants to know why.
[[gnu::format(printf, 1, 2)]] void report_on_terminal(const char *format, ...);

/// `report` if the user wants to know what is done: which file and page, and in which way. No fault.
[[gnu::format(printf, 1, 2)]] void say_verbose(const char *format, ...);

/// A diagnostic that is not printed yet.
struct Diagnostic {
  std::string text;
  bool is_fault = true;  ///< not of `notice`, `say_verbose` or `report_on_terminal`
};

/// Diagnostics in order. A damaged page may have many that begin alike: what a text has in common with the one before
/// is not stored again.
class Diagnostics {
 public:
  void add(std::string_view text, bool is_fault);
  void for_each(const std::function<void(const Diagnostic &)> &use) const;

 private:
  std::vector<std::string> blocks_;
  std::string last_;  // the text added last
};

/// Holds back the diagnostics of this thread as long as the object lives.
class HoldDiagnostics {
 public:
  /// @param held  receives them, after those that it contains
  explicit HoldDiagnostics(Diagnostics &held);
  ~HoldDiagnostics();
  HoldDiagnostics(const HoldDiagnostics &) = delete;
  HoldDiagnostics &operator=(const HoldDiagnostics &) = delete;

 private:
  Diagnostics *before_;
};

/// Prints what was held back.
void print_diagnostics(const Diagnostics &held);

/// Reports again what was held back: prints it, unless the diagnostics of this thread are held back in their turn.
void pass_on_diagnostics(const Diagnostics &held);

/// `report`, for use in a return statement: returns FAILED.
[[gnu::format(printf, 1, 2)]] Status failure(const char *format, ...);

/// Reports the damaged places of a page: the first ten one by one, the rest as a number.
///
/// @param count  how many places there are
/// @param place  describes a place by its index: "line 17: an invalid code"
/// @return DAMAGED, or DONE if there is none
Status report_damage(const char *name, int32_t page, size_t count, const std::function<std::string(size_t)> &place);

/// `report`, for use in a return statement: returns USAGE.
[[gnu::format(printf, 1, 2)]] Status usage_fault(const char *format, ...);

/// Reports errno for a file: "name: No space left on device". Returns FAILED.
///
/// @param what  comes between the two: "cannot be written"; null: nothing
Status system_failure(const char *name, const char *what = nullptr);

/// The text of errno; 0, which `copy_bytes` and short reads leave, means that the file has become shorter.
const char *cause();

/// Removes the progress line from the terminal, before results that may go to the same one.
void wipe_progress();

/// Shows the progress of long work: only on a terminal that is not "dumb", and only after a second. Work whose
/// diagnostics are held back shows none.
class Progress {
 public:
  /// @param unit   what is counted, in the plural: "pages"
  /// @param total  how many there will be, 0 if unknown
  explicit Progress(const char *unit, int32_t total = 0);
  /// Removes the line from the terminal.
  ~Progress();
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  /// Counts one more.
  void step();

 private:
  const char *unit_;
  int32_t total_;
  int32_t done_ = 0;
  bool shown_;
  std::chrono::steady_clock::time_point start_, last_;
};

}  // namespace tolvane
