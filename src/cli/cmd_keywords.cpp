// tolvane-fax keywords: prints and edits the header lines of a fax file. The keyword operations of the library find a
// name anywhere in the header, also in a value. So lines are compared by their whole name and edited here, in memory,
// and the file is replaced as a whole.
#include <algorithm>
#include <cstring>
#include <utility>

#include "cli/commands.h"
#include "cli/json_lines.h"
#include "cli/keyword_values.h"
#include "cli/options.h"
#include "document/fax_composition.h"
#include "document/fax_document.h"
#include "faxfile/header_lines.h"
#include "faxfile/usorbport.h"
#include "io/output_file.h"
#include "io/terminal_output.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_keywords|9|01|5|0|0|11/23/26|15:55:59";

constexpr size_t HELP_WIDTH = 100;  // columns of a help text

std::string file;
std::vector<std::string> words;  // the operands after FILE: names, or NAME=VALUE
std::string copied_file;
FileList several;  // the files of `get`, if they come after the names
bool force, as_json;

bool is_line_of(const std::string &line, const std::string &name) {
  return header_line_value(line, name.c_str());
}

void remove_lines(HeaderLines &lines, const std::string &name) {
  std::erase_if(lines, [&](const std::string &line) { return is_line_of(line, name); });
}

// A stored value as text: a carriage return is a line break.
std::string shown(std::string value, const char *line_break) {
  for (size_t at = 0; (at = value.find('\r', at)) != std::string::npos;) value.replace(at, 1, line_break);
  return value;
}

Status list_lines(FaxDocument &document) {
  for (const std::string &line : document.lines) printf("%s\n", shown(line, "\n\t").c_str());
  return DONE;
}

// The values of a keyword, each with its line breaks as `line_break`.
std::vector<std::string> values_of(const FaxDocument &document, const std::string &name, const char *line_break) {
  std::vector<std::string> values;
  for (const std::string &line : document.lines) {
    if (const char *value = header_line_value(line, name.c_str())) values.push_back(shown(value, line_break));
  }
  return values;
}

Status print_values(FaxDocument &document) {
  Status status = DONE;
  for (const std::string &name : words) {
    const std::vector<std::string> values = values_of(document, name, "\n");
    for (const std::string &value : values) printf("%s\n", value.c_str());
    if (values.empty()) status = failure("%s: no line %s", document.name(), name.c_str());
  }
  return status;
}

// One object with the values of all names.
void print_object(const FaxDocument &document) {
  JsonObject object = file_object(document.path);
  for (const std::string &name : words) object["values"][name] = values_of(document, name, "\n");
  puts(json_line(object).c_str());
}

// A line per value: file, name and value, with tabs between them.
void print_rows(const FaxDocument &document) {
  for (const std::string &name : words) {
    for (const std::string &value : values_of(document, name, "\\n"))
      printf("%s\t%s\t%s\n", result_name(document.shown_name).c_str(), name.c_str(), value.c_str());
  }
}

Status print_values_of_file(const std::string &path) {
  FaxDocument document;
  std::string error;
  if (with_error(error, [&] { return open_fax(path, document); }) != DONE)
    return unreadable_file(path, error, as_json)();
  wipe_progress();
  (as_json ? print_object : print_rows)(document);
  return DONE;
}

Status print_values_of_files() {
  if (const Status status = several.complete(); status != DONE) return status;
  Progress progress("files", static_cast<int32_t>(several.files.size()));
  Status status = DONE;
  for (const std::string &path : several.files) {
    status = worse(status, print_values_of_file(path));
    progress.step();
  }
  return status;
}

Status set_values(FaxDocument &document) {
  for (const std::string &word : words) {
    KeywordValue keyword;
    if (parse_keyword(word, keyword) != DONE) return USAGE;
    const std::string line = keyword.first + ':';
    const auto first = std::find_if(document.lines.begin(), document.lines.end(),
                                    [&](const std::string &other) { return is_line_of(other, keyword.first); });
    const auto place = first - document.lines.begin();
    remove_lines(document.lines, keyword.first);
    document.lines.insert(document.lines.begin() + place, line);
    set_header_value(document.lines, keyword.first.c_str(), keyword.second);
  }
  return DONE;
}

Status add_values(FaxDocument &document) {
  for (const std::string &word : words) {
    if (add_keyword_line(word, document.lines) != DONE) return USAGE;
  }
  return DONE;
}

Status delete_values(FaxDocument &document) {
  for (const std::string &name : words) remove_lines(document.lines, name);
  return DONE;
}

