// A stream of the program's own (fopencookie) between stdio and the terminal, so that no command needs to remember what
// of its results comes from a stranger. Pages that a command writes do not pass here: they go to the descriptor.
#include "io/terminal_output.h"

#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "support/handle.h"
#include "support/printable.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|terminal_output|9|01|2|0|0|11/23/26|15:55:59";

// The line that is not complete. A character may be split between two writes, but not between two lines.
std::string unfinished_line;

bool print_shown(std::string_view text) {
  const std::string shown = printable(text, "\n\t");
  return write_fully(STDOUT_FILENO, shown.data(), shown.size());
}

ssize_t take_text(void *, const char *bytes, size_t count) {
  unfinished_line.append(bytes, count);
  const size_t end = unfinished_line.rfind('\n') + 1;  // 0 without a line feed
  if (!print_shown(std::string_view(unfinished_line).substr(0, end))) return 0;
  unfinished_line.erase(0, end);
  return static_cast<ssize_t>(count);
}

}  // namespace

void protect_terminal() {
  if (!isatty(STDOUT_FILENO)) return;
  FILE *stream = fopencookie(nullptr, "w", {nullptr, take_text, nullptr, nullptr});
  if (!stream) return;
  setvbuf(stream, nullptr, _IOLBF, BUFSIZ);
  stdout = stream;
}

std::string result_name(const std::string &name) {
  return isatty(STDOUT_FILENO) ? printable(name) : name;
}

bool flush_output() {
  return fflush(stdout) == 0 && !ferror(stdout) && print_shown(unfinished_line);
}

}  // namespace tolvane
