// A walk through files that include each other. An included file is opened once, however often it is named; names are
// looked for in the directory of the document, also those in included files.
#include "document/page_sources.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "io/file_names.h"
#include "support/replace_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_sources|9|01|5|0|0|11/23/26|15:10:07";

constexpr size_t MOST_REPORTED = 4096;  // stretches of missing pages: some hundred bytes can make 65536

// What counts of a file for the place of pages.
struct Source {
  std::string path;
  std::string fault;    // empty if it can be read
  std::string outside;  // its path without links if it is outside the directory of the document
  int32_t records = 0;
  std::vector<Inclusion> inclusions;
  bool is_whole = true;  // no invalid inclusion follows them
};

Source source_of(const FaxDocument &document) {
  return {document.path, {}, {}, document.record_count(), document.inclusions, document.inclusions_whole};
}

// The files of a document, each opened once.
class Sources {
 public:
  explicit Sources(const FaxDocument &document) : document_(document) {}

  const Source &named(const std::string &name) {
    const auto [place, is_new] = files_.try_emplace(name);
    if (!is_new) return place->second;
    IncludedFax opened;
    const std::string fault = open_included_fax(document_, name, opened);
    Source &source = place->second;
    source = fault.empty() ? source_of(*opened.fax) : Source{document_.directory + '/' + name, fault, {}, 0, {}, true};
    if (fault.empty() && lies_outside(opened.fd.get(), document_.directory))
      source.outside = path_of_descriptor(opened.fd.get());
    return source;
  }

 private:
  const FaxDocument &document_;
  std::map<std::string, Source> files_;
};

// Passes through the pages of a document in order, counting those that are there and noting those that are not.
class Walk {
 public:
  explicit Walk(const FaxDocument &document) : sources_(document) {}

  std::vector<MissingPages> missing{};
  std::map<std::string, int32_t> outside{};  // files outside the directory, and how many pages they have here

  // Takes the first `count` pages of a file.
  void take(const Source &source, int32_t count, int32_t depth) {
    const int32_t wanted = count;
    int32_t record = 0;  // passed
    for (const Inclusion &inclusion : source.inclusions) {
      if (count == 0) return;
      take_records(source, std::min(count, inclusion.at - 1 - record), record, count);
      take_included(inclusion.name, std::min(count, inclusion.count), depth);
      count -= std::min(count, inclusion.count);
    }
    if (!source.is_whole) record = wanted - count;
    take_records(source, count, record, count);
  }

 private:
  void take_records(const Source &source, int32_t wanted, int32_t &record, int32_t &count) {
    if (wanted == 0) return;
    const int32_t there = std::clamp(source.records - record, 0, wanted);
    const int32_t passed = pass(there);
    if (passed > 0 && !source.outside.empty()) outside[source.outside] += passed;
    skip(wanted - passed, source.path, record + passed + 1,
         source.path + " has only " + std::to_string(source.records) + " pages of its own");
    record += wanted;
    count -= wanted;
  }

  void take_included(const std::string &name, int32_t count, int32_t depth) {
    if (count == 0) return;
    const Source &source = sources_.named(name);
    if (!ends()) ++visits_;
    if (ends() || depth == DEEPEST_INCLUSION)
      skip(count, source.path, 1, "endless inclusions");
    else if (!source.fault.empty())
      skip(count, source.path, 1, source.fault);
    else
      take(source, count, depth + 1);
  }

  // A document with the most pages may include each of them by itself. Files that include each other can be passed
  // through without end, and no page or only missing ones are added.
  bool ends() const { return page_ == MOST_PAGES || visits_ > MOST_PAGES; }

  // Passes pages that are there. Returns how many there is room for.
  int32_t pass(int32_t count) {
    count = ends() ? 0 : std::min(count, MOST_PAGES - page_);
    page_ += count;
    total_ += count;
    return count;
  }

  // After the stretches that are reported one by one, those without a page between them become one.
  void skip(int32_t count, const std::string &source, int32_t source_page, const std::string &reason) {
    if (count == 0) return;
    const std::string &text = page_ == MOST_PAGES ? too_many_pages_ : ends() ? too_many_visits_ : reason;
    const bool follows = !missing.empty() && missing.back().last == total_;
    const bool is_same = follows && missing.back().reason == text;
    if (is_same || (follows && missing.size() > MOST_REPORTED)) {
      missing.back().last += count;
      if (!is_same) missing.back().reason = "several reasons";
    } else {
      missing.push_back({total_ + 1, total_ + count, source, source_page, text});
    }
    total_ += count;
  }

