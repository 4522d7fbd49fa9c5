// Options that several commands have. A choice is stored as its code at once: no command compares words.
#include "cli/options.h"

#include <CLI/CLI.hpp>

#include <algorithm>

#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|options|9|01|1|0|0|11/22/26|22:40:00";
}

CLI::Option *add_choice(CLI::App &usage, const char *names, int32_t &target, const std::vector<Choice> &choices,
                        const char *help) {
  std::string words;
  for (const Choice &choice : choices) words += (words.empty() ? "" : "|") + choice.first;
  const auto store = [&target, choices, words, name = std::string(names)](const CLI::results_t &given) {
    const auto found = std::find_if(choices.begin(), choices.end(), [&](const Choice &choice) {
      return choice.first == CLI::detail::to_lower(given[0]);
    });
    if (found == choices.end()) throw CLI::ValidationError(name, "\"" + given[0] + "\" is not one of " + words);
    target = found->second;
    return true;
  };
  return usage.add_option(names, store, help)->type_name(words)->type_size(1);
}

CLI::Option *add_coding(CLI::App &usage, const char *names, int32_t &target, const char *help) {
  return add_choice(usage, names, target, {{"mh", COMP_MH}, {"mr", COMP_MR}, {"mmr", COMP_MMR}}, help);
}

CLI::Option *add_resolution(CLI::App &usage, int32_t &target, const char *help) {
  return add_choice(usage, "--resolution", target, {{"normal", 0}, {"fine", 1}}, help);
}

CLI::Option *add_force(CLI::App &usage, bool &force, const char *help) {
  return usage.add_flag("--force", force, help);
}

CLI::Option *add_inclusions(CLI::App &usage, int32_t &keep) {
  return add_choice(
      usage, "--inclusions", keep, {{"resolve", 0}, {"keep", 1}},
      "copy the pages that come from other files (resolve, as unless given), or go on taking them from there");
}

}  // namespace tolvane
