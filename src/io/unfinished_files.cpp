// The names are in fixed storage: a signal handler reads them. They change under a lock with the signals blocked, so
// that the handler never waits for its own thread; the handler keeps the lock, since the process ends.
#include "io/unfinished_files.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|unfinished_files|9|01|2|0|0|11/23/26|06:28:50";

constexpr int ENDINGS[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGBUS};
struct {
  bool used;
  char name[4096];
} unfinished[UNFINISHED_FILES_MAX];
std::atomic_flag changing;

void remove_unfinished(int signal_number) {
  while (changing.test_and_set()) {
  }
  for (const auto &file : unfinished) {
    if (file.used) unlink(file.name);
  }
  signal(signal_number, SIG_DFL);
  raise(signal_number);
}

// Keeps the signals of this thread and the changes of others waiting.
class NamesChange {
 public:
  NamesChange() {
    sigset_t waiting;
    sigemptyset(&waiting);
    for (const int ending : ENDINGS) sigaddset(&waiting, ending);
    pthread_sigmask(SIG_BLOCK, &waiting, &before_);
    while (changing.test_and_set()) {
    }
  }
  ~NamesChange() {
    changing.clear();
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  NamesChange(const NamesChange &) = delete;
  NamesChange &operator=(const NamesChange &) = delete;

 private:
  sigset_t before_;
};

}  // namespace

void note_unfinished_file(const char *path) {
  const NamesChange change;
  for (const int ending : ENDINGS) {
    // A signal that was ignored, as under nohup, stays ignored.
    if (signal(ending, remove_unfinished) == SIG_IGN) signal(ending, SIG_IGN);
  }
  auto *slot = std::find_if(std::begin(unfinished), std::end(unfinished), [](const auto &file) { return !file.used; });
  if (slot == std::end(unfinished) || strlen(path) >= sizeof slot->name) return;
  strcpy(slot->name, path);
  slot->used = true;
}

void forget_unfinished_file(const char *path) {
  const NamesChange change;
  for (auto &file : unfinished) {
    if (file.used && strcmp(path, file.name) == 0) file.used = false;
  }
}

}  // namespace tolvane
