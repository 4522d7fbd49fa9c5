// The file TRACES and what follows from it for the stream of the trace. Nothing here writes trace lines but the two
// that say that a file is being closed. TRACES is read again only if its modification time, in whole seconds, has moved
// on: two edits within one second count as one.
#include "support/trace_config.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "support/file.h"
#include "support/handle.h"
#include "support/strlib.h"
#include "support/trace.h"
#include "support/whitespace.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|trace_config|9|01|3|0|0|11/23/26|14:40:40";

int32_t Debug = 0;  // the environment has TRACECONFIG: each step is reported on standard output
int32_t Initted = 0;
char Trace_work_dir[PATH_LIMIT];
char Trace_exec_dir[PATH_LIMIT];
char Trace_filename[PATH_LIMIT];         // of the open trace; "stdout" or "stderr" for those streams
char Trace_config_filename[PATH_LIMIT];  // the TRACES found last
char last_config[PATH_LIMIT];            // the TRACES read last
int32_t last_update = 0;                 // its modification time then

// The fields of a line of TRACES after the program.
struct TraceLine {
  char on_off[TRACE_FIELD_SIZE];
  char output[TRACE_OUTPUT_SIZE];
  char mode[TRACE_FIELD_SIZE];
  char fifth[TRACE_FIELD_SIZE];
};

bool is_real_file(const FILE *stream) {
  return stream && stream != stdout && stream != stderr;
}
}  // namespace

int tr_init(const char *exec_dir, const char *work_dir) {
  if (Initted || Trace_on) return 0;
  for (const char *directory : {exec_dir, work_dir})
    if (!directory || !*directory || strlen(directory) >= PATH_LIMIT) return 0;
  tr_close();
  strcpy(Trace_exec_dir, exec_dir);
  strcpy(Trace_work_dir, work_dir);
  Initted = 1;
  return 1;
}

int tr_close() {
  for (char *name : {Trace_work_dir, Trace_exec_dir, Trace_filename, Trace_config_filename}) *name = '\0';
  Initted = 0;
  Trace_toggle = 1;
  if (is_real_file(Trace_fp)) fclose(Trace_fp);
  Trace_fp = nullptr;
  return 1;
}

namespace {
bool is_of_user_or_root(const struct stat &status) {
  return status.st_uid == geteuid() || status.st_uid == 0;
}

// The working directory may belong to anybody. A file there counts if it is the user's or root's, and so is a link that
// leads to it, and others may not write it.
bool is_trusted(const char *path, const struct stat &status) {
  struct stat link;
  return S_ISREG(status.st_mode) && is_of_user_or_root(status) && !(status.st_mode & S_IWOTH) &&
         lstat(path, &link) == 0 && is_of_user_or_root(link);
}

// Whether directory and separator lead to a TRACES; a name that does not fit leads nowhere. Without a directory it is
// the working directory.
bool is_config(char *path, struct stat *status, const char *directory, const char *separator) {
  const int length = snprintf(path, PATH_LIMIT, "%s%sTRACES", directory, separator);
  if (length < 0 || static_cast<size_t>(length) >= PATH_LIMIT) return false;
  if (Debug) printf("looking for file '%s'\n", path);
  return stat(path, status) == 0 && (*directory || is_trusted(path, *status));
}

// Opens TRACES to read, if it is still what it was when it was found: no FIFO is waited for.
FILE *open_config(const char *path) {
  Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status;
  if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
  if (!strchr(path, '/') && !is_trusted(path, status)) return nullptr;
  FILE *stream = fdopen(file.get(), "r");
  if (stream) file.release();
  return stream;
}
}  // namespace

int find_trace_config_file(char *path, struct stat *status) {
  if (!path) return 0;
  const char *home = getenv("SORBEXHOME");
  if (home && is_config(path, status, home, "/")) return 1;
  if (is_config(path, status, Trace_exec_dir, "/") || is_config(path, status, "", "")) return 1;
  if (Debug) printf("couldn't find a TRACES file\n");
  return 0;
}

