// The commands of tolvane-fax: each lives in a file of its own, cmd_<name>.cpp, and is a row of the table in main.
#pragma once

#include "io/report.h"

namespace CLI {
class App;
}

namespace tolvane {

/// A command: what stands behind `tolvane-fax NAME`.
struct Command {
  const char *name;
  const char *summary;               ///< one line for `--help`
  void (*declare)(CLI::App &usage);  ///< adds options and operands, bound to variables of the command's file
  Status (*run)();                   ///< does the work; whatever goes wrong has been told when it returns
};

extern const Command create_command;
extern const Command append_command;
extern const Command insert_command;
extern const Command include_command;
extern const Command merge_command;
extern const Command split_command;
extern const Command convert_command;
extern const Command keywords_command;
extern const Command info_command;
extern const Command check_command;
extern const Command extract_command;
extern const Command render_command;

}  // namespace tolvane
