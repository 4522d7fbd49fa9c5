// tolvane-fax append: adds pages of other formats after the last page of a fax file.
#include "cli/commands.h"
#include "cli/page_input.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_append|9|01|3|0|0|11/23/26|07:06:52";

std::string file;
PageInput input;

void declare(Usage &usage) {
  usage.add_option("FILE", file, "the fax file").required();
  declare_page_input(usage, input);
}

Status run() {
  return insert_pages(file, 0, input);
}

}  // namespace

const Command append_command = {"append", "Append pages to a fax", declare, run};

}  // namespace tolvane