  const std::string too_many_pages_ = "more than " + std::to_string(MOST_PAGES) + " pages";
  const std::string too_many_visits_ = "more than " + std::to_string(MOST_PAGES) + " inclusions";
  Sources sources_;
  int32_t page_ = 0;    // pages that are there
  int32_t total_ = 0;   // and those that are not
  int32_t visits_ = 0;  // of included files
};

bool is_one_file(const struct stat &one, const struct stat &other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

Walk walk_all(const FaxDocument &document) {
  Walk walk(document);
  walk.take(source_of(document), document.inclusions_usable ? document.page_count() : document.record_count(), 0);
  return walk;
}

}  // namespace

std::vector<MissingPages> find_missing_pages(const FaxDocument &document) {
  return std::move(walk_all(document).missing);
}

void report_outside(const FaxDocument &document) {
  if (document.inclusions.empty() || No_outside) return;
  for (const auto &[path, pages] : walk_all(document).outside)
    notice("%s: takes %d page%s from %s, outside its directory (--no-outside refuses that)", document.name(), pages,
           pages == 1 ? "" : "s", path.c_str());
}

const MissingPages *missing_at(const std::vector<MissingPages> &missing, int32_t page) {
  const auto after = std::upper_bound(missing.begin(), missing.end(), page,
                                      [](int32_t one, const MissingPages &pages) { return one < pages.first; });
  return after != missing.begin() && page <= (after - 1)->last ? &*(after - 1) : nullptr;
}

Status MissingReport::add(const MissingPages &pages) {
  if (reported_ == MOST_REPORTED) {
    unreported_ += int64_t{pages.last} - pages.first + 1;
    return DAMAGED;
  }
  ++reported_;
  const char *name = document_.name(), *reason = pages.reason.c_str();
  if (pages.first == pages.last)
    report("%s: page %d is not available: %s", name, pages.first, reason);
  else
    report("%s: pages %d to %d are not available: %s", name, pages.first, pages.last, reason);
  return DAMAGED;
}

void MissingReport::finish() {
  if (unreported_ > 0)
    report("%s: %lld more pages are not available", document_.name(), static_cast<long long>(unreported_));
}

Status require_all_pages(const FaxDocument &document) {
  const std::vector<MissingPages> missing = find_missing_pages(document);
  MissingReport missing_report(document);
  for (const MissingPages &pages : missing) missing_report.add(pages);
  missing_report.finish();
  return missing.empty() ? DONE : FAILED;
}

const std::vector<std::string> &source_paths(const FaxDocument &document) {
  std::vector<std::string> &paths = document.included_files->paths;
  if (!paths.empty()) return paths;
  Sources sources(document);
  paths = {document.path};
  const auto add = [&](const Source &source, auto &&again) -> void {
    for (const Inclusion &inclusion : source.inclusions) {
      const Source &included = sources.named(inclusion.name);
      if (std::find(paths.begin(), paths.end(), included.path) != paths.end()) continue;
      paths.push_back(included.path);
      again(included, again);
    }
  };
  add(source_of(document), add);
  return paths;
}

Status check_not_source(const std::string &output, const FaxDocument &document, bool itself) {
  const bool is_stream = output == "-";
  struct stat file, own;
  const bool exists = (is_stream ? fstat(STDOUT_FILENO, &file) : stat(output.c_str(), &file)) == 0;
  const bool is_own = exists && fstat(document.fd.get(), &own) == 0 && is_one_file(own, file);
  const std::vector<std::string> &paths = source_paths(document);
  const bool is_included = std::any_of(paths.begin() + 1, paths.end(), [&](const std::string &path) {
    struct stat source;
    return exists ? stat(path.c_str(), &source) == 0 && is_one_file(source, file) : place_of(output) == place_of(path);
  });
  if (!is_included && !(is_own && (is_stream || !itself))) return DONE;
  return failure("%s: not overwritten, since %s takes pages from it", is_stream ? "standard output" : output.c_str(),
                 document.name());
}

}  // namespace tolvane
