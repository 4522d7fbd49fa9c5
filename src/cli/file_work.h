// Commands that take any number of files: the work on each, in any thread, and the reports in order.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "io/report.h"

namespace tolvane {

/// What the work on a file leaves to be printed or counted; returns the status of the file.
using FileReport = std::function<Status()>;

/// Works on all files, on several at a time unless they are few or large. Neither output nor status depends on the
/// number of threads.
///
/// @param work  works on the file with this index, in any thread. What it prints goes into the report, except
///              diagnostics: those are held back. A file may be locked during this call, not longer
/// @return the worst status of the reports, which are called in the order of the files, each after the diagnostics of
///         its file were printed; FAILED, after a message, for work that throws
Status for_each_file(const std::vector<std::string> &files, const std::function<FileReport(size_t index)> &work);

}  // namespace tolvane
