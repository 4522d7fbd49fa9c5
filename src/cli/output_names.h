// The files that a command makes of several others.
#pragma once

#include <sys/types.h>

#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "io/report.h"

namespace tolvane {

/// Names of outputs by a pattern, `output_name`. No output has the name of another one or is an input.
class OutputNames {
 public:
  /// Looks for names that several inputs would have in common, before anything is written.
  ///
  /// @return DONE, or USAGE after a message
  Status plan(const std::string &pattern, const std::vector<std::string> &inputs);

  /// The output of a page, from any thread. DONE; or FAILED after a message: it has been made of another
  /// page, or exists and may not be replaced.
  Status take(const std::string &input, int32_t page, std::string &path);

  /// The status of an input whose pages do not fit the command line: USAGE, but FAILED if there are others.
  Status misfit() const { return several_ ? FAILED : USAGE; }

 private:
  bool is_input(const std::string &path) const;

  std::string pattern_;
  bool several_ = false;                      // inputs
  std::set<std::pair<dev_t, ino_t>> inputs_;  // if there are several
  std::mutex mutex_;                          // protects what follows
  std::set<std::string> taken_;               // of several inputs with a file for each page
};

}  // namespace tolvane