namespace {
constexpr size_t LINE_LENGTH = 1023;
using LineBuffer = char[LINE_LENGTH + 2];

// Takes the next word off `rest`; empty at its end.
std::string_view take_word(std::string_view *rest) {
  const auto begin = std::find_if_not(rest->begin(), rest->end(), is_whitespace);
  const auto end = std::find_if(begin, rest->end(), is_whitespace);
  const std::string_view word(begin, end);
  *rest = std::string_view(end, rest->end());
  return word;
}

// Reads a line and cuts its last character off, the newline as a rule. What is longer than a line may be is passed
// over.
bool read_line(FILE *file, LineBuffer &line) {
  if (!fgets(line, sizeof line, file)) return false;
  const size_t length = strlen(line);
  if (length == sizeof line - 1 && line[length - 1] != '\n')
    for (int ch = 0; ch != '\n' && ch != EOF;) ch = fgetc(file);
  if (length > 0) line[length - 1] = '\0';
  return true;
}

// A missing word and "-" leave the field to its default; a word too long is cut.
void set_field(char *field, size_t size, std::string_view word, const char *fallback) {
  if (word.empty() || word == "-")
    copy_text(field, size, fallback);
  else
    copy_text(field, std::min(size, word.size() + 1), word.data());
}

// Reads on to the first line of the program and gives what follows its name in `rest`, which points into `line`.
bool find_program_line(FILE *file, const char *name, LineBuffer &line, std::string_view *rest) {
  while (read_line(file, line)) {
    if (strlen(line) < 2 || *line == '#') continue;
    *rest = line;
    const std::string_view program = take_word(rest);
    if (!program.empty() && program == name) return true;
  }
  return false;
}
}  // namespace

int check_trace_config_file(const char *name, char *on_off, char *output, char *mode, char *fifth) {
  if (getenv("TRACECONFIG")) Debug = 1;
  if (Debug) printf("check_trace_config_file('%s')\n", name);

  struct stat status;
  if (!find_trace_config_file(Trace_config_filename, &status)) {
    last_update = 0;
    *last_config = '\0';
    return 1;
  }
  const int32_t modified = static_cast<int32_t>(status.st_mtime);
  if (strcmp(Trace_config_filename, last_config) == 0 && last_update >= modified) return 3;
  FILE *file = open_config(Trace_config_filename);
  if (!file) return 1;
  last_update = modified;
  copy_text(last_config, sizeof last_config, Trace_config_filename);

  LineBuffer line;
  std::string_view rest;
  const bool found = find_program_line(file, name, line, &rest);
  fclose(file);
  if (!found) {
    if (Debug) printf("no trace config line for '%s'\n", name);
    return 2;
  }
  if (Debug) printf("found trace config line '%s'\n", line);
  set_field(on_off, TRACE_FIELD_SIZE, take_word(&rest), "yes");
  set_field(output, TRACE_OUTPUT_SIZE, take_word(&rest), name);
  set_field(mode, TRACE_FIELD_SIZE, take_word(&rest), "append");
  set_field(fifth, TRACE_FIELD_SIZE, take_word(&rest), "");
  return 0;
}

