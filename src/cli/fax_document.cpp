// Opening, walking and writing fax files. Pages are read by the library's own reader, the one that the viewer uses;
// what is added here is where each page came from. Nothing is searched for by name in the header text: lines are
// compared whole, so that a value that holds the name of a keyword is left alone.
#include "cli/fax_document.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <string_view>

#include "cli/page_coding.h"
#include "faxfile/header_lines.h"
#include "faxfile/page_writer.h"
#include "faxfile/pages.h"
#include "faxfile/session_params.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|fax_document|9|01|1|0|0|11/22/26|22:10:00";

constexpr int32_t DEEPEST_INCLUSION = 32;  // files on the way to a page, as the page reader follows them
constexpr size_t MOST_LINES = 99;          // lines that the viewer's header reader takes
constexpr size_t LONGEST_SCANNED = 10000;  // bytes of a header in which inclusions are looked for
constexpr size_t LONGEST_HEADER = 32767;   // bytes of a header in which keywords can be read

constexpr FaxKeyword structural[] = {FAXFILE_PAGES, FAXFILE_RESOLUTION, FAXFILE_INCLUDE_PAGES, FAXFILE_INCLUDE,
                                     FAXFILE_COMPRESSION};

const char *keyword(FaxKeyword number) {
  return faxFileKeywordList[number];
}

/// The first character of a value behind blanks, by a conversion of session_params; `missing` for a value without one.
int32_t value_code(const char *value, int32_t (*convert)(int32_t), int32_t missing) {
  while (value && (*value == ' ' || (*value >= '\t' && *value <= '\r'))) ++value;
  return value && *value ? convert(static_cast<unsigned char>(*value)) : missing;
}

/// The value that the header reader gives for a name that stands several times: the last.
const char *last_value(const HeaderLines &lines, const char *name) {
  const char *found = nullptr;
  for (const std::string &line : lines) {
    if (const char *value = header_line_value(line, name)) found = value;
  }
  return found;
}

void read_modes(FaxDocument &document) {
  document.coding = value_code(last_value(document.lines, keyword(FAXFILE_COMPRESSION)), asciitoDF, COMP_MH);
  document.resolution = value_code(find_header_value(document.lines, keyword(FAXFILE_RESOLUTION)), asciitoVR, -1);
}

/// Walks the records to the end of the file, or to one that the file does not hold whole.
Status walk_records(FaxDocument &document) {
  const int64_t size = file_size(document.fd);
  int64_t at = document.records_start;
  while (size - at >= 4) {
    uint32_t length = 0;
    if (lseek(document.fd, at, SEEK_SET) != at || readLongFlipped(document.fd, &length) != 4)
      return system_failure(document.name());
    if (length > size - at - 4) break;
    document.records.push_back({at, length});
    at += 4 + int64_t{length};
  }
  document.lost_bytes = size - at;
  return DONE;
}

Status open_header(const std::string &path, Descriptor &fd, HeaderLines &lines) {
  const std::string name = input_name(path);
  fd.reset(open_input(path));
  if (!fd) return FAILED;
  const int16_t code = read_header_lines(fd.get(), lines);
  if (code == FAXFILE_ERR_FORMAT) return failure("%s: not a fax file, or its header is damaged", name.c_str());
  return code == FAXFILE_OK ? DONE : system_failure(name.c_str());
}

/// Reads the coding and the resolution of the file that holds a page.
Status read_source_modes(FaxPage &found) {
  FaxDocument source;
  Descriptor fd;
  if (open_header(found.source, fd, source.lines) != DONE) return FAILED;
  read_modes(source);
  found.coding = source.coding;
  found.resolution = source.resolution;
  return DONE;
}

int32_t sum_of_counts(const std::vector<Inclusion> &inclusions) {
  int64_t sum = 0;
  for (const Inclusion &inclusion : inclusions) sum += inclusion.count;
  return static_cast<int32_t>(std::min<int64_t>(sum, INT_MAX - MOST_RECORDS - 1));
}

/// A line that would be taken for an inclusion, although it is none: the text is looked for anywhere in the header.
bool hides_inclusion(const std::string &line) {
  const std::string_view text = "INCLUDE:";
  const size_t place = line.find(text, line.starts_with(text) ? text.size() : 0);
  return place != std::string::npos;
}

}  // namespace

FaxDocument::FaxDocument() = default;

FaxDocument::~FaxDocument() {
  if (fd >= 0) close(fd);
}

Status open_fax(const std::string &path, FaxDocument &document) {
  document.path = path;
  document.directory = directory_of(path);
  document.shown_name = input_name(path);
  Descriptor fd;
  if (open_header(path, fd, document.lines) != DONE) return FAILED;
  document.fd = fd.release();
  document.records_start = lseek(document.fd, 0, SEEK_CUR);
  read_modes(document);
  document.inclusions_usable =
      read_inclusions(document.lines, document.inclusions) == 1 && header_length(document.lines) <= LONGEST_SCANNED;
  document.included_pages = sum_of_counts(document.inclusions);
  return walk_records(document);
}

Status tell_lost_bytes(const FaxDocument &document) {
  if (document.lost_bytes == 0) return DONE;
  complain("%s: the last %lld bytes are a page that is cut short", document.name(),
           static_cast<long long>(document.lost_bytes));
  return DAMAGED;
}

Status encodable_modes(const FaxDocument &document) {
  if (document.coding != COMP_MH && document.coding != COMP_MR && document.coding != COMP_MMR)
    return failure("%s: pages cannot be coded in %s", document.name(), coding_name(document.coding));
  if (document.resolution > 1)
    return failure("%s: pages cannot be made at %s", document.name(), VRtostring(document.resolution));
  return DONE;
}

