// What is reported about each page of a document: where it comes from, how long it is, what is damaged.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "document/fax_document.h"
#include "document/page_coding.h"

namespace tolvane {

struct PageFacts {
  int32_t page = 0;         ///< from 1, included pages counted
  int32_t last_page = 0;    ///< the last of a stretch of pages that are not available; else `page`
  std::string source;       ///< name of the file that contains the record; empty if unknown
  int32_t source_page = 0;  ///< number of the record in that file
  int32_t coding = 0;       ///< of that file
  bool readable = false;    ///< if not, nothing below is known
  int64_t bytes = 0;        ///< of coded data
  bool decoded = false;     ///< if not, nothing below is known
  int32_t lines = 0;        ///< coded lines
  int32_t damaged_lines = 0;
  std::vector<LineDamage> damage;
  std::string checksum;  ///< of the pixels, if wanted
};

/// How closely pages are looked at.
enum class Survey {
  headers,    ///< where they are and how long their records are; nothing is decoded
  lines,      ///< decoded
  checksums,  ///< decoded, with the checksum of the pixels
};

/// Surveys all pages, and reports all damage that is found.
///
/// @return DONE, DAMAGED after any fault: a damaged line, an unreadable page, a file cut short; or FAILED if the file
///         has changed meanwhile
Status survey_pages(const FaxDocument &document, std::vector<PageFacts> &pages, Survey depth = Survey::lines);

/// Pages that readers find in the document: its records only if its inclusions are invalid.
int32_t readable_pages(const FaxDocument &document);

}  // namespace tolvane
