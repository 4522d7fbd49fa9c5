// The commands of tolvane-fax. Each has a file of its own, cmd_<name>.cpp, and a row in the table in main.
#pragma once

#include "cli/command_usage.h"
#include "io/report.h"

namespace tolvane {

/// A command: `tolvane-fax NAME`.
struct Command {
  const char *name;
  const char *summary;            ///< one line for `--help`
  void (*declare)(Usage &usage);  ///< adds options and operands, bound to variables of the command's file
  Status (*run)();                ///< does the work; faults have been reported when it returns
};

extern const Command create_command;
extern const Command append_command;
extern const Command insert_command;
extern const Command include_command;
extern const Command merge_command;
extern const Command split_command;
extern const Command convert_command;
extern const Command keywords_command;
extern const Command repair_command;
extern const Command info_command;
extern const Command check_command;
extern const Command compare_command;
extern const Command extract_command;
extern const Command render_command;
extern const Command completion_table_command;

}  // namespace tolvane
