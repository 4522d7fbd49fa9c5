// Finds the print script or program, builds one command line and runs it through the shell. The names in that line come
// from outside: whatever is not quoted here could run another program.
#include "app/print_handoff.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "app/app_state.h"
#include "support/file.h"
#include "support/handle.h"
#include "support/printable.h"
#include "ui/notice.h"
#include "view/view_state.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|print_handoff|9|01|4|0|0|11/23/26|10:59:04";

constexpr size_t COMMAND_SIZE = 4096;  // bytes of a command line, including the terminator

constexpr std::string_view PLAIN_CHARACTERS =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._:@/-+%,=";

bool is_plain(std::string_view text) {
  return text.find_first_not_of(PLAIN_CHARACTERS) == text.npos;
}

// A host or printer name is not quoted in the line, so that only plain names are accepted.
bool is_fit_name(const char *what, const char *name) {
  if (is_plain(name)) return true;
  fprintf(stderr,
          "tolvane: %s name '%s' cannot be passed to the print program: it may contain only letters, digits and "
          "._:@/-+%%,=\n",
          what, printable(name).c_str());
  return false;
}

// The text in double quotes, escaped so that the shell reads it back unchanged.
std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char ch : text) {
    if (std::string_view("\"$`\\").find(ch) != std::string_view::npos) result += '\\';
    result += ch;
  }
  return result + '"';
}

// The path of the program as the command word, quoted only if it contains special characters.
std::string command_word(std::string_view path) {
  return is_plain(path) ? std::string(path) : quoted(path);
}

std::string script_command(const char *path) {
  return command_word(path) + ' ' + quoted(Fullpath_fax_filename) + ' ' + quoted(Server_name) + ' ' +
         quoted(Printer_name);
}

std::string program_command(const char *path) {
  const std::string printer = *Printer_name ? std::string(" -pr ") + Printer_name : "";
  return command_word(path) + " -s " + Server_name + printer + ' ' + quoted(Fullpath_fax_filename);
}

// The whole command line; empty, after a message, if there is nothing to run.
std::string print_command() {
  if (const Block<char> script{find_executable("tolvane_print")}) return script_command(script.get());
  if (const Block<char> program{find_executable("ormbrix2")}) return program_command(program.get());
  fputs("\aCouldn't find script 'tolvane_print' or executable 'ormbrix2'\n", stderr);
  notify_user(
      "There is no print program. Put a script named tolvane_print\ninto a directory of PATH, or install the package "
      "tolvane.");
  return {};
}

// `system`, with the default action for the signals that the viewer ignores.
int run(const std::string &command) {
  constexpr int SIGNALS[] = {SIGPIPE, SIGTTIN, SIGTTOU};
  struct sigaction standard = {}, saved[std::size(SIGNALS)];
  standard.sa_handler = SIG_DFL;
  for (size_t i = 0; i < std::size(SIGNALS); ++i) sigaction(SIGNALS[i], &standard, &saved[i]);
  const int result = system(command.c_str());
  for (size_t i = 0; i < std::size(SIGNALS); ++i) sigaction(SIGNALS[i], &saved[i], nullptr);
  return result;
}

// Shows what a failed print command wrote to the file `output`, and copies it to standard error.
void report_output(int output, bool failed) {
  char text[1000];
  const ssize_t length = std::max<ssize_t>(pread(output, text, sizeof text, 0), 0);
  write_fully(STDERR_FILENO, text, static_cast<size_t>(length));
  if (failed) notify_user("The file could not be printed.\n" + std::string(text, static_cast<size_t>(length)));
}

// Runs a command line through the shell, apart from the command protocol: standard input is empty, and standard output
// goes to standard error, through a file if a failure is to be shown in the window. The file is named, since a shell
// need not accept a descriptor of two digits (POSIX, 2.7), which it is if the viewer has inherited others.
int run_apart(const std::string &command) {
  const Descriptor output(notices_enabled() ? memfd_create("print", 0) : -1);
  const std::string target = output ? ">>/dev/fd/" + std::to_string(output.get()) + " 2>&1" : ">&2";
  const int result = run("{ " + command + "\n} </dev/null " + target);
  if (output) report_output(output.get(), result != 0);
  return result;
}

}  // namespace

int tn_call_ormbrix() {
  if (!is_fit_name("server", Server_name) || !is_fit_name("printer", Printer_name)) return 1;
  const std::string command = print_command();
  if (command.empty()) return 1;
  if (command.size() >= COMMAND_SIZE) {
    fprintf(stderr, "tolvane: print command longer than %zu bytes\n", COMMAND_SIZE - 1);
    return 1;
  }
  if (run_apart(command) < 0) {
    const int fault = errno;
    fprintf(stderr, "%s: %s\n", printable(command).c_str(), strerror(fault));
    return 1;
  }
  return 0;
}

}  // namespace tolvane
