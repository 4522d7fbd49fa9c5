// Opening inputs, and mapping them whole. The readers of the formats look at the bytes.
#include "io/input_file.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/endings.h"
#include "support/handle.h"
#include "support/replace_file.h"
#include "support/strlib.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|input_file|9|01|4|0|0|11/23/26|11:25:00";

thread_local char last_opened[1024];

// A descriptor that can be mapped for whatever `fd` is: a pipe is copied to a nameless file first.
//
// @param spool_failed  receives whether it is the copy that failed
Descriptor seekable(Descriptor fd, bool &spool_failed) {
  struct stat status;
  if (!fd || fstat(fd.get(), &status) || S_ISREG(status.st_mode)) return fd;
  if (S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    return Descriptor();
  }
  Descriptor spool = open_spool(nullptr);
  bool unreadable = false;
  if (spool && copy_bytes(fd.get(), spool.get(), -1, &unreadable)) return spool;
  spool_failed = !unreadable;
  return Descriptor();
}

}  // namespace

std::string input_name(const std::string &path) {
  return path == "-" ? "standard input" : path;
}

const char *last_input() {
  return last_opened;
}

Descriptor open_input(const std::string &path, bool may_be_empty) {
  copy_text(last_opened, sizeof last_opened, input_name(path).c_str());
  bool spool_failed = false;
  Descriptor fd = seekable(Descriptor(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY)), spool_failed);
  struct stat status;
  if (!fd || fstat(fd.get(), &status)) {
    system_failure(input_name(path).c_str(),
                   spool_failed ? "no temporary copy can be made of it (see TMPDIR)" : nullptr);
    return Descriptor();
  }
  if (status.st_size == 0 && !may_be_empty) {
    report("%s: the file is empty", input_name(path).c_str());
    return Descriptor();
  }
  return fd;
}

Descriptor open_regular(const std::string &path) {
  Descriptor fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status;
  if (!fd || fstat(fd.get(), &status) != 0) return Descriptor();
  if (S_ISREG(status.st_mode)) return fd;
  errno = EINVAL;
  return Descriptor();
}

InputFile::~InputFile() {
  if (!data_) return;
  forget_mapping(data_);
  munmap(const_cast<uint8_t *>(data_), size_);
}

Status InputFile::open(const std::string &path, bool may_be_empty) {
  name_ = input_name(path);
  fd_ = open_input(path, may_be_empty);
  struct stat status;
  if (!fd_) return FAILED;
  if (fstat(fd_.get(), &status)) return system_failure(name());
  if (status.st_size == 0) return DONE;
  size_ = static_cast<size_t>(status.st_size);
  void *mapping = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd_.get(), 0);
  if (mapping == MAP_FAILED) return system_failure(name());
  data_ = static_cast<const uint8_t *>(mapping);
  note_mapping(data_, size_, name());
  return DONE;
}

}  // namespace tolvane
