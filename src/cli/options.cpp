// Options that several commands have. A choice is stored as its value at once: no command compares words.
#include "cli/options.h"

#include <ctype.h>

#include <algorithm>
#include <string_view>

#include "formats/turning.h"
#include "io/input_file.h"
#include "io/output_file.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|options|9|01|4|0|0|11/23/26|11:25:00";
}

Option add_words(Usage &usage, const char *names, const std::vector<std::string> &words,
                 const std::function<void(size_t)> &chosen, size_t preset, const std::string &help) {
  std::string listed;
  for (const std::string &word : words) listed += (listed.empty() ? "" : "|") + word;
  const auto store = [chosen, words, listed](const std::string &given) -> std::string {
    std::string word = given;
    for (char &letter : word) letter = static_cast<char>(tolower(static_cast<unsigned char>(letter)));
    const auto found = std::find(words.begin(), words.end(), word);
    if (found == words.end()) return "\"" + given + "\" is not one of " + listed;
    chosen(static_cast<size_t>(found - words.begin()));
    return "";
  };
  const std::string note = preset < words.size() ? " (default: " + words[preset] + ")" : "";
  return usage.add_parsed(names, store, help + note).type_name(listed);
}

Option add_number(Usage &usage, const char *names, int32_t &target, int32_t low, int32_t high,
                  const std::string &help) {
  const std::string note = target >= low && target <= high ? " (default: " + std::to_string(target) + ")" : "";
  return usage.add_option(names, target, help + note).type_name("N").range(low, high);
}

Option add_coding(Usage &usage, const char *names, int32_t &target, const std::string &help) {
  return add_choice<int32_t>(usage, names, target, {{"mh", COMP_MH}, {"mr", COMP_MR}, {"mmr", COMP_MMR}}, help);
}

Option add_keep_going(Usage &usage, bool &keep_going) {
  return usage.add_flag("--keep-going", keep_going, "skip unreadable pages and files, and exit with 3");
}

Status FileList::complete() {
  if (takes_output && files.empty() && list.empty()) return usage_fault("OUT is required");
  if (!list.empty()) {
    InputFile input;
    if (input.open(list, true) != DONE) return FAILED;
    std::string_view rest(reinterpret_cast<const char *>(input.bytes().data()), input.bytes().size());
    const char end = null_separated ? '\0' : '\n';
    while (!rest.empty()) {
      const size_t length = std::min(rest.find(end), rest.size());
      if (length > 0) files.emplace_back(rest.substr(0, length));
      rest.remove_prefix(std::min(length + 1, rest.size()));
    }
  }
  return files.empty() && list.empty() ? usage_fault("no file is given") : DONE;
}

void add_file_list(Usage &usage, FileList &files) {
  Option list = usage.add_option("--files-from", files.list, "read more file names, one per line; - is standard input");
  list.type_name("LIST");
  usage.add_flag("-0,--null", files.null_separated, "names in LIST end in a zero byte").needs(list);
}

void add_files_and_output(Usage &usage, FileList &files, std::string &out, const std::string &help) {
  files.takes_output = true;
  usage.add_operands("FILE", files.files, "fax files; - is standard input", "OUT", out, help);
  add_file_list(usage, files);
}

void add_files(Usage &usage, FileList &files, const std::string &help) {
  usage.add_option("FILE", files.files, help);
  add_file_list(usage, files);
}

Option add_force(Usage &usage, bool &force, const std::string &help) {
  return usage.add_flag("--force", force, help);
}

Option add_no_clobber(Usage &usage) {
  return usage.add_flag("--no-clobber", NoClobber, "replace no file: report one that exists, and fail");
}

Option add_resolution(Usage &usage, int32_t &target, const std::string &help) {
  return add_choice<int32_t>(usage, "--resolution", target, {{"normal", 0}, {"fine", 1}}, help);
}

Option add_inclusions(Usage &usage, bool &keep) {
  return add_choice<bool>(usage, "--inclusions", keep, {{"resolve", false}, {"keep", true}},
                          "copy pages of other files, or keep including them");
}

Option add_rotate(Usage &usage, int32_t &degrees) {
  return add_choice<int32_t>(usage, "--rotate", degrees,
                             {{"0", 0}, {"90", 90}, {"180", 180}, {"270", 270}, {"auto", ROTATE_AUTO}},
                             "turn pages to the right by these degrees, or by 90 if their text runs up or down");
}

}  // namespace tolvane