namespace {
// Says in the trace that its file is closed, and closes it; nothing happens to the standard streams.
void close_trace_file(const char *farewell) {
  if (!is_real_file(Trace_fp)) return;
  tr_puts(farewell);
  if (Debug) printf("%s", farewell);
  fclose(Trace_fp);
  Trace_fp = nullptr;
}

int turn_off(const char *program) {
  close_trace_file("open_trace_file: Closing trace file before rescaning\n");
  if (Debug) printf("open_trace_file(%s): turn off\n", program);
  Trace_on = 0;
  Trace_toggle = 1;
  Trace_fp = nullptr;
  *Trace_filename = '\0';
  return 1;
}

// Line buffering, so that a finished line is in the file whichever way the program ends. Each stream keeps its buffer
// for good: standard output goes on after the trace has left it.
void buffer_lines(FILE *stream) {
  constexpr size_t BUFFER_SIZE = 8192;
  static char buffers[3][BUFFER_SIZE];
  setvbuf(stream, buffers[stream == stdout ? 0 : stream == stderr ? 1 : 2], _IOLBF, BUFFER_SIZE);
}

int turn_on(const char *program, FILE *stream) {
  Trace_fp = stream;
  Trace_on = 1;
  Trace_toggle = 1;
  buffer_lines(stream);
  if (Debug) printf("open_trace_file(%s): Trace_on\ntrace file is '%s'\n", program, Trace_filename);
  return 1;
}

int trace_to_stream(const char *program, const char *output, FILE *stream) {
  close_trace_file("open_trace_file: Closing old trace file before rescaning\n");
  copy_text(Trace_filename, sizeof Trace_filename, output);
  return turn_on(program, stream);
}

// Whether somebody else may make files in the directory of a path.
bool is_shared_directory(const char *path) {
  std::string directory = path;
  struct stat status;
  return stat(dirname(directory.data()), &status) != 0 || !is_of_user_or_root(status) ||
         (status.st_mode & (S_IWGRP | S_IWOTH));
}

// Opens the trace file. It is a regular file and the user's own; in a directory where others may make files it is no
// link to another one.
FILE *open_output(const char *path, bool overwrite) {
  const bool shared = is_shared_directory(path);
  Descriptor file(
      open(path, O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (shared ? O_NOFOLLOW : 0), 0666));
  struct stat status;
  if (!file || fstat(file.get(), &status) != 0) return nullptr;
  if (!S_ISREG(status.st_mode) || status.st_uid != geteuid() || (shared && status.st_nlink > 1)) {
    errno = EPERM;
    return nullptr;
  }
  if (overwrite && ftruncate(file.get(), 0) != 0) return nullptr;
  FILE *stream = fdopen(file.get(), "a");
  if (stream) file.release();
  return stream;
}

int trace_to_file(const char *program, const TraceLine &line) {
  char path[PATH_LIMIT + TRACE_OUTPUT_SIZE + sizeof "/trace_"];
  if (*line.output == '/')
    copy_text(path, sizeof path, line.output);
  else
    snprintf(path, sizeof path, "%s/trace_%s", Trace_work_dir, line.output);
  if (Trace_on && strcmp(path, Trace_filename) == 0) {
    if (Debug) printf("open_trace_file(%s): Same config file\n", program);
    return 1;
  }
  close_trace_file("open_trace_file: Closing old trace file before rescaning\n");
  const bool overwrite = *line.mode == 'O' || *line.mode == 'o';
  FILE *file = open_output(path, overwrite);
  copy_text(Trace_filename, sizeof Trace_filename, path);
  if (file) return turn_on(program, file);
  fprintf(stderr, "open_trace_file:  Couldn't open trace file '%s', using stdout, errno=%d\n", path, errno);
  turn_on(program, stdout);
  return 0;
}

// The name of a program with slashes, as a plain name: /opt/fax/bin/tool gives opt_fax_bin_tool.
void flatten(const char *name, char (&flat)[TRACE_FIELD_SIZE]) {
  copy_text(flat, sizeof flat, *name == '/' || *name == '_' ? name + 1 : name);
  convert_char(flat, '/', '_');
}
}  // namespace

int open_trace_file(const char *name) {
  if (!Initted) {
    fprintf(stderr, "open_trace_file:  Traces have not been properly initialized\n");
    return 0;
  }
  char flat[TRACE_FIELD_SIZE];
  const bool has_path = strchr(name, '/');
  if (has_path) flatten(name, flat);
  const char *program = has_path ? flat : name;

  TraceLine line{};
  if (Debug) printf("open_trace_file(%s)\n", program);
  const int ret = check_trace_config_file(name, line.on_off, line.output, line.mode, line.fifth);
  if (Debug) printf("open_trace_file(%s): ret=%d\n", program, ret);
  if (ret == 3) {
    if (Debug) printf("open_trace_file(%s): no change\n", program);
    return 1;
  }
  if (ret != 0) return Trace_on ? turn_off(program) : 1;

  if (Debug) printf("open_trace_file(%s): 1 on_off=\"%s\"\n", program, line.on_off);
  if (has_path && strchr(line.output, '/')) copy_text(line.output, sizeof line.output, program);
  if (strcasecmp(line.on_off, "off") == 0) return turn_off(program);
  if (strcmp(line.output, "stdout") == 0) return trace_to_stream(program, line.output, stdout);
  if (strcmp(line.output, "stderr") == 0) return trace_to_stream(program, line.output, stderr);
  return trace_to_file(program, line);
}

}  // namespace tolvane
