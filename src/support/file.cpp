// The files and paths of the family, whatever the files contain. A path that does not fit its buffer is refused and
// never cut, since a cut path would name another file; only get_temp_dir, which cannot fail, cuts its text. A relative
// result is made full by the working directory as ks_getcwd kept it, not by the present one.
#include "support/file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "support/getcwd.h"
#include "support/handle.h"
#include "support/replace_file.h"
#include "support/strlib.h"
#include "support/trace.h"
#include "support/whitespace.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|file|9|01|5|0|0|11/23/26|14:40:52";

using PathBuffer = char[PATH_LIMIT + 1];

// Puts "directory/name" into `path`; false, with errno set, if it does not fit.
bool join(PathBuffer &path, std::string_view directory, const char *name) {
  const int length = snprintf(path, sizeof path, "%.*s/%s", static_cast<int>(directory.size()), directory.data(), name);
  if (length >= 0 && static_cast<size_t>(length) < sizeof path) return true;
  errno = ENAMETOOLONG;
  return false;
}

using Condition = int(const char *path);

// The candidates that find_file and find_executable share.
bool find_at_home(PathBuffer &path, const char *name, Condition *at_home, Condition *here) {
  const char *home = getenv("SORBEXHOME");
  return (home && join(path, home, name) && at_home(path)) || (join(path, ".", name) && here(path));
}

// The working directory may belong to anybody. A program there counts if it, and a link that leads to it, is the user's
// or root's, and others may not write it.
int is_trusted_executable(const char *path) {
  const auto is_trusted = [](const struct stat &status) { return status.st_uid == geteuid() || status.st_uid == 0; };
  struct stat link, file;
  return is_executable_file(path) && lstat(path, &link) == 0 && stat(path, &file) == 0 && is_trusted(link) &&
         is_trusted(file) && !(file.st_mode & S_IWOTH);
}

bool find_on_path(PathBuffer &path, const char *name, Condition *accepts) {
  const char *list = getenv("PATH");
  if (!list) return false;
  for (std::string_view rest = list; !rest.empty();) {
    const std::string_view element = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(element.size() + 1, rest.size()));
    if (!element.empty() && join(path, element, name) && accepts(path)) return true;
  }
  return false;
}

bool is_same_file(const struct stat &one, const struct stat &other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

const char *last_component(const char *path) {
  const char *separator = strrchr(path, '/');
  if (!separator) separator = strrchr(path, '\\');
  return separator ? separator + 1 : path;
}
}  // namespace

char *find_file(const char *name) {
  PathBuffer path;
  return find_at_home(path, name, is_readable_file, is_readable_file) ? fix_path(path) : nullptr;
}

char *find_executable(const char *name) {
  PathBuffer path;
  const bool found = find_at_home(path, name, is_executable_file, is_trusted_executable) ||
                     find_on_path(path, name, is_executable_file);
  return found ? fix_path(path) : nullptr;
}

int is_readable_file(const char *path) {
  return check_file_access(path, "r");
}

int is_executable_file(const char *path) {
  return check_file_access(path, "rx");
}

int check_file_access(const char *path, const char *permissions) {
  return check_access(path, S_IFREG, permissions);
}

int check_dir_access(const char *path, const char *permissions) {
  return check_access(path, S_IFDIR, permissions);
}

int check_access(const char *path, mode_t type, const char *permissions) {
  const uid_t user = geteuid();
  struct stat status;
  if (stat(path, &status) != 0) {
    if (errno != ENOENT && user == 0) trprintf("check_access: stat(\"%s\"): %s\n", path, strerror(errno));
    return 0;
  }
  if ((status.st_mode & type) != type) return 0;
  if (user == 0 || !permissions || !*permissions) return 1;

  mode_t wanted = 0;
  for (const char *letter = permissions; *letter; ++letter) {
    if (*letter == 'r')
      wanted |= S_IROTH;
    else if (*letter == 'w')
      wanted |= S_IWOTH;
    else if (*letter == 'x')
      wanted |= S_IXOTH;
    else
      trprintf("check_access: Invalid permission: [%c]\n", *letter);
  }
  const int others_from_class = status.st_uid == user ? 6 : status.st_gid == getegid() ? 3 : 0;
  return ((status.st_mode >> others_from_class) & wanted) == wanted;
}

