// The frame of tolvane-fax: the table of commands, the command line, the exit status. Each command has a file of its
// own; a new command is one more row of the table. The command line parser and some libraries throw: their exceptions
// are caught here, after handles have removed unfinished files, unless other files or threads of the command go on.
#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "document/fax_document.h"
#include "io/input_file.h"
#include "io/ordered_work.h"
#include "io/terminal_output.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|main|9|01|5|0|0|11/23/26|13:50:32";

constexpr const Command *COMMANDS[] = {
    &info_command,   &check_command,   &compare_command, &create_command,   &append_command,
    &insert_command, &include_command, &extract_command, &render_command,   &merge_command,
    &split_command,  &convert_command, &repair_command,  &keywords_command, &completion_table_command,
};

// Reports why the parser rejects the command line. It misses an operand before it finds an unknown word, although the
// word is the fault: that is reported instead.
Status command_line_fault(const CLI::App &usage, const CLI::ParseError &error) {
  const std::vector<std::string> unknown = usage.remaining(true);
  const std::string text = unknown.empty() ? error.what() : "\"" + unknown.front() + "\" was not expected";
  usage_fault("%s", text.c_str());
  fputs("Run with --help for more information.\n", stderr);
  return USAGE;
}

// The words of the command line, last one first, as the parser expects them. It would read a word in brackets as a
// list of words; for a file of such a name its directory is prepended.
std::vector<std::string> words_backwards(int argc, char **argv) {
  std::vector<std::string> words;
  for (int i = argc - 1; i > 0; --i) {
    const std::string word = argv[i];
    words.push_back(word.starts_with('[') && word.ends_with(']') ? "./" + word : word);
  }
  return words;
}

Status run_command_line(int argc, char **argv) {
  CLI::App usage("Make, change and read stored fax documents.", "tolvane-fax");
  usage.set_version_flag("--version", "tolvane-fax " TOLVANE_VERSION " (" TOLVANE_VERSION_LINE ")");
  usage.add_flag("-q,--quiet", Quiet, "show no progress");
  usage.add_flag("-v,--verbose", Verbose, "report which files and pages are read and written, and how");
  usage.add_flag("--no-outside", No_outside, "take no pages from files outside the directory of a fax");
  for (const char *word : {"REQUIRED", "TEXT", "INT"}) usage.get_formatter()->label(word, "");
  Usage(usage)
      .add_option("-j,--jobs", Jobs, "threads that work on pages and files (default: one for each processor)")
      .type_name("N")
      .range(1, 1024);
  usage.fallthrough();
  usage.footer("Exit status: 0 done, 1 usage error, 2 failed, 3 done, but damage was found.");
  const Command *chosen = nullptr;
  for (const Command *command : COMMANDS) {
    Usage parser =
        Usage(usage).add_subcommand(command->name, command->summary, [&chosen, command] { chosen = command; });
    command->declare(parser);
  }
  try {
    usage.parse(words_backwards(argc, argv));
  } catch (const CLI::ParseError &error) {
    if (error.get_exit_code() != 0) return command_line_fault(usage, error);
    usage.exit(error);
    return DONE;
  }
  return chosen->run();
}

// Opens standard channels that were closed at the start on a device that fails as they would. Otherwise a file of ours
// would get such a descriptor, and diagnostics would end up among its bytes.
void fill_standard_channels() {
  for (const int channel : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(channel, F_GETFD) < 0) open("/dev/null", channel == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

// Lets the process have as many files open as it may: merge has all its inputs open.
void raise_file_limit() {
  rlimit limit;
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

Status run_guarded(int argc, char **argv) {
  try {
    return run_command_line(argc, argv);
  } catch (const std::bad_alloc &) {
    const char *name = last_input();
    return *name ? failure("%s: out of memory", name) : failure("out of memory");
  } catch (const std::exception &error) {
    return failure("%s", error.what());
  }
}

// Fails if results did not reach standard output, whatever the command returns.
Status close_output(Status status) {
  return flush_output() ? status : worse(status, system_failure("standard output"));
}

}  // namespace
}  // namespace tolvane

int main(int argc, char **argv) {
  signal(SIGXFSZ, SIG_IGN);            // a limit on the size of files becomes a failed write with a message
  mallopt(M_MMAP_THRESHOLD, 4 << 20);  // what a very long page takes goes back to the system with it
  tolvane::fill_standard_channels();
  tolvane::raise_file_limit();
  tolvane::protect_terminal();
  return tolvane::close_output(tolvane::run_guarded(argc, argv));
}
