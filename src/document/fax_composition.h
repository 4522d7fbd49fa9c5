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

/// The lines that start a header and say how its pages are read: #PAGES, RESOLUTION, COMPRESSION, in this order.
std::vector<std::string> leading_lines(int32_t pages, int32_t resolution, int32_t coding);

/// The header line of an inclusion before page record `at`.
std::string inclusion_line(const Inclusion &inclusion, int32_t at);

/// Whether a line is one of those that say how pages are read or where they are: #PAGES, INCLUDE_PAGES, INCLUDE,
/// RESOLUTION, COMPRESSION. All others are free text.
bool is_structural(const std::string &line);

/// Corrects `#PAGES`, and `INCLUDE_PAGES` if there are inclusions or such a line.
///
/// @param records  page records of the file
/// @return DONE, or FAILED after a message: the inclusions are invalid
Status set_page_counts(const char *name, std::vector<std::string> &lines, int32_t records);

/// Whether every reader can read a header of these lines. DONE, or FAILED after a message: too many lines (the viewer
/// reads 99), too long, a byte that ends the header, an "INCLUDE:" in a line of another name, inclusions out of order.
Status check_header(const char *name, const std::vector<std::string> &lines);

/// `check_header` for a header that was changed: DONE as well if some reader could not read all of it before, and the
/// change takes it beyond no other limit of lines or length.
Status check_changed_header(const char *name, const std::vector<std::string> &before,
                            const std::vector<std::string> &lines);

/// Appends a page record to an open file that nobody else knows: a spool, or a file being made. DONE, or FAILED after a
/// message.
///
/// @param name  of the file that the record is for
Status append_record(const char *name, int fd, std::span<const uint8_t> data);

/// A stretch of whole page records of an open file.
struct RecordRange {
  int fd;
  int64_t begin, end;  ///< offsets
};

/// Writes a whole fax file, header and records, to an open and empty output. The caller commits it.
Status write_fax(const OutputFile &output, const std::vector<std::string> &lines, std::span<const RecordRange> ranges);

/// Commits an output that nothing has locked yet: if it replaces a fax that another program changes, it waits for that.
Status commit_new_fax(OutputFile &output, const std::string &path);

/// Writes the present header lines of `document`, then all that follows the header in its file, a page cut short
/// included, and commits.
Status write_fax_header_lines(const FaxDocument &document, OutputFile &output);

}  // namespace tolvane
