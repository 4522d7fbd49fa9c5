// tolvane-fax create: makes a new fax file from pages of other formats. Reading pages is in formats/page_readers,
// fitting them in formats/fax_lines.
#include <sys/stat.h>

#include "cli/commands.h"
#include "cli/keyword_values.h"
#include "cli/options.h"
#include "cli/page_input.h"
#include "document/fax_composition.h"
#include "document/fax_document.h"
#include "faxfile/header_lines.h"
#include "faxfile/usorbport.h"
#include "io/input_file.h"
#include "io/output_file.h"
#include "support/handle.h"
#include "support/replace_file.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_create|9|01|4|0|0|11/23/26|11:29:38";

std::string out;
PageInput input;
int32_t coding = COMP_MMR;
int32_t resolution = 1;
std::vector<std::string> keywords;
bool force, no_metadata;

void declare(Usage &usage) {
  usage.add_option("OUT", out, "the new fax file; - is standard output").required();
  declare_page_input(usage, input);
  add_coding(usage, "--coding", coding, "how pages are coded");
  add_resolution(usage, resolution, "98 or 196 lines per inch");
  add_force(usage, force, "replace OUT even if it is not a fax file").excludes(add_no_clobber(usage));
  usage.add_flag("--no-metadata", no_metadata, "take no header lines from tags and texts of the first file");
  usage.add_option("-k,--keyword", keywords, "add a header line; may be repeated")
      .type_name("NAME=VALUE")
      .one_word_each();
}

// The header lines that the user adds to those that are set here.
Status add_keywords(HeaderLines &lines) {
  for (const std::string &text : keywords) {
    if (add_keyword_line(text, lines) != DONE) return USAGE;
    if (!is_structural(lines.back())) continue;
    return usage_fault("%s is set by the program", text.substr(0, text.find('=')).c_str());
  }
  return check_header(out.c_str(), lines);
}

// A name forgotten before `*.tif` makes the first page the output.
Status check_output() {
  struct stat status;
  if (force || out == "-" || stat(out.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0)
    return DONE;
  const Descriptor file = open_regular(out);
  uint32_t magic = 0;
  if (!file || (readLongFlipped(file.get(), &magic) == 4 && magic == FAXFILE_MAGIC)) return DONE;
  return failure("%s exists and is not a fax file: not replaced without --force", out.c_str());
}

Status run() {
  HeaderLines wanted;
  if (const Status status = add_keywords(wanted); status != DONE) return status;
  OutputFile output;
  if (check_output() != DONE || output.open(out) != DONE) return FAILED;
  const Descriptor spool = open_spool(output.fd());
  if (!spool) return system_failure(output.name(), "no temporary file can be made for its pages");
  int32_t pages = 0;
  HeaderValues found;
  const Status read = code_pages(input, coding, resolution, {output.name(), spool.get()}, pages, found);
  if (read == FAILED) return FAILED;

  HeaderLines lines = leading_lines(pages, resolution, coding);
  for (const auto &[name, value] : found) {
    if (!no_metadata && !find_header_value(wanted, name.c_str())) set_header_value(lines, name.c_str(), value);
  }
  lines.insert(lines.end(), wanted.begin(), wanted.end());
  const RecordRange all[] = {{spool.get(), 0, file_size(spool.get())}};
  if (check_header(output.name(), lines) != DONE || write_fax(output, lines, all) != DONE ||
      commit_new_fax(output, out) != DONE)
    return FAILED;
  return read;
}

}  // namespace

const Command create_command = {"create", "Create a fax from TIFF, PBM, PNG, PDF, SFF or raw pages", declare, run};

}  // namespace tolvane