int is_full_path(const char *path) {
  return path && *path == '/';
}

int is_relative_path(const char *path) {
  return !is_full_path(path);
}

int is_valid_path(const char *path) {
  PathBuffer copied;
  const size_t length = strlen(path);
  if (length > PATH_LIMIT) {
    trprintf("%s: Invalid path (exceeds MAXPATHLEN of %d bytes): [%s].\n", "is_valid_path",
             static_cast<int>(PATH_LIMIT), path);
    return 0;
  }
  memcpy(copied, path, length + 1);
  const std::string_view inside = strip_enclosing_whitespace(copied);
  const auto is_refused = [](char ch) { return is_whitespace(ch) || (ch >= 0 && ch < ' ') || ch == '\x7F'; };
  if (std::none_of(inside.begin(), inside.end(), is_refused)) return 1;
  trprintf("%s: Invalid path: [%s].\n", "is_valid_path", path);
  return 0;
}

char *fix_path(char *path) {
  const char *rest = path;
  if (strncmp(path, "../", 3) == 0)
    rest += 3;
  else if (strncmp(path, "./", 2) == 0)
    rest += 2;
  Block<char> copied(strdup(rest));
  if (!copied) {
    trprintf("fix_path: strdup(\"%s\"): %s\n", rest, strerror(errno));
    return nullptr;
  }
  if (is_full_path(copied.get())) return copied.release();

  if (!ks_getcwd(path, PATH_LIMIT + 1)) {
    trprintf("fix_path: ks_getcwd: %s\n", strerror(errno));
    return nullptr;
  }
  const size_t directory = strlen(path);
  if (directory + 1 + strlen(copied.get()) > PATH_LIMIT) {
    trprintf("fix_path: path too large\n");
    return nullptr;
  }
  path[directory] = '/';
  strcpy(path + directory + 1, copied.get());
  return strdup(path);
}

namespace {
// Writes the components that are left of `joined` after "", "." and ".." into `text`; false, with a trace line, if they
// climb above the root or there is no memory. Without memory for the split, `text` stays.
bool clean_components(const char *joined, PathBuffer &text) {
  char **list = nullptr;
  const int count = split(joined, '/', &list);
  if (count < 0) return true;
  const Block<char *> pieces(list);
  const Block<char *> kept(static_cast<char **>(malloc(static_cast<size_t>(count) * sizeof(char *))));
  if (!kept) {
    trprintf("mkpath: malloc: %s.\n", strerror(errno));
    return false;
  }
  char **end = kept.get();
  for (char **piece = list; *piece; ++piece) {
    const std::string_view component = *piece;
    if (component.empty() || component == ".") continue;
    if (component != "..") {
      *end++ = *piece;
    } else if (end == kept.get()) {
      trprintf("mkpath: Invalid path: [%s].\n", joined);
      return false;
    } else {
      --end;
    }
  }
  strcpy(text, "/");
  char *out = text;
  for (char **piece = kept.get(); piece != end; ++piece) out += sprintf(out, "/%s", *piece);
  return true;
}
}  // namespace

char *mkpath(const char *path) {
  if (!is_valid_path(path)) {
    trprintf("%s: Invalid path: [%s].\n", "mkpath", path);
    return nullptr;
  }
  PathBuffer joined;
  if (is_relative_path(path)) {
    PathBuffer directory;
    if (!ks_getcwd(directory, sizeof directory)) {
      trprintf("mkpath: ks_getcwd: %s.\n", strerror(errno));
      return nullptr;
    }
    if (!join(joined, directory, path)) {
      trprintf("mkpath: path too large\n");
      return nullptr;
    }
  } else {
    strcpy(joined, path);
  }
  PathBuffer text;
  strcpy(text, joined);
  if (!clean_components(joined, text)) return nullptr;
  char *result = strdup(text);
  if (!result) trprintf("mkpath: strdup: %s.\n", strerror(errno));
  return result;
}

