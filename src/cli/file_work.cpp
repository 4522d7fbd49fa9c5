// A small file is one job. The pages of a large one are jobs of their own, for which the other files wait.
#include "cli/file_work.h"

#include <sys/stat.h>

#include <deque>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "io/ordered_work.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|file_work|9|01|1|0|0|11/23/26|07:50:00";

constexpr size_t FILES_AT_A_TIME = 64;         // each has a few open descriptors
constexpr off_t A_FEW_PAGES = 128 * 1024;      // bytes that are not worth more than one thread
constexpr off_t MANY_PAGES = 8 * 1024 * 1024;  // bytes for which other files should not wait in line

struct FileInWork {
  Diagnostics diagnostics;
  FileReport report;
};

// Whether the threads work on the pages of this file rather than on this file and others. What is no regular file may
// be standard input, and is not read from any thread.
bool is_worked_on_alone(const std::string &path, size_t files_left, size_t threads) {
  struct stat status = {};
  if (path == "-" || (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))) return true;
  return status.st_size > (files_left > 2 * threads ? MANY_PAGES : A_FEW_PAGES);
}

FileReport work_on(const std::string &path, size_t index, const std::function<FileReport(size_t)> &work) {
  try {
    return work(index);
  } catch (const std::bad_alloc &) {
    report("%s: out of memory", path.c_str());
  } catch (const std::exception &error) {
    report("%s: %s", path.c_str(), error.what());
  }
  return [] { return FAILED; };
}

}  // namespace

Status for_each_file(const std::vector<std::string> &files, const std::function<FileReport(size_t)> &work) {
  Progress progress("files", static_cast<int32_t>(files.size()));
  std::deque<std::unique_ptr<FileInWork>> under_way;  // oldest first
  OrderedWork jobs(FILES_AT_A_TIME);
  Status status = DONE;
  const auto finish = [&](const FileReport &report_file) {
    status = worse(status, report_file());
    if (files.size() > 1) progress.step();
  };
  const auto take = [&] {
    jobs.take();
    const std::unique_ptr<FileInWork> file = std::move(under_way.front());
    under_way.pop_front();
    print_diagnostics(file->diagnostics);
    finish(file->report);
  };
  for (size_t i = 0; i < files.size(); ++i) {
    const bool alone = is_worked_on_alone(files[i], files.size() - i, jobs.threads());
    while (alone ? !jobs.empty() : !jobs.has_room()) take();
    if (alone) {
      finish(work_on(files[i], i, work));
      continue;
    }
    FileInWork &file = *under_way.emplace_back(std::make_unique<FileInWork>());
    jobs.add([&, i] {
      const HoldDiagnostics hold(file.diagnostics);
      file.report = work_on(files[i], i, work);
    });
  }
  while (!jobs.empty()) take();
  return status;
}

}  // namespace tolvane
