// What there is to tell about each page of a document: where it comes from, how long it is, what is damaged in it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "document/fax_document.h"
#include "document/page_coding.h"

namespace tolvane {

struct PageFacts {
  int32_t page = 0;         ///< from 1, included pages counted in
  int32_t last_page = 0;    ///< the last of a stretch of pages that are not available; else `page`
  std::string source;       ///< name of the file that holds the record; empty if that cannot be found out
  int32_t source_page = 0;  ///< number of the record in that file
  int32_t coding = 0;       ///< of that file
  bool readable = false;    ///< else nothing below is known
  int64_t bytes = 0;        ///< of coded data
  int32_t lines = 0;        ///< coded lines
  int32_t damaged_lines = 0;
  std::vector<LineDamage> damage;
};

/// Reads and decodes every page, and complains of all damage.
///
/// @return DONE, or DAMAGED if anything is wrong: a damaged line, a page that cannot be had or decoded, a file cut
/// short
Status survey_pages(const FaxDocument &document, std::vector<PageFacts> &pages);

/// Pages that readers find in the document: with inclusions that cannot be used, its records.
int32_t readable_pages(const FaxDocument &document);

}  // namespace tolvane
