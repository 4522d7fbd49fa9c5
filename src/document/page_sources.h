// The files that the pages of a document come from, found through INCLUDE lines without a look at any page.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "document/fax_document.h"
#include "io/report.h"

namespace tolvane {

/// Pages of a document that are dealt with at most: more can be promised than any file contains.
constexpr int32_t MOST_PAGES = 65535;

/// Pages that the document promises and no file has.
struct MissingPages {
  int32_t first, last;  ///< of the document
  std::string source;   ///< path of the file that should have the first of them
  int32_t source_page;  ///< number of the first of them in that file
  std::string reason;
};

/// Finds the missing pages in ascending order, as far as INCLUDE lines and the number of records show them. Each file
/// is opened once. After 4096 stretches, one may have several reasons.
std::vector<MissingPages> find_missing_pages(const FaxDocument &document);

/// The stretch that contains a page; null if the page is not missing.
const MissingPages *missing_at(const std::vector<MissingPages> &missing, int32_t page);

/// Reports missing pages of one document: a message for each of the first 4096 stretches, the rest as a number.
class MissingReport {
 public:
  explicit MissingReport(const FaxDocument &document) : document_(document) {}

  /// Reports a stretch, or counts its pages. Returns DAMAGED.
  Status add(const MissingPages &pages);
  /// After the last stretch: reports how many pages were only counted, if any.
  void finish();

 private:
  const FaxDocument &document_;
  size_t reported_ = 0;     // stretches
  int64_t unreported_ = 0;  // pages
};

/// Reports all missing pages; returns FAILED if there are any, else DONE.
Status require_all_pages(const FaxDocument &document);

/// Reports each file outside the directory of the document that it takes pages from: a stranger who wrote its INCLUDE
/// lines may have chosen them.
void report_outside(const FaxDocument &document);

/// The paths of all files that pages come from, the document's own first, whether or not the files are there.
const std::vector<std::string> &source_paths(const FaxDocument &document);

/// Refuses an output that is one of the files that pages come from, by whatever name.
///
/// @param itself  the document's own file may be replaced
/// @return DONE, or FAILED after a message
Status check_not_source(const std::string &output, const FaxDocument &document, bool itself = false);

}  // namespace tolvane
