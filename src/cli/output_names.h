// The files that a command makes of several others.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "io/file_names.h"
#include "io/report.h"

namespace tolvane {

/// Names of outputs by a pattern, `output_name`. No output has the name of another one, is an input or a file
/// that one includes.
class OutputNames {
 public:
  /// Looks for names that several inputs would have in common, before anything is written.
  ///
  /// @param page  of each input, for which names are compared
  /// @return DONE, or USAGE after a message
  Status plan(const std::string &pattern, const std::vector<std::string> &inputs, int32_t page = 1);

  /// The turn of an input to reserve the names of its pages, in any thread. Inputs have their turns in order, so that a
  /// name that several would have goes to the first of them. A turn ends with the object at the latest.
  class Turn {
   public:
    /// @param index  of the input among those of `plan`; each has one turn
    Turn(OutputNames &names, size_t index) : names_(names), index_(index) {}
    ~Turn();
    Turn(const Turn &) = delete;
    Turn &operator=(const Turn &) = delete;

    /// Waits for the turn, reserves the names that are free, and ends it. DONE; or FAILED after a message: two pages
    /// of the input have one name.
    Status reserve(const std::string &input, const std::vector<int32_t> &pages);

   private:
    std::unique_lock<std::mutex> wait();
    void end();

    OutputNames &names_;
    const size_t index_;
    bool ended_ = false;
  };

  /// The output of a page, from any thread. DONE; or FAILED after a message: it is reserved for another page, is an
  /// input, or exists and may not be replaced.
  Status take(const std::string &input, int32_t page, std::string &path);

  /// The status of an input whose pages do not fit the command line: USAGE, but FAILED if there are others.
  Status misfit() const { return several_ ? FAILED : USAGE; }

 private:
  void add_sources(const std::string &input);
  bool is_input(const std::string &path) const;
  bool may_meet() const;

  std::string pattern_;
  bool several_ = false;                      // inputs
  std::set<std::pair<dev_t, ino_t>> inputs_;  // and files that they include, if there are several
  std::mutex mutex_;                          // protects what follows
  std::condition_variable turn_ended_;
  size_t next_ = 0;                                                // input whose turn it is
  std::map<FilePlace, std::pair<std::string, int32_t>> reserved_;  // the input and page of each name
};

}  // namespace tolvane
