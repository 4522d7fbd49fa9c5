// The parser sees a choice as a function that takes a word, so that the help can list the words as they are.
#include "cli/options.h"

#include <CLI/CLI.hpp>

#include <algorithm>

#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|options|9|01|1|0|0|11/22/26|22:40:00";
}

CLI::Option *add_words(CLI::App &usage, const char *names, const std::vector<std::string> &words,
                       const std::function<void(size_t)> &chosen, size_t preset, const std::string &help) {
  std::string listed;
  for (const std::string &word : words) listed += (listed.empty() ? "" : "|") + word;
  const auto store = [chosen, words, listed, name = std::string(names)](const CLI::results_t &given) {
    const auto found = std::find(words.begin(), words.end(), CLI::detail::to_lower(given[0]));
    if (found == words.end()) throw CLI::ValidationError(name, "\"" + given[0] + "\" is not one of " + listed);
    chosen(static_cast<size_t>(found - words.begin()));
    return true;
  };
  const std::string note = preset < words.size() ? " (default: " + words[preset] + ")" : "";
  return usage.add_option(names, store, help + note)->type_name(listed)->type_size(1);
}

CLI::Option *add_number(CLI::App &usage, const char *names, int32_t &target, int32_t low, int32_t high,
                        const std::string &help) {
  const std::string note = target >= low && target <= high ? " (default: " + std::to_string(target) + ")" : "";
  return usage.add_option(names, target, help + note)->type_name("N")->check(CLI::Range(low, high).description(""));
}

CLI::Option *add_coding(CLI::App &usage, const char *names, int32_t &target, const std::string &help) {
  return add_choice<int32_t>(usage, names, target, {{"mh", COMP_MH}, {"mr", COMP_MR}, {"mmr", COMP_MMR}}, help);
}

CLI::Option *add_force(CLI::App &usage, bool &force, const std::string &help) {
  return usage.add_flag("--force", force, help);
}

CLI::Option *add_resolution(CLI::App &usage, int32_t &target, const std::string &help) {
  return add_choice<int32_t>(usage, "--resolution", target, {{"normal", 0}, {"fine", 1}}, help);
}

CLI::Option *add_inclusions(CLI::App &usage, bool &keep) {
  return add_choice<bool>(usage, "--inclusions", keep, {{"resolve", false}, {"keep", true}},
                          "copy pages of other files, or keep including them");
}

}  // namespace tolvane
