// Composing fax files: header lines that are true of the pages, records, and the file made of both.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "document/fax_document.h"
#include "io/output_file.h"
#include "io/report.h"

namespace tolvane {

/// The lines at the head of a header that say how its pages are read, in this order: #PAGES, RESOLUTION, COMPRESSION.
std::vector<std::string> leading_lines(int32_t pages, int32_t resolution, int32_t coding);

/// The header line of an inclusion, in front of page record `at`.
std::string inclusion_line(const Inclusion &inclusion, int32_t at);

/// Whether a line is one of those that say how pages are read or where they are: #PAGES, INCLUDE_PAGES, INCLUDE,
/// RESOLUTION, COMPRESSION. All others are free text.
bool is_structural(const std::string &line);

/// Sets `#PAGES`, and `INCLUDE_PAGES` if there are inclusions or such a line, to what is true.
///
/// @param records  page records of the file
/// @return DONE, or FAILED after a complaint: the inclusions cannot be read
Status set_page_counts(const char *name, std::vector<std::string> &lines, int32_t records);

/// Whether every reader can read a header of these lines. DONE, or FAILED after a complaint: too many lines (99 are
/// read by the viewer), too long, a byte that ends the header, an "INCLUDE:" in a line of another name, inclusions out
/// of order.
Status check_header(const char *name, const std::vector<std::string> &lines);

/// Adds a page record at the end of an open file. DONE, or FAILED after a complaint.
Status append_record(int fd, std::span<const uint8_t> data);

/// A stretch of whole page records of an open file.
struct RecordRange {
  int fd;
  int64_t begin, end;  ///< offsets
};

/// Writes a whole fax file, header and records, to an output that is open and empty. The caller commits it.
Status write_fax(const OutputFile &output, const std::vector<std::string> &lines, std::span<const RecordRange> ranges);

/// Writes the header lines that `document` has now in front of all that follows its header in the file, a page cut
/// short included, and commits.
Status write_fax_header_lines(const FaxDocument &document, OutputFile &output);

}  // namespace tolvane
