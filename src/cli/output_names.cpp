// How many pages an input has is known only when it is read. So names are compared for the first page of all inputs
// before the work begins, and where pages have files of their own, each input reserves those of its pages.
#include "cli/output_names.h"

#include <sys/stat.h>

#include "document/fax_document.h"
#include "document/page_sources.h"
#include "io/file_names.h"
#include "io/output_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|output_names|9|01|4|0|0|11/23/26|14:58:01";
}  // namespace

bool OutputNames::is_input(const std::string &path) const {
  struct stat file;
  return !inputs_.empty() && stat(path.c_str(), &file) == 0 && inputs_.count({file.st_dev, file.st_ino}) > 0;
}

// Adds an input and the files that it includes. What cannot be read is reported when its turn comes.
void OutputNames::add_sources(const std::string &input) {
  Diagnostics unused;
  const HoldDiagnostics hold(unused);
  FaxDocument document;
  const bool is_fax = open_fax(input, document) == DONE;
  for (const std::string &path : is_fax ? source_paths(document) : std::vector{input}) {
    struct stat file;
    if (stat(path.c_str(), &file) == 0) inputs_.insert({file.st_dev, file.st_ino});
  }
}

// Whether names depend on pages that are not known yet.
bool OutputNames::may_meet() const {
  return has_page(pattern_);
}

Status OutputNames::plan(const std::string &pattern, const std::vector<std::string> &inputs, int32_t page) {
  pattern_ = pattern;
  several_ = inputs.size() > 1;
  if (is_broken_pattern(pattern)) return usage_fault("\"%s\" may have one %%d and no other %%", pattern.c_str());
  if (!several_) return DONE;
  if (!has_input_name(pattern)) return usage_fault("\"%s\" needs {name}: there are several files", pattern.c_str());
  for (const std::string &input : inputs) {
    if (input != "-") add_sources(input);
  }
  std::map<FilePlace, const std::string *> outputs;
  for (const std::string &input : inputs) {
    const std::string output = output_name(pattern, input, page);
    const auto [place, is_new] = outputs.try_emplace(place_of(output), &input);
    if (!is_new)
      return usage_fault("%s and %s would both be written to %s", place->second->c_str(), input.c_str(),
                         output.c_str());
    if (is_input(output))
      return usage_fault("%s would be written to %s, which is to be read", input.c_str(), output.c_str());
  }
  return DONE;
}

std::unique_lock<std::mutex> OutputNames::Turn::wait() {
  std::unique_lock lock(names_.mutex_);
  names_.turn_ended_.wait(lock, [&] { return names_.next_ == index_; });
  return lock;
}

void OutputNames::Turn::end() {
  ended_ = true;
  ++names_.next_;
  names_.turn_ended_.notify_all();
}

Status OutputNames::Turn::reserve(const std::string &input, const std::vector<int32_t> &pages) {
  if (!names_.may_meet()) return DONE;
  const std::unique_lock lock = wait();
  Status status = DONE;
  for (const int32_t page : pages) {
    const std::string output = output_name(names_.pattern_, input, page);
    const auto [place, is_new] = names_.reserved_.try_emplace(place_of(output), input, page);
    const auto &[other_input, other_page] = place->second;
    if (is_new || other_input != input || other_page == page || status != DONE) continue;
    status =
        failure("%s: pages %d and %d would both be written to %s", input.c_str(), other_page, page, output.c_str());
  }
  end();
  return status;
}

OutputNames::Turn::~Turn() {
  if (ended_ || !names_.may_meet()) return;
  const std::unique_lock lock = wait();
  end();
}

Status OutputNames::take(const std::string &input, int32_t page, std::string &path) {
  path = output_name(pattern_, input, page);
  if (check_clobber(path) != DONE) return FAILED;
  if (!may_meet()) return DONE;
  if (is_input(path)) return failure("%s: page %d: %s is to be read", input.c_str(), page, path.c_str());
  const std::lock_guard lock(mutex_);
  const auto reserved = reserved_.find(place_of(path));
  if (reserved == reserved_.end() || reserved->second == std::pair(input, page)) return DONE;
  return failure("%s: page %d: %s is that of another page", input.c_str(), page, path.c_str());
}

}  // namespace tolvane
