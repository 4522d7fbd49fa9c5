// The stand-alone program: information switches, start, main loop. The stamp of this module is the version of the
// program.
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>

#include "app/app_state.h"
#include "app/exit_tasks.h"
#include "app/open_view.h"
#include "app/usage.h"
#include "support/file.h"
#include "support/trace_config.h"
#include "view/view_state.h"

#include <X11/Intrinsic.h>

namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|bx_tolvane_main|9|01|2|0|0|07/26/99|14:48:54";

using namespace tolvane;

// Without this, a program started without standard streams would get the display connection as one of them.
void hold_standard_streams() {
  int fd;
  do fd = open("/dev/null", O_RDWR);
  while (fd >= 0 && fd <= STDERR_FILENO);
  if (fd >= 0) close(fd);
}

// Ends the process if the only argument is an information switch.
void answer_switch(const char *argument) {
  struct {
    const char *text;
    void (*answer)();
  } const switches[] = {{"-rev", tolvane_revinfo}, {"-help", tolvane_syntax}, {"-help2", undoc_tolvane_syntax}};
  for (const auto &[text, answer] : switches)
    if (strcmp(argument, text) == 0) answer();
}

void start_trace() {
  std::error_code failed;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failed);
  tr_init(failed ? "." : program.parent_path().c_str(), get_temp_dir());
  open_trace_file("tolvane");
}

}  // namespace

int main(int argc, char **argv) {
  hold_standard_streams();
  set_program_stamp(SCCS_ID);
  if (argc == 2) answer_switch(argv[1]);
  Api = 0;
  setvbuf(stdout, nullptr, _IOLBF, 0);  // a parent waits for each line, and a signal handler cannot flush
  start_trace();
  Display *display = open_display(&argc, argv);
  if (!display || open_window(display, argc, argv) != 0) leave(1);
  XtAppMainLoop(tn_context);
  return 0;
}
