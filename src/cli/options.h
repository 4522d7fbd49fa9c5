// Options that several commands have, declared once. A choice is stored as the value that it stands for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "cli/command_usage.h"
#include "io/report.h"

namespace tolvane {

/// Adds an option that takes one of some words, in upper or lower case.
///
/// @param chosen   receives the index of the word that was given
/// @param preset   index of the word that is the default, shown in the help; none if there is no such word
Option add_words(Usage &usage, const char *names, const std::vector<std::string> &words,
                 const std::function<void(size_t)> &chosen, size_t preset, const std::string &help);

/// Adds an option that takes one of some words and stores the value that the word stands for. The value that `target`
/// has is the default.
template <typename Value>
Option add_choice(Usage &usage, const char *names, Value &target,
                  const std::vector<std::pair<std::string, Value>> &choices, const std::string &help) {
  std::vector<std::string> words;
  size_t preset = choices.size();
  for (size_t i = choices.size(); i-- > 0;) {
    words.insert(words.begin(), choices[i].first);
    if (choices[i].second == target) preset = i;
  }
  return add_words(
      usage, names, words, [&target, choices](size_t i) { target = choices[i].second; }, preset, help);
}

/// Adds an option that takes a number from `low` to `high`. The value that `target` has is the default, if it is one.
Option add_number(Usage &usage, const char *names, int32_t &target, int32_t low, int32_t high, const std::string &help);

/// Adds an option that takes a page coding that can be written: mh, mr or mmr.
Option add_coding(Usage &usage, const char *names, int32_t &target, const std::string &help);

/// Adds `--resolution normal|fine`.
Option add_resolution(Usage &usage, int32_t &target, const std::string &help);

/// Adds `--inclusions resolve|keep`: what becomes of pages that come from other files.
Option add_inclusions(Usage &usage, bool &keep);

/// Adds `--keep-going`: unreadable pages are reported and skipped.
Option add_keep_going(Usage &usage, bool &keep_going);

/// The fax files that a command works on.
struct FileList {
  std::vector<std::string> files;  ///< those of the command line; after `complete` all of them
  std::string list;                ///< path of a file with more names; empty: none
  bool null_separated = false;     ///< names in the list end in a zero byte, not a line feed

  bool takes_output = false;  ///< the operands end in OUT

  /// Reads the list, which may be empty. DONE; USAGE or FAILED after a message: neither file nor list, no such list.
  Status complete();
};

/// Adds `--files-from` with `-0`.
void add_file_list(Usage &usage, FileList &files);

/// Adds the operands FILE... OUT, and the same.
void add_files_and_output(Usage &usage, FileList &files, std::string &out, const std::string &help);

/// Adds the operands FILE..., and the same.
void add_files(Usage &usage, FileList &files, const std::string &help);

/// Adds `--force`: do what is refused to protect a file.
Option add_force(Usage &usage, bool &force, const std::string &help);

/// Adds `--no-clobber`: no file is replaced.
Option add_no_clobber(Usage &usage);

/// Adds `--rotate`: degrees to the right, or ROTATE_AUTO.
Option add_rotate(Usage &usage, int32_t &degrees);

}  // namespace tolvane
