// The names are in fixed storage: a signal handler reads them. They change under a lock with the signals blocked, so
// that the handler never waits for its own thread; the handler keeps the lock, since the process ends. Files are made
// under the lock too: while the handler removes files, no other thread makes one.
#include "io/endings.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "io/report.h"
#include "support/printable.h"
#include "support/strlib.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|endings|9|01|3|0|0|11/23/26|14:11:53";

constexpr int ENDINGS[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGBUS};
constexpr size_t MAPPINGS_MAX = 128;

// Apart, so that of the names no memory is touched that is not needed.
bool used[UNFINISHED_FILES_MAX];
char unfinished[UNFINISHED_FILES_MAX][4096];
struct Mapping {
  uintptr_t begin;  // 0: free
  size_t size;
  char name[256];
} mappings[MAPPINGS_MAX];
std::atomic_flag changing;

void print(const char *text) {
  [[maybe_unused]] const ssize_t printed = write(STDERR_FILENO, text, strlen(text));
}

// Reports an input that has become shorter.
void report_cut_input(uintptr_t address) {
  const auto *mapping = std::find_if(std::begin(mappings), std::end(mappings), [=](const Mapping &each) {
    return each.begin != 0 && address - each.begin < each.size;
  });
  print("tolvane-fax: ");
  print(mapping == std::end(mappings) ? "an input" : mapping->name);
  print(": the file has become shorter while it was read\n");
}

void end_process(int signal_number, siginfo_t *info, void *) {
  while (changing.test_and_set()) {
  }
  for (size_t i = 0; i < UNFINISHED_FILES_MAX; ++i) {
    if (used[i]) unlink(unfinished[i]);
  }
  if (signal_number == SIGBUS && info->si_code == BUS_ADRERR) {
    report_cut_input(reinterpret_cast<uintptr_t>(info->si_addr));
    _exit(FAILED);
  }
  signal(signal_number, SIG_DFL);
  raise(signal_number);
}

sigset_t all_endings() {
  sigset_t set;
  sigemptyset(&set);
  for (const int ending : ENDINGS) sigaddset(&set, ending);
  return set;
}

// One signal does not interrupt the handler of another, which has the lock.
void install_handlers() {
  struct sigaction action = {}, before;
  action.sa_sigaction = end_process;
  action.sa_flags = SA_SIGINFO;
  action.sa_mask = all_endings();
  for (const int ending : ENDINGS) {
    // A signal that was ignored, as under nohup, stays ignored.
    if (sigaction(ending, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) sigaction(ending, &action, nullptr);
  }
}

// Keeps the signals of this thread and the changes of others waiting.
class NamesChange {
 public:
  NamesChange() {
    const sigset_t waiting = all_endings();
    pthread_sigmask(SIG_BLOCK, &waiting, &before_);
    while (changing.test_and_set()) changing.wait(true);
  }
  ~NamesChange() {
    changing.clear();
    changing.notify_one();
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  NamesChange(const NamesChange &) = delete;
  NamesChange &operator=(const NamesChange &) = delete;

 private:
  sigset_t before_;
};

}  // namespace

bool make_unfinished_file(const char *path, const std::function<bool()> &make) {
  const NamesChange change;
  install_handlers();
  if (!make()) return false;
  bool *const slot = std::find(std::begin(used), std::end(used), false);
  if (slot == std::end(used) || strlen(path) >= sizeof *unfinished) return true;
  strcpy(unfinished[slot - used], path);
  *slot = true;
  return true;
}

void forget_unfinished_file(const char *path) {
  const NamesChange change;
  for (size_t i = 0; i < UNFINISHED_FILES_MAX; ++i) {
    if (used[i] && strcmp(path, unfinished[i]) == 0) used[i] = false;
  }
}

void note_mapping(const void *begin, size_t size, const char *name) {
  const std::string shown = printable(name);
  const NamesChange change;
  install_handlers();
  auto *slot =
      std::find_if(std::begin(mappings), std::end(mappings), [](const Mapping &each) { return each.begin == 0; });
  if (slot == std::end(mappings)) return;
  slot->begin = reinterpret_cast<uintptr_t>(begin);
  slot->size = size;
  copy_text(slot->name, sizeof slot->name, shown.c_str());
}

void forget_mapping(const void *begin) {
  const NamesChange change;
  for (Mapping &mapping : mappings) {
    if (mapping.begin == reinterpret_cast<uintptr_t>(begin)) mapping.begin = 0;
  }
}

}  // namespace tolvane
