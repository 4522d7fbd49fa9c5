// The commands of the parent process, and what each does. The page number here is separate from that of the view: the
// slider, the keys and the chunk arrows do not change it, and "nextpage" then continues from the old number.
#include "app/stdin_commands.h"

#include <errno.h>
#include <limits.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "app/app_state.h"
#include "app/other_file.h"
#include "support/printable.h"
#include "support/trace.h"
#include "support/whitespace.h"
#include "ui/motif_utils.h"
#include "view/scales.h"
#include "view/screen/pagescope.h"
#include "view/screen/scrolling.h"
#include "view/screen/tolvane_cb.h"
#include "view/view_state.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|stdin_commands|9|01|5|0|0|11/23/26|14:40:40";

constexpr size_t READ_SIZE = 1000;  // maximum bytes of one read; a longer write takes several

constexpr unsigned long BACKGROUND_INTERVAL = 300;  // milliseconds between two looks for the foreground

int32_t page_numb = 1;

// Where the next word is searched for; the text ends at a zero byte or at `end`.
struct Scan {
  const char *at;
  const char *end;

  // Reads the next word; empty if none is left.
  std::string next_word() {
    while (is_whitespace(*at)) ++at;
    const char *begin = at;
    while (*at && !is_whitespace(*at)) ++at;
    return {begin, at};
  }

  // Skips one byte, white space or zero: a zero byte after a word does not end the text.
  void pass_byte() { at = std::min(at + 1, end); }

  void drop_line() {
    while (*at && *at != '\n') ++at;
  }
};

// Reports why a word is not answered with "OK".
bool refuse(const char *message) {
  fputs(message, stderr);
  return false;
}

bool next_page(Scan &) {
  ++page_numb;
  if (random_page(page_numb) != 0) --page_numb;
  return true;
}

bool previous_page(Scan &) {
  if (page_numb > 1) random_page(--page_numb);
  return true;
}

bool go_to_page(Scan &scan) {
  char *after;
  const long number = strtol(scan.at, &after, 10);
  if (after == scan.at) return refuse("tolvane, gopage: missing page number\n");
  scan.at = after;
  scan.drop_line();
  if (number < 1 || number > INT32_MAX || random_page(static_cast<int32_t>(number)) != 0)
    return refuse("tolvane, gopage: bad page number\n");
  page_numb = static_cast<int32_t>(number);
  return true;
}

bool new_file(Scan &scan) {
  const std::string name = scan.next_word();
  if (name.empty()) return refuse("tolvane, newfile: missing filename\n");
  scan.drop_line();
  if (!show_other_file(name.c_str())) {
    fprintf(stderr, "tolvane, newfile: filename longer than %zu bytes\n", FAX_FILENAME_SIZE - 1);
    return false;
  }
  page_numb = 1;
  return true;
}

bool say_page(Scan &) {
  printf("page==%d\n", page_numb);
  return true;
}

template <void (*step)()>
bool scroll(Scan &) {
  step();
  return true;
}

template <int forward>
bool chunk(Scan &) {
  page_numb += chunk_scroll(forward);
  return true;
}

template <int32_t degrees>
bool rotate(Scan &) {
  rotate_view(degrees);
  return true;
}

// One scale step; past the last scale the bell rings. Unlike a click on a toggle, it does not centre the page.
template <int32_t step>
bool rescale(Scan &) {
  if (!is_scale(Reduced + step)) {
    bell();
    return true;
  }
  Reduced += step;
  random_page(-1);
  show_scale_on_toggles();
  return true;
}

struct Command {
  const char *word;
  bool (*run)(Scan &);  ///< reads its arguments from the scan; false after a message
};

constexpr Command COMMANDS[] = {
    {"nextpage", next_page},
    {"prevpage", previous_page},
    {"gopage", go_to_page},
    {"newfile", new_file},
    {"saypage", say_page},
    {"scrollup", scroll<scroll_up>},
    {"scrolldown", scroll<scroll_down>},
    {"chunkup", chunk<0>},
    {"chunkdown", chunk<1>},
    {"rotate_0", rotate<0>},
    {"rotate_90", rotate<90>},
    {"rotate_180", rotate<180>},
    {"rotate_270", rotate<270>},
    {"fullsize", rescale<-1>},
    {"reduced", rescale<1>},
};