namespace {
// Opens the source of a copy and gets its status; none, with a trace line, if it is no regular file.
Descriptor open_source(const char *source, struct stat *status) {
  // O_NONBLOCK: a FIFO without a writer must not hold us; it means nothing to a regular file.
  Descriptor in(open(source, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!in) {
    trprintf("copy: open(\"%s\") failed: %s.\n", source, strerror(errno));
  } else if (fstat(in.get(), status) != 0) {
    trprintf("copy: stat(\"%s\") failed: %s.\n", source, strerror(errno));
    in.reset();
  } else if (!S_ISREG(status->st_mode)) {
    trprintf("copy: \"%s\" isn't a regular file.\n", source);
    in.reset();
  }
  return in;
}

bool copy_blocks(int in, const char *source, int out, const char *target) {
  std::array<char, 8192> block;
  for (;;) {
    const ssize_t count = read_fully(in, block.data(), block.size());
    if (count < 0) {
      trprintf("copy: read(\"%s\") failed: %s.\n", source, strerror(errno));
      return false;
    }
    if (count == 0) return true;
    if (!write_fully(out, block.data(), static_cast<size_t>(count))) {
      trprintf("copy: write(\"%s\") failed: %s.\n", target, strerror(errno));
      return false;
    }
  }
}

// Opens the target of a copy, empty; `made` receives whether it is new.
Descriptor open_target(const char *target, mode_t mode, bool *made) {
  Descriptor out(open(target, O_WRONLY | O_CREAT | O_EXCL | O_NONBLOCK | O_CLOEXEC, mode));
  *made = static_cast<bool>(out);
  // Without blocking: a FIFO without a reader must not hold the program.
  if (!out && errno == EEXIST) out.reset(open(target, O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, mode));
  if (out)
    fcntl(out.get(), F_SETFL, 0);
  else
    trprintf("copy: open(\"%s\") failed: %s.\n", target, strerror(errno));
  return out;
}

// Fills the target and closes it: some file systems report only on closing that the bytes were not stored.
bool fill_target(int in, const char *source, Descriptor out, const char *target, const mode_t *new_mode) {
  if (new_mode && fchmod(out.get(), *new_mode) != 0) {
    trprintf("copy: fchmod(\"%s\") failed: %s.\n", target, strerror(errno));
    return false;
  }
  if (!copy_blocks(in, source, out.get(), target)) return false;
  if (close(out.release()) == 0) return true;
  trprintf("copy: write(\"%s\") failed: %s.\n", target, strerror(errno));
  return false;
}

// Copies to a new file that then takes the name of the target, so that a failure leaves an old target whole.
bool replace_target(int in, const char *source, const char *target, const mode_t *new_mode) {
  ReplacementOptions options;
  if (new_mode) options.mode = *new_mode;
  Replacement file;
  if (!file.begin(target, options)) {
    trprintf("copy: open(\"%s\") failed: %s.\n", target, strerror(errno));
    return false;
  }
  if (!copy_blocks(in, source, file.fd(), target)) return false;
  if (!file.commit()) {
    trprintf("copy: write(\"%s\") failed: %s.\n", target, strerror(errno));
    return false;
  }
  return true;
}

// `copy`; with `whole`, a target that is a regular file or missing is replaced whole.
bool copy_file(const char *source, const char *target, bool whole) {
  PathBuffer inside;
  struct stat old_target = {};
  bool exists = stat(target, &old_target) == 0;
  const bool into_directory = exists && S_ISDIR(old_target.st_mode);
  if (into_directory) {
    if (!join(inside, target, last_component(source))) {
      trprintf("copy: path too large\n");
      return false;
    }
    target = inside;
    exists = stat(target, &old_target) == 0;
  }

  struct stat status = {};
  const Descriptor in = open_source(source, &status);
  if (!in) return false;
  if (exists && is_same_file(old_target, status)) {
    trprintf("copy: \"%s\" and \"%s\" are the same file.\n", source, target);
    errno = EEXIST;
    return false;
  }
  const mode_t mode = status.st_mode & 07777;
  const mode_t *new_mode = into_directory && exists ? &mode : nullptr;
  if (whole && (!exists || S_ISREG(old_target.st_mode)))
    return replace_target(in.get(), source, target, exists ? new_mode : &mode);
  bool made;
  Descriptor out = open_target(target, mode, &made);
  if (!out) return false;
  if (fill_target(in.get(), source, std::move(out), target, new_mode)) return true;
  const int kept = errno;
  if (made && unlink(target) != 0) trprintf("copy: unlink(\"%s\") failed: %s.\n", target, strerror(errno));
  errno = kept;
  return false;
}
}  // namespace

int copy(const char *source, const char *target) {
  return copy_file(source, target, false);
}

namespace {
// Whether two paths are different names of one file. `rename` leaves both of them.
bool are_hard_links(const std::string &one, const std::string &other) {
  struct stat first, second;
  if (lstat(one.c_str(), &first) != 0 || lstat(other.c_str(), &second) != 0) return false;
  if (!S_ISREG(first.st_mode) || first.st_nlink < 2 || !is_same_file(first, second)) return false;
  if (one.substr(one.rfind('/') + 1) != other.substr(other.rfind('/') + 1)) return true;
  return stat(directory_of(one).c_str(), &first) == 0 && stat(directory_of(other).c_str(), &second) == 0 &&
         !is_same_file(first, second);
}
}  // namespace

int ks_move(const char *source, const char *target) {
  struct stat status;
  if (stat(source, &status) != 0) {
    trprintf("ks_move: stat(\"%s\") failed: %s.\n", source, strerror(errno));
    return 0;
  }
  if (!S_ISREG(status.st_mode)) {
    trprintf("ks_move: \"%s\" isn't a regular file.\n", source);
    return 0;
  }
  if (!are_hard_links(source, target)) {
    if (rename(source, target) == 0) return 1;
    if (errno != EISDIR && errno != EXDEV && errno != EMLINK) {
      trprintf("ks_move: rename(\"%s\",\"%s\") failed: %s.\n", source, target, strerror(errno));
      return 0;
    }
    if (!copy_file(source, target, true)) {
      trprintf("ks_move: copy(\"%s\",\"%s\") failed: %s.\n", source, target, strerror(errno));
      return 0;
    }
  }
  if (unlink(source) != 0) {
    trprintf("ks_move: unlink(\"%s\") failed: %s.\n", source, strerror(errno));
    return 0;
  }
  return 1;
}

int ks_ftruncate(int fd, off_t length) {
  if (ftruncate(fd, length) == 0) return 0;
  trprintf("ks_ftruncate:  ftruncate(%ld), errno=%d\n", static_cast<long>(length), errno);
  return -1;
}

const char *get_temp_dir() {
  static char directory[PATH_LIMIT];
  const char *chosen = getenv("SORBEXTMP");
  copy_text(directory, sizeof directory, chosen && *chosen ? chosen : "/tmp");
  return directory;
}

const char *basename(char *path) {
  if (!path || !*path) return ".";
  const size_t length = strlen(path);
  if (length == 1 && *path == '/') return path;
  if (path[length - 1] == '/') path[length - 1] = '\0';
  const char *separator = strrchr(path, '/');
  return separator ? separator + 1 : path;
}

const char *dirname(char *path) {
  if (!path) return ".";
  char *separator = strrchr(path, '/');
  if (!separator) return ".";
  separator[separator == path] = '\0';
  return path;
}

}  // namespace tolvane
