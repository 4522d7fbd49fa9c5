// What the viewer is told in text: TRACES, labels, and the words on its standard input. The procedures that the words
// start are replaced by ones that look at what they are given.
#include <sanitizer/lsan_interface.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "app/stdin_commands.h"
#include "fuzz.h"
#include "support/trace.h"
#include "support/trace_config.h"
#include "ui/bx_tolvane_utils.h"
#include "view/view_state.h"

#include <Xm/Xm.h>

void fuzz_traces(Input input) {
  using namespace tolvane;
  std::string text = input.text();
  // No trace files but in the directory for them.
  for (size_t at = 0; at < text.size(); ++at)
    if (text[at] == '/' && (at == 0 || isspace(static_cast<unsigned char>(text[at - 1])))) text[at] = '_';
  setenv("SORBEXHOME", scratch().string().c_str(), 1);
  scratch().write("TRACES", text);
  tr_init(scratch().string().c_str(), scratch().string().c_str());
  const int result = open_trace_file(input.pick(2) == 0 ? "tolvane" : "/opt/tolvane");
  require(result == 0 || result == 1, "a yes or no");
  require(!tr_is_trace_on() || Trace_fp, "a stream of an open trace");
  if (Trace_fp && Trace_fp != stdout && Trace_fp != stderr) {
    const auto opened = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fileno(Trace_fp))).string();
    require(opened.starts_with(std::filesystem::canonical(scratch().string()).string() + "/trace_"),
            "a trace file in the directory for them");
  }
  trprintf("%s", "one line\n");
  tr_close();
  Trace_on = 0;  // else the next `tr_init` is refused
}

void fuzz_labels(Input input) {
  using namespace tolvane;
  const std::string text(input.text().c_str());
  const __lsan::ScopedDisabler toolkit;  // it counts the users of a string up to 255 and then loses it
  const XmString string = StringToXmString(text.c_str());
  require(string, "a string of every label");
  XmStringFree(string);

  XmStringTable table = nullptr;
  XrmValue from{static_cast<unsigned>(text.size() + 1), const_cast<char *>(text.c_str())};
  XrmValue to{sizeof table, reinterpret_cast<XPointer>(&table)};
  Cardinal no_arguments = 0;
  require(CvtStringToXmStringTable(nullptr, nullptr, &no_arguments, &from, &to, nullptr), "a table of every text");
  const auto most =
      static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return c == ',' || c == '\n'; }));
  size_t entries = 0;
  while (table[entries]) ++entries;
  require(entries == 0 ? text.empty() : entries <= most + 1, "no more entries than separators part");
  XmStringTableCvtDestroy(nullptr, &to, nullptr, nullptr, nullptr);
}

namespace {

constexpr int32_t PAGES = 7;
int32_t page_in_view = 1;  // it moves by commands alone

}  // namespace

namespace tolvane {

int random_page(int32_t page) {
  require(page == -1 || page >= 1, "a page that can exist, or the one in view");
  if (page > PAGES) return 1;
  if (page != -1) page_in_view = page;
  return 0;
}
void view_arbitrary_fax(const char *path) {
  page_in_view = 1;
  require(*path && !strpbrk(path, " \n\t") && strcmp(path, Fullpath_fax_filename) == 0, "a name without white space");
}
void rotate_view(int32_t degrees) {
  require(degrees >= 0 && degrees % 90 == 0, "a right angle");
}
int chunk_scroll(int forward) {
  if (page_in_view == (forward ? PAGES : 1)) return 0;
  const int moved = forward ? 1 : -1;
  page_in_view += moved;
  return moved;
}
void scroll_up() {}
void scroll_down() {}
void bell() {}
void show_scale_on_toggles() {}
void watch_shown_file() {}

}  // namespace tolvane

void fuzz_commands(Input input) {
  // The text has its exact size, and two zeros after it, as a read leaves it.
  std::vector<char> text(input.bytes.begin(), input.bytes.end());
  text.insert(text.end(), 2, '\0');
  tolvane::process_stdin_command(text.data(), static_cast<int32_t>(input.bytes.size()));
  require(tolvane::Reduced >= 0 && tolvane::Reduced <= 2, "a scale");
  tolvane::Reduced = 0;
}