// Copies the free text of another file, or the lines of some names.
Status copy_values(FaxDocument &document) {
  FaxDocument source;
  if (open_fax(copied_file, source) != DONE) return FAILED;
  HeaderLines copied;
  for (const std::string &line : source.lines) {
    const auto is_wanted = [&](const std::string &name) { return is_line_of(line, name); };
    if (words.empty() ? !is_structural(line) : std::any_of(words.begin(), words.end(), is_wanted))
      copied.push_back(line);
  }
  for (const std::string &line : copied) {
    const size_t colon = line.find(':');
    if (colon == std::string::npos)
      std::erase(document.lines, line);  // it has no name
    else
      remove_lines(document.lines, line.substr(0, colon));
  }
  document.lines.insert(document.lines.end(), copied.begin(), copied.end());
  return DONE;
}

struct Action {
  const char *name;
  const char *summary;
  const char *operands;  ///< null: none after FILE
  bool names;            ///< the operands are names of keywords
  bool edits;            ///< the file is written afterwards
  Status (*act)(FaxDocument &document);
};

constexpr Action ACTIONS[] = {
    {"list", "Print all header lines", nullptr, false, false, list_lines},
    {"get", "Print the values of keywords", "NAME", true, false, print_values},
    {"set", "Set the values of keywords, in place", "NAME=VALUE", false, true, set_values},
    {"add", "Append lines, also of a name that is present", "NAME=VALUE", false, true, add_values},
    {"delete", "Delete all lines of keywords", "NAME", true, true, delete_values},
    {"copy", "Copy the free text of another file", "NAME", true, true, copy_values},
};

const Action *chosen;

// The names of keywords, for `--help`. The completion of the shell reads them there.
std::string name_list() {
  std::string text = "Names:", line;
  for (const char *name : faxFileKeywordList) {
    if (line.size() + strlen(name) > HELP_WIDTH) text += "\n " + std::exchange(line, "");
    line += std::string(" ") + name + ',';
  }
  line.pop_back();
  return text + "\n " + line;
}

void declare(Usage &usage) {
  usage.add_footer(name_list());
  for (const Action &action : ACTIONS) {
    const bool gets = action.act == print_values;
    Usage parser = usage.add_subcommand(action.name, action.summary, [&action] { chosen = &action; });
    parser.add_option("FILE", file, "the fax file").required();
    if (action.edits) add_force(parser, force, "also change lines that say how pages are read");
    const bool copies = action.act == copy_values;
    if (action.operands)
      parser.add_option(action.operands, words, copies ? "copy only these names" : "one or more")
          .required(!copies && !gets);
    if (copies) parser.add_option("--from", copied_file, "the fax file to copy from").required();
    if (!gets) continue;
    add_file_list(parser, several);
    parser.add_flag("--json", as_json, "print one line with a JSON object per file");
    parser.add_footer("For several files, give the names first: get NAME... FILE...");
  }
}

// Whether `get` has its names before the files. Then these become `words`, and the files `several`.
bool take_names_first() {
  const auto first_file = std::find_if_not(words.begin(), words.end(), is_keyword_name);
  const bool names_first = is_keyword_name(file) && (first_file != words.end() || !several.list.empty());
  if (!names_first) return false;
  several.files.assign(first_file, words.end());
  words.erase(first_file, words.end());
  words.insert(words.begin(), file);
  return true;
}

// Lines that say how pages are read, or where they are, stay: they are true of the pages, or `check` reports them.
Status check_structural() {
  for (const std::string &word : words) {
    KeywordValue keyword{word, {}};
    if (!chosen->names && parse_keyword(word, keyword) != DONE) return USAGE;
    const std::string &name = keyword.first;
    if (!force && chosen->edits && is_structural(name + ':'))
      return usage_fault("%s says how pages are read: not changed without --force", name.c_str());
  }
  return DONE;
}

Status run_get() {
  const bool names_first = take_names_first();
  if (words.empty()) return usage_fault("NAME is required");
  for (const std::string &name : words) {
    if (check_keyword_name(name) != DONE) return USAGE;
  }
  if (names_first) return print_values_of_files();
  if (!several.list.empty()) return usage_fault("with --files-from, names come before files");
  FaxDocument document;
  return as_json ? print_values_of_file(file) : open_fax(file, document) == DONE ? print_values(document) : FAILED;
}

Status run() {
  if (chosen->act == print_values) return run_get();
  if (check_structural() != DONE) return USAGE;
  if (chosen->names) {
    for (const std::string &name : words) {
      if (check_keyword_name(name) != DONE) return USAGE;
    }
  }
  FaxDocument document;
  EditedFile edited;
  if ((chosen->edits ? open_fax_to_edit(file, document, edited) : open_fax(file, document)) != DONE) return FAILED;
  const HeaderLines before = document.lines;
  if (const Status status = chosen->act(document); status != DONE || !chosen->edits) return status;
  if (document.lines == before && file != "-") return DONE;
  OutputFile output;
  if (check_header(document.name(), document.lines) != DONE || output.open(file) != DONE) return FAILED;
  return write_fax_header_lines(document, output);
}

}  // namespace

const Command keywords_command = {"keywords", "Print and edit the header lines of a fax", declare, run};

}  // namespace tolvane
