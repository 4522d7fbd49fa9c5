// tolvane-fax insert: adds pages of other formats before a page of a fax file. Pages count those stored in the file,
// not those that it includes.
#include "cli/commands.h"
#include "cli/page_input.h"
#include "document/fax_document.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_insert|9|01|3|0|0|11/23/26|07:06:52";

std::string file;
int32_t place;
PageInput input;

void declare(Usage &usage) {
  usage.add_option("N", place, "insert before this page of the file's own, from 1").required().range(1, MOST_RECORDS);
  usage.add_option("FILE", file, "the fax file").required();
  declare_page_input(usage, input);
}

Status run() {
  return insert_pages(file, place, input);
}

}  // namespace

const Command insert_command = {"insert", "Insert pages before page N of a fax", declare, run};

}  // namespace tolvane
