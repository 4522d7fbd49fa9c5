// The names are in fixed storage: a signal handler reads them.
#include "io/unfinished_files.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|unfinished_files|9|01|2|0|0|11/23/26|06:28:50";

constexpr int ENDINGS[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGBUS};
char unfinished[4][4096];  // an empty name is a free slot

void remove_unfinished(int signal_number) {
  for (const char *path : unfinished) {
    if (*path) unlink(path);
  }
  signal(signal_number, SIG_DFL);
  raise(signal_number);
}

// Keeps the signals waiting while names change: the handler never sees half of one.
class SignalsWait {
 public:
  SignalsWait() {
    sigset_t waiting;
    sigemptyset(&waiting);
    for (const int ending : ENDINGS) sigaddset(&waiting, ending);
    sigprocmask(SIG_BLOCK, &waiting, &before_);
  }
  ~SignalsWait() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  SignalsWait(const SignalsWait &) = delete;
  SignalsWait &operator=(const SignalsWait &) = delete;

 private:
  sigset_t before_;
};

}  // namespace

void note_unfinished_file(const char *path) {
  for (const int ending : ENDINGS) {
    // A signal that was ignored, as under nohup, stays ignored.
    if (signal(ending, remove_unfinished) == SIG_IGN) signal(ending, SIG_IGN);
  }
  const SignalsWait wait;
  auto *slot = std::find_if(std::begin(unfinished), std::end(unfinished), [](const char *name) { return !*name; });
  if (slot != std::end(unfinished) && strlen(path) < sizeof *slot) strcpy(*slot, path);
}

void forget_unfinished_file(const char *path) {
  const SignalsWait wait;
  for (char *name : unfinished) {
    if (strcmp(path, name) == 0) *name = 0;
  }
}

}  // namespace tolvane
