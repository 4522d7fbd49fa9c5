// A fax file as the commands see it: its header lines, its page records, and its pages with the included ones counted
// in; and the writing of a new fax file from records.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "files.h"
#include "report.h"

namespace tolvane {

struct Inclusion;

/// A page record of a file.
struct PageRecord {
  int64_t offset;  ///< of its length word
  int64_t length;  ///< of the coded data behind the length word
};

/// An open fax file.
struct FaxDocument {
  FaxDocument();
  ~FaxDocument();
  FaxDocument(const FaxDocument &) = delete;
  FaxDocument &operator=(const FaxDocument &) = delete;

  const char *name() const { return shown_name.c_str(); }
  int32_t record_count() const { return static_cast<int32_t>(records.size()); }
  /// Pages of the document: its records and the pages that come from other files.
  int32_t page_count() const { return record_count() + included_pages; }

  std::string path;                   ///< as given
  std::string directory;              ///< where included files are looked for: that of the path
  std::string shown_name;             ///< for messages
  int fd = -1;                        ///< open for reading
  std::vector<std::string> lines;     ///< header lines in order
  std::vector<Inclusion> inclusions;  ///< up to the first that cannot be used
  bool inclusions_usable = true;      ///< else page numbers of readers are page records from some page on
  int32_t included_pages = 0;         ///< sum of the counts of the inclusions
  int32_t coding = 0;                 ///< compression code; -1: not a code
  int32_t resolution = 0;             ///< vertical resolution code; -1: missing or not a code
  std::vector<PageRecord> records;    ///< whole page records in order
  int64_t records_start = 0;          ///< offset of the first record
  int64_t lost_bytes = 0;             ///< bytes behind the last whole record: one that is cut short
};

/// Opens a fax file, reads its header and walks its records.
///
/// @param path  `-` is standard input
/// @return DONE, or FAILED after a complaint. A record that is cut short is no failure and no complaint
Status open_fax(const std::string &path, FaxDocument &document);

/// Complains of a file that ends in a record cut short.
///
/// @return DAMAGED, or DONE if it does not
Status tell_lost_bytes(const FaxDocument &document);

/// Whether pages can be coded as this document codes them: MH, MR or MMR, normal or fine. DONE, or FAILED after a
/// complaint.
Status encodable_modes(const FaxDocument &document);

/// The resolution code at which pages are coded: a file that does not say is shown as normal.
int32_t written_resolution(const FaxDocument &document);

/// Offset behind the last whole record.
int64_t records_end(const FaxDocument &document);

/// One page of a document, and where it comes from.
struct FaxPage {
  std::vector<uint8_t> record;  ///< coded data
  std::string source;           ///< path of the file that holds the record
  int32_t source_page = 0;      ///< number of the record in that file
  int32_t coding = 0;           ///< of that file
  int32_t resolution = 0;       ///< of that file
};

/// Finds the file and the record of a page.
///
/// @param page  from 1, included pages counted in
/// @return DONE with everything but `record` set, or FAILED after a complaint
Status locate_page(const FaxDocument &document, int32_t page, FaxPage &found);

/// Finds a page and reads its record.
Status read_fax_page(const FaxDocument &document, int32_t page, FaxPage &found);

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

/// The most page records of a file: page numbers have 15 bits in inclusions.
constexpr int32_t MOST_RECORDS = 32766;

}  // namespace tolvane