int32_t written_resolution(const FaxDocument &document) {
  return std::max(document.resolution, 0);
}

int64_t records_end(const FaxDocument &document) {
  return document.records.empty() ? document.records_start
                                  : document.records.back().offset + 4 + document.records.back().length;
}

Status locate_page(const FaxDocument &document, int32_t page, FaxPage &found) {
  found.source = document.path;
  found.source_page = page;
  for (int32_t depth = 0;; ++depth) {
    char name[INCLUDE_NAME_SIZE] = "";
    Descriptor opened;
    int fd = document.fd;
    if (depth > 0) {
      opened.reset(open_input(found.source));
      fd = opened.get();
      if (!opened) return failure("%s: page %d cannot be had", document.name(), page);
    }
    if (build_inclusion_list(fd, &found.source_page, name) != 0 || !*name) break;
    found.source = document.directory + '/' + name;
    if (depth == DEEPEST_INCLUSION) return failure("%s: page %d: inclusions without end", document.name(), page);
  }
  if (found.source != document.path) return read_source_modes(found);
  found.coding = document.coding;
  found.resolution = document.resolution;
  return DONE;
}

Status read_fax_page(const FaxDocument &document, int32_t page, FaxPage &found) {
  if (locate_page(document, page, found) != DONE) return FAILED;
  uint8_t *data = nullptr;
  int32_t length = 0;
  const int16_t code = FaxFileReadSpecificPage(document.fd, document.path.c_str(), page, &data, &length);
  const Block<uint8_t> owned(data);
  if (code != FAXFILE_OK)
    return failure("%s: page %d cannot be read from %s", document.name(), page, input_name(found.source).c_str());
  found.record.assign(data, data + length);
  return DONE;
}

std::vector<std::string> leading_lines(int32_t pages, int32_t resolution, int32_t coding) {
  HeaderLines lines;
  set_header_value(lines, keyword(FAXFILE_PAGES), std::to_string(pages));
  set_header_value(lines, keyword(FAXFILE_RESOLUTION), std::string(1, static_cast<char>(VRtoascii(resolution))));
  set_header_value(lines, keyword(FAXFILE_COMPRESSION), std::string(1, static_cast<char>(DFtoascii(coding))));
  return lines;
}

std::string inclusion_line(const Inclusion &inclusion, int32_t at) {
  return std::string(keyword(FAXFILE_INCLUDE)) + ':' + inclusion.name + ' ' + std::to_string(at) + ' ' +
         std::to_string(inclusion.count);
}

bool is_structural(const std::string &line) {
  return std::any_of(std::begin(structural), std::end(structural),
                     [&](FaxKeyword number) { return header_line_value(line, keyword(number)); });
}

Status set_page_counts(const char *name, std::vector<std::string> &lines, int32_t records) {
  std::vector<Inclusion> inclusions;
  if (!read_inclusions(lines, inclusions))
    return failure("%s: an INCLUDE line is out of order or has not three fields", name);
  set_header_value(lines, keyword(FAXFILE_PAGES), std::to_string(records));
  if (!inclusions.empty() || find_header_value(lines, keyword(FAXFILE_INCLUDE_PAGES)))
    set_header_value(lines, keyword(FAXFILE_INCLUDE_PAGES), std::to_string(sum_of_counts(inclusions)));
  return DONE;
}

Status check_header(const char *name, const std::vector<std::string> &lines) {
  std::vector<Inclusion> inclusions;
  if (!read_inclusions(lines, inclusions))
    return failure("%s: the INCLUDE lines would be out of order or not have three fields", name);
  const size_t longest = inclusions.empty() ? LONGEST_HEADER : LONGEST_SCANNED;
  if (lines.size() > MOST_LINES) return failure("%s: more than %zu header lines cannot be viewed", name, MOST_LINES);
  if (header_length(lines) > longest) return failure("%s: the header would be longer than %zu bytes", name, longest);
  for (const std::string &line : lines) {
    if (line.find(static_cast<char>(FAXFILE_TERMINATOR)) != std::string::npos)
      return failure("%s: a byte 29 would end the header early", name);
    if (hides_inclusion(line)) return failure("%s: \"INCLUDE:\" inside a value would be taken for an inclusion", name);
  }
  return DONE;
}

Status append_record(int fd, std::span<const uint8_t> data) {
  constexpr uint8_t nothing[1] = {};  // the library takes no null for the data of an empty page
  const uint8_t *bytes = data.empty() ? nothing : data.data();
  if (FaxFileAppendEncodedPage(fd, bytes, static_cast<int32_t>(data.size())) == FAXFILE_OK) return DONE;
  return system_failure("coded pages");
}

Status write_fax(const OutputFile &output, const std::vector<std::string> &lines, std::span<const RecordRange> ranges) {
  if (!write_header_lines(output.fd(), lines)) return system_failure(output.name());
  for (const RecordRange &range : ranges) {
    if (lseek(range.fd, range.begin, SEEK_SET) < 0 || !copy_bytes(range.fd, output.fd(), range.end - range.begin))
      return system_failure(output.name());
  }
  return DONE;
}

Status write_fax_header_lines(const FaxDocument &document, OutputFile &output) {
  const RecordRange all[] = {{document.fd, document.records_start, records_end(document) + document.lost_bytes}};
  return write_fax(output, document.lines, all) == DONE ? output.commit() : FAILED;
}

}  // namespace tolvane
