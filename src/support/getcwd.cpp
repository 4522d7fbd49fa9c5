// The working directory of the first question. Nothing here follows a later chdir: a program that was started with
// relative names keeps finding them.
#include "support/getcwd.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <cstdio>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|getcwd|9|01|2|0|0|11/23/26|01:24:29";

char *working_directory;  // null until the first answer; held for the life of the process
}  // namespace

char *ks_getcwd(char *buffer, size_t size) {
  if (working_directory) return strcpy(buffer, working_directory);
  if (!getcwd(buffer, size)) {
    fprintf(stderr, "ks_getcwd: getcwd: %s\n", strerror(errno));
    return nullptr;
  }
  working_directory = strdup(buffer);
  if (!working_directory) fprintf(stderr, "ks_getcwd: strdup: %s\n", strerror(errno));
  return buffer;
}

}  // namespace tolvane
