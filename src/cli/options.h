// Options that several commands have, declared once.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tolvane {

/// A word on the command line and what it stands for.
using Choice = std::pair<std::string, int32_t>;

/// Adds an option that takes one of some words and stores what it stands for.
CLI::Option *add_choice(CLI::App &usage, const char *names, int32_t &target, const std::vector<Choice> &choices,
                        const char *help);

/// Adds an option that takes a page coding that can be written: mh, mr or mmr.
CLI::Option *add_coding(CLI::App &usage, const char *names, int32_t &target, const char *help);

/// Adds `--resolution normal|fine`.
CLI::Option *add_resolution(CLI::App &usage, int32_t &target, const char *help);

/// Adds `--inclusions resolve|keep`: what becomes of pages that come from other files.
CLI::Option *add_inclusions(CLI::App &usage, int32_t &keep);

/// Adds `--force`: do what is refused to protect a file.
CLI::Option *add_force(CLI::App &usage, bool &force, const char *help);

}  // namespace tolvane
