// A fax file as the commands see it: its header lines, its page records, and its pages, included ones counted.
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "faxfile/fax_lock.h"
#include "faxfile/header_lines.h"
#include "faxfile/header_text.h"
#include "io/report.h"
#include "support/handle.h"

namespace tolvane {

/// The most page records of a file: page numbers have 15 bits in inclusions.
constexpr int32_t MOST_RECORDS = 32766;

/// Bytes of a header in which readers look for inclusions; those of a longer one are not found.
constexpr size_t LONGEST_SCANNED = INCLUSION_HEADER.longest_text;

/// Files on the way to a page at most, as the page reader follows them.
constexpr int32_t DEEPEST_INCLUSION = 32;

/// A page record of a file.
struct PageRecord {
  int64_t offset;  ///< of its length word
  int64_t length;  ///< of the coded data after the length word
};

/// Set by `--no-outside`: pages of files outside the directory of a document are not available.
extern bool No_outside;

struct IncludedFiles;

/// An open fax file. Its pages are looked for by one thread at a time.
struct FaxDocument {
  const char *name() const { return shown_name.c_str(); }
  int32_t record_count() const { return static_cast<int32_t>(records.size()); }
  /// Pages of the document: its records and the pages that come from other files.
  /// Held to one less than the highest number, so that a loop over them ends.
  int32_t page_count() const { return std::min(record_count(), INT_MAX - 1 - included_pages) + included_pages; }

  std::string path;                   ///< as given
  std::string directory;              ///< where included files are looked for: that of the path
  std::string shown_name;             ///< for messages
  Descriptor fd;                      ///< open for reading
  std::vector<std::string> lines;     ///< header lines in order
  std::vector<Inclusion> inclusions;  ///< that readers find, up to the first invalid one
  bool mentions_inclusions = false;   ///< readers find "INCLUDE:" in the header: pages need not be the records
  bool inclusions_usable = true;      ///< if not, some line for one says nothing to readers
  bool inclusions_whole = true;     ///< if not, after these inclusions readers take a page for the record of its number
  int32_t included_pages = 0;       ///< sum of the counts of the inclusions
  int32_t coding = 0;               ///< compression code; -1: not a code
  int32_t resolution = 0;           ///< vertical resolution code; -1: missing or not a code
  std::vector<PageRecord> records;  ///< whole page records in order
  int64_t records_start = 0;        ///< offset of the first record
  int64_t lost_bytes = 0;           ///< bytes after the last whole record: one that is cut short
  struct stat status = {};          ///< of the file, before all this was read
  std::shared_ptr<IncludedFiles> included_files;
};

/// What has been read of the files that a document includes. None of them is kept open; one that changes is read again.
struct IncludedFiles {
  std::map<std::string, std::shared_ptr<const FaxDocument>> by_name;
  size_t size = 0;                 ///< entries in the lists of all of them
  std::vector<std::string> paths;  ///< of all files that pages come from; empty until they are looked for
};

/// A file that a document includes, opened.
struct IncludedFax {
  std::shared_ptr<const FaxDocument> fax;  ///< without header lines and descriptor
  Descriptor fd;
};

/// Opens a fax file, reads its header and walks its records.
///
/// @param path  `-` is standard input
/// @return DONE, or FAILED after a message. A record that is cut short is neither a failure nor reported
Status open_fax(const std::string &path, FaxDocument &document);

/// The right to replace a fax file, held until the object goes: other editors wait, and read what was written. A thread
/// holds one at a time, so that no two can wait for each other.
struct EditedFile {
  Descriptor file;
  FaxEditLock lock;
};

/// Locks a file that is about to be replaced, if there is one, and waits for other editors, with a message on a
/// terminal. What can't be written is not locked: the output reports it.
///
/// @return DONE, or FAILED after a message: another program keeps the file locked for reading
Status lock_to_replace(const std::string &path, EditedFile &edited);

/// `open_fax` for a file that is about to be replaced: a regular one, and it is locked before it is read.
Status open_fax_to_edit(const std::string &path, FaxDocument &document, EditedFile &edited);

/// `open_fax` for a file that a document includes, itself or through others: a regular file, and no message. The file
/// is read again only if it has changed, or others that were read meanwhile are large.
///
/// @param name  relative to the directory of the document
/// @return what is wrong, with the path; empty if nothing is
std::string open_included_fax(const FaxDocument &document, const std::string &name, IncludedFax &included);

/// Whether an open file lies outside a directory and all that are below it, whatever links and `..` led to it.
bool lies_outside(int fd, const std::string &directory);

/// Whether readers would find an inclusion inside a line: they search the whole header for the text.
bool hides_inclusion(const std::string &line);

/// Whether inclusions after page record `place` can be changed: none of them is inside another line. DONE, or FAILED
/// after a message.
Status check_inclusion_lines(const FaxDocument &document, int32_t place);

/// What is wrong with the INCLUDE lines of a document whose inclusions are not usable, for messages.
std::string inclusion_fault(const FaxDocument &document);

/// Reports INCLUDE lines that are not valid: their pages, and those of all lines after them, are not found.
///
/// @return DAMAGED, or DONE if all are valid
Status report_invalid_inclusions(const FaxDocument &document);

/// Reports a file that ends in a record cut short.
///
/// @return DAMAGED, or DONE if it does not
Status report_lost_bytes(const FaxDocument &document);

/// Reports a file with fewer page records than #PAGES says. One that is cut short is not missing.
///
/// @return DAMAGED, or DONE if it has as many, or more
Status report_missing_records(const FaxDocument &document);

/// Reports a file that was changed in place after it was opened: its records may have moved. One that was replaced by
/// another file is not changed.
///
/// @return FAILED, or DONE if it was not
Status check_unchanged(const FaxDocument &document);

/// Whether pages can be coded as this document codes them: MH, MR or MMR, normal or fine. DONE, or FAILED after a
/// message.
Status encodable_modes(const FaxDocument &document);

/// The resolution code at which pages are coded: normal if the header does not say.
int32_t written_resolution(const FaxDocument &document);

/// The sum of the counts of inclusions, held to what fits beside the records of a file.
int32_t sum_of_counts(const std::vector<Inclusion> &inclusions);

/// Offset after the last whole record.
int64_t records_end(const FaxDocument &document);

/// Reads a page record.
///
/// @param status  of the file, before its records were listed
/// @return what is wrong, valid until the next system call fails: also that the file has changed; null if nothing is
const char *read_record(int fd, const struct stat &status, const PageRecord &place, std::vector<uint8_t> &record);

/// One page of a document, and where it comes from. Valid as long as the document.
struct FaxPage {
  std::vector<uint8_t> record;         ///< coded data
  std::string source;                  ///< path of the file that holds the record
  int32_t source_page = 0;             ///< number of the record in that file
  int32_t coding = 0;                  ///< of that file
  int32_t resolution = 0;              ///< of that file
  PageRecord place = {-1, 0};          ///< the record in that file; offset -1 if it has no such record
  struct stat status = {};             ///< of that file, before its records were listed
  Descriptor included = Descriptor();  ///< that file, if it is not the document's own, until the record is read
};

/// Finds the file and the record of a page.
///
/// @param page  from 1, included pages counted
/// @return DONE with everything but `record` set, or FAILED after a message
Status locate_page(const FaxDocument &document, int32_t page, FaxPage &found);

/// Reads the record of a page that was found.
Status read_found_page(const FaxDocument &document, int32_t page, FaxPage &found);

/// Finds a page and reads its record.
Status read_fax_page(const FaxDocument &document, int32_t page, FaxPage &found);

}  // namespace tolvane