bool run_word(const std::string &word, Scan &scan) {
  for (const Command &command : COMMANDS)
    if (word == command.word) return command.run(scan);
  if (word.size() < 2) return true;  // a single character, a typing error, is answered like a command
  fprintf(stderr, "tolvane: unknown command '%s'\n", printable(word).c_str());
  return false;
}

// Whether the descriptor is the terminal of a job in the background, for which a read would be an error.
bool in_background(int fd) {
  const pid_t foreground = tcgetpgrp(fd);  // fails for anything but the controlling terminal
  return foreground >= 0 && foreground != getpgrp();
}

// The channel for which a reply would wait for its reader; -1 if there is none. A pipe that is ready has room for the
// replies to the commands of one read.
int full_channel() {
  for (const int channel : {STDOUT_FILENO, STDERR_FILENO}) {
    pollfd output = {channel, POLLOUT, 0};
    if (poll(&output, 1, 0) == 0) return channel;
  }
  return -1;
}

// The line that the bytes read end in the middle of, if the rest of it is waiting: it is left to the next read, as if
// this one had been shorter, so that no command loses a part of its word or its argument. A line longer than a read is
// cut.
std::string begun_line(std::string_view text, int fd) {
  const size_t line_feed = text.rfind('\n');
  pollfd input = {fd, POLLIN, 0};
  if (line_feed == text.npos || poll(&input, 1, 0) <= 0 || !(input.revents & POLLIN)) return {};
  return std::string(text.substr(line_feed + 1));
}

// No event reports that a job comes to the foreground.
void look_again(XtPointer, XtIntervalId *) {
  register_stdin_input();
}

void resume_reading(XtPointer, int *, XtInputId *id) {
  XtRemoveInput(*id);
  register_stdin_input();
}

// The toolkit prefers inputs to X events: without this, the events caused by many commands would accumulate.
void serve_x_events() {
  while (XtAppPending(tn_context) & XtIMXEvent) XtAppProcessEvent(tn_context, XtIMXEvent);
}

}  // namespace

void process_stdin_command(const char *text, int32_t length) {
  Scan scan{text, text + length};
  for (std::string word = scan.next_word(); !word.empty(); word = scan.next_word()) {
    scan.pass_byte();
    trprintf("command '%s'\n", word.c_str());
    if (run_word(word, scan)) puts("OK");  // standard output is line buffered: the parent waits for the reply
  }
}

void read_stdin(XtPointer, int *descriptor, XtInputId *id) {
  if (in_background(*descriptor) || full_channel() >= 0) {
    XtRemoveInput(*id);
    register_stdin_input();
    return;
  }
  static char text[READ_SIZE + 2];
  static size_t kept;  // bytes at the start of the text
  const ssize_t got = read(*descriptor, text + kept, READ_SIZE - kept);
  if (got < 0 && (errno == EINTR || errno == EAGAIN)) return;
  if (got <= 0) XtRemoveInput(*id);  // at end of file the descriptor stays readable: the loop would spin
  const size_t length = kept + static_cast<size_t>(std::max<ssize_t>(got, 0));
  const std::string begun = got > 0 ? begun_line({text, length}, *descriptor) : "";
  kept = begun.size();
  if (length - kept >= 2) {
    memset(text + length - kept, 0, kept + 2);
    process_stdin_command(text, static_cast<int32_t>(length - kept));
  }
  begun.copy(text, kept);
  if (got > 0) serve_x_events();
}

void register_stdin_input() {
  if (in_background(STDIN_FILENO))
    XtAppAddTimeOut(tn_context, BACKGROUND_INTERVAL, look_again, nullptr);
  else if (const int full = full_channel(); full >= 0)
    XtAppAddInput(tn_context, full, reinterpret_cast<XtPointer>(XtInputWriteMask), resume_reading, nullptr);
  else
    XtAppAddInput(tn_context, STDIN_FILENO, reinterpret_cast<XtPointer>(XtInputReadMask), read_stdin, nullptr);
}

}  // namespace tolvane
