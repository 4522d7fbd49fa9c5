// Header lines are compared by their whole name: a value may contain the name of a keyword.
#include "document/fax_composition.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "faxfile/header_lines.h"
#include "faxfile/header_modes.h"
#include "faxfile/page_writer.h"
#include "faxfile/session_params.h"
#include "faxfile/usorbport.h"
#include "io/output_file.h"
#include "support/handle.h"
#include "support/replace_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|fax_composition|9|01|5|0|0|11/23/26|14:40:40";

constexpr size_t LONGEST_HEADER = 32767;  // bytes of a header in which keywords can be read

constexpr FaxKeyword STRUCTURAL[] = {FAXFILE_PAGES, FAXFILE_RESOLUTION, FAXFILE_INCLUDE_PAGES, FAXFILE_INCLUDE,
                                     FAXFILE_COMPRESSION};

const char *keyword(FaxKeyword number) {
  return faxFileKeywordList[number];
}

Status too_many_lines(const char *name) {
  return failure("%s: the viewer reads at most %zu header lines", name, MOST_HEADER_LINES);
}

Status too_long(const char *name, size_t longest) {
  return failure("%s: the header would be longer than %zu bytes", name, longest);
}

// The name of a header line, for messages.
std::string name_of(const std::string &line) {
  return line.substr(0, line.find(':'));
}

}  // namespace

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
  return std::any_of(std::begin(STRUCTURAL), std::end(STRUCTURAL),
                     [&](FaxKeyword number) { return header_line_value(line, keyword(number)); });
}

Status set_page_counts(const char *name, std::vector<std::string> &lines, int32_t records) {
  std::vector<Inclusion> inclusions;
  if (!read_inclusions(lines, inclusions))
    return failure("%s: an INCLUDE line is out of order or has no name, page and count", name);
  set_header_value(lines, keyword(FAXFILE_PAGES), std::to_string(records));
  if (!inclusions.empty() || find_header_value(lines, keyword(FAXFILE_INCLUDE_PAGES)))
    set_header_value(lines, keyword(FAXFILE_INCLUDE_PAGES), std::to_string(sum_of_counts(inclusions)));
  return DONE;
}

Status check_header(const char *name, const std::vector<std::string> &lines) {
  std::vector<Inclusion> inclusions;
  if (!read_inclusions(lines, inclusions))
    return failure("%s: an INCLUDE line would be out of order or have no name, page and count", name);
  const size_t longest = inclusions.empty() ? LONGEST_HEADER : LONGEST_SCANNED;
  if (lines.size() > MOST_HEADER_LINES) return too_many_lines(name);
  if (header_length(lines) > longest) return too_long(name, longest);
  for (const std::string &line : lines) {
    if (line.find(static_cast<char>(FAXFILE_TERMINATOR)) != std::string::npos)
      return failure("%s: a byte 29 in the line %s would end the header early", name, name_of(line).c_str());
    if (hides_inclusion(line))
      return failure("%s: \"INCLUDE:\" inside the line %s would be read as an inclusion", name, name_of(line).c_str());
  }
  return DONE;
}

Status check_changed_header(const char *name, const std::vector<std::string> &before,
                            const std::vector<std::string> &lines) {
  Diagnostics old_faults;
  bool was_good;
  {
    const HoldDiagnostics hold(old_faults);
    was_good = check_header(name, before) == DONE;
  }
  if (was_good || !header_loses_readers(before, lines)) return was_good ? check_header(name, lines) : DONE;
  return lines.size() > MOST_HEADER_LINES && before.size() <= MOST_HEADER_LINES ? too_many_lines(name)
                                                                                : too_long(name, LONGEST_SCANNED);
}

Status append_record(const char *name, int fd, std::span<const uint8_t> data) {
  std::vector<uint8_t> record(FAXFILE_WORD + data.size());
  put_word(record.data(), static_cast<uint32_t>(data.size()));
  std::copy(data.begin(), data.end(), record.begin() + FAXFILE_WORD);
  if (lseek(fd, 0, SEEK_END) >= 0 && write_fully(fd, record.data(), record.size())) return DONE;
  return system_failure(name, "its pages cannot be stored");
}

namespace {

// Reports the file of which a part could not be copied to an output: that which failed of the two.
Status copy_failure(const OutputFile &output, int source, bool unreadable) {
  const std::string path = path_of_descriptor(source);
  const bool is_named = !path.empty() && !path.ends_with(" (deleted)");
  return unreadable && is_named ? system_failure(path.c_str(), "cannot be read")
                                : system_failure(output.name(), "cannot be written");
}

}  // namespace

Status write_fax(const OutputFile &output, const std::vector<std::string> &lines, std::span<const RecordRange> ranges) {
  if (!write_header_lines(output.fd(), lines)) return system_failure(output.name(), "cannot be written");
  for (const RecordRange &range : ranges) {
    bool unreadable = true;
    if (range.end < range.begin || lseek(range.fd, range.begin, SEEK_SET) < 0 ||
        !copy_bytes(range.fd, output.fd(), range.end - range.begin, &unreadable))
      return copy_failure(output, range.fd, unreadable);
  }
  return DONE;
}

Status commit_new_fax(OutputFile &output, const std::string &path) {
  EditedFile replaced;
  return lock_to_replace(path, replaced) == DONE ? output.commit() : FAILED;
}

Status write_fax_header_lines(const FaxDocument &document, OutputFile &output) {
  const RecordRange all[] = {{document.fd.get(), document.records_start, records_end(document) + document.lost_bytes}};
  if (write_fax(output, document.lines, all) != DONE || check_unchanged(document) != DONE) return FAILED;
  return output.commit();
}

}  // namespace tolvane
