// Preloaded into a program (LD_PRELOAD), this makes the system one without inotify.
#include <errno.h>

extern "C" int inotify_init1(int) {
  errno = ENOSYS;
  return -1;
}
