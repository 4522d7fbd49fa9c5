// tolvane-fax completion-table: what there is to complete on a command line, for the scripts of the shells. The build
// puts the table into them. Not in the help: it is no command for users.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "cli/commands.h"
#include "faxfile/usorbport.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_completion_table|9|01|3|0|0|11/23/26|09:20:56";

const CLI::App *program;

void declare(Usage &usage) {
  usage.parser().group("");
  program = usage.parser().get_parent();
}

// A row: a command or two words of one, what is completed after it, what it takes, a text.
void print_row(const std::string &command, const std::string &names, const std::string &takes, const char *text) {
  printf("%s|%s|%s|%s\n", command.c_str(), names.c_str(), takes.c_str(), text);
}

// What an option or operand takes: nothing, one of some words, a FILE, a keyword and its value, or another VALUE.
std::string taken(const CLI::Option &option) {
  std::string type = option.get_type_name();
  if (option.get_expected_min() == 0 && !option.get_positional()) return "";
  if (type == "TEXT" || type == "LIST") return "FILE";
  if (type.find('|') == std::string::npos) return type == "NAME=VALUE" ? type : "VALUE";
  std::replace(type.begin(), type.end(), '|', ' ');
  return type;
}

// Rows of the options of a command, of its operands, and of its subcommands.
void print_command(const CLI::App &app, const std::string &command) {
  for (const CLI::Option *option : app.get_options()) {
    std::string names = option->get_positional() ? option->get_name(true) : "";
    for (const std::string &name : option->get_snames()) names += (names.empty() ? "-" : " -") + name;
    for (const std::string &name : option->get_lnames()) names += (names.empty() ? "--" : " --") + name;
    print_row(command, names, taken(*option), option->get_description().c_str());
  }
  for (const CLI::App *each : app.get_subcommands([](const CLI::App *sub) { return !sub->get_group().empty(); })) {
    print_row(command, each->get_name(), "COMMAND", each->get_description().c_str());
    print_command(*each, command.empty() ? each->get_name() : command + " " + each->get_name());
  }
}

Status run() {
  std::string names;
  for (const char *name : faxFileKeywordList) names += (names.empty() ? "" : " ") + std::string(name);
  print_row("", "NAME", names, "a keyword");
  print_command(*program, "");
  return DONE;
}

}  // namespace

const Command completion_table_command = {"completion-table", "Prints what there is to complete", declare, run};

}  // namespace tolvane
