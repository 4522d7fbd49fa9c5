// tolvane-fax convert: rewrites files in another page coding, in place, by the library's converter. Each file gets a
// process of its own. The converter relies on #PAGES and keeps one line of each name; a file that would lose something
// is converted as a copy with a plain header, and its own header lines are put back afterwards.
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <map>

#include "cli/commands.h"
#include "cli/options.h"
#include "document/fax_composition.h"
#include "document/fax_document.h"
#include "document/page_coding.h"
#include "document/page_sources.h"
#include "faxfile/header_lines.h"
#include "faxfile/session_params.h"
#include "faxfile/usorbport.h"
#include "io/output_file.h"
#include "io/unfinished_files.h"
#include "support/handle.h"
#include "t4/damage.h"
#include "t4/t4dec_convert.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_convert|9|01|2|0|0|11/23/26|06:45:30";

FileList input;
int32_t coding = -1;
int32_t jobs = 1;

void declare(Usage &usage) {
  add_files(usage, input, "fax files to convert in place");
  add_coding(usage, "--to", coding, "the new coding of their pages").required();
  add_number(usage, "-j,--jobs", jobs, 1, 1024, "files to convert at a time");
}

// Written by the converter's callbacks, which are plain functions.
int32_t page_in_work;
std::vector<int32_t> damaged_pages;
Progress *page_progress;

void begin_page() {
  ++page_in_work;
  if (page_progress) page_progress->step();
}

void note_damage(Damage) {
  if (damaged_pages.empty() || damaged_pages.back() != page_in_work) damaged_pages.push_back(page_in_work);
}

// Runs the converter on a path, which names the old or the new file at every moment. The target of a link is replaced,
// not the link.
Status run_converter(const std::string &path) {
  const Block<char> resolved(realpath(path.c_str(), nullptr));
  const std::string target = resolved ? resolved.get() : path;
  // The name under which the converter makes the new file.
  const std::string unfinished = target + '.' + std::to_string(getpid());
  note_unfinished_file(unfinished.c_str());
  t4dec_set_damage_callback(note_damage);
  const bool done = t4dec_change_format(target.c_str(), coding, 0, begin_page) == 1;
  t4dec_set_damage_callback(nullptr);
  forget_unfinished_file(unfinished.c_str());
  return done ? DONE : FAILED;
}

// Reports the damaged lines of the pages in which the converter found damage. The document is still the old file.
Status report_damaged_pages(const FaxDocument &document) {
  for (const int32_t number : damaged_pages) {
    const PageRecord &place = document.records[static_cast<size_t>(number) - 1];
    std::vector<uint8_t> record(static_cast<size_t>(place.length));
    DecodedPage decoded;
    const auto size = static_cast<ssize_t>(record.size());
    if (pread(document.fd.get(), record.data(), record.size(), place.offset + 4) == size)
      count_lines(document.name(), number, record, document.coding, decoded);
  }
  return damaged_pages.empty() ? DONE : DAMAGED;
}

// Whether the converter keeps every page and every header line.
bool converter_keeps_all(const FaxDocument &document) {
  std::map<std::string, int> names;
  for (const std::string &line : document.lines) {
    const size_t colon = line.find(':');
    if (colon == std::string::npos || colon == 0 || names[line.substr(0, colon)]++ > 0) return false;
  }
  const char *pages = find_header_value(document.lines, faxFileKeywordList[FAXFILE_PAGES]);
  return pages && atoi(pages) == document.record_count();
}

// Converts a copy with a plain header, then joins the old header lines and the new pages.
Status convert_by_copy(FaxDocument &document) {
  OutputFile copy, output;
  const RecordRange all[] = {{document.fd.get(), document.records_start, records_end(document)}};
  const HeaderLines plain = leading_lines(document.record_count(), document.resolution, document.coding);
  if (copy.open(document.path, true) != DONE || write_fax(copy, plain, all) != DONE) return FAILED;
  if (run_converter(copy.working_path()) != DONE) return FAILED;

  FaxDocument converted;
  if (open_fax(copy.working_path(), converted) != DONE || output.open(document.path) != DONE) return FAILED;
  const std::string character(1, static_cast<char>(DFtoascii(coding)));
  // Of several lines of this name the last one counts.
  for (std::string &line : document.lines) {
    if (header_line_value(line, faxFileKeywordList[FAXFILE_COMPRESSION])) line = "COMPRESSION:" + character;
  }
  set_header_value(document.lines, faxFileKeywordList[FAXFILE_COMPRESSION], character);
  if (const char *pages = find_header_value(document.lines, faxFileKeywordList[FAXFILE_PAGES]);
      !pages || atoi(pages) != document.record_count())
    report("%s: #PAGES corrected to %d", document.name(), document.record_count());
  set_header_value(document.lines, faxFileKeywordList[FAXFILE_PAGES], std::to_string(document.record_count()));
  const RecordRange pages[] = {{converted.fd.get(), converted.records_start, records_end(converted)}};
  return write_fax(output, document.lines, pages) == DONE ? output.commit() : FAILED;
}

Status convert_file(const std::string &path) {
  FaxDocument document;
  EditedFile edited;
  if (open_fax_to_edit(path, document, edited) != DONE) return FAILED;
  if (document.coding == coding) return DONE;
  if (encodable_modes(document) != DONE) return FAILED;
  if (document.resolution < 0) return failure("%s: the header has no RESOLUTION", document.name());
  if (document.lost_bytes > 0) return failure("%s: the last page is cut short: not converted", document.name());
  if (access(path.c_str(), W_OK)) return system_failure(document.name());

  Progress progress("pages", document.record_count());
  page_progress = input.files.size() == 1 ? &progress : nullptr;
  const Status status = converter_keeps_all(document) ? run_converter(document.path) : convert_by_copy(document);
  const Status damage = report_damaged_pages(document);
  if (status == FAILED) return failure("%s: not converted", document.name());
  return worse(status, damage);
}

// Starts a process that converts a file and ends with its status.
pid_t start_worker(const std::string &path) {
  const pid_t worker = fork();
  if (worker != 0) return worker;
  prctl(PR_SET_PDEATHSIG, SIGTERM);  // no worker goes on when the command has ended
  // The library reports some failures on standard output, which is for results alone.
  dup2(STDERR_FILENO, STDOUT_FILENO);
  Status status = FAILED;
  try {
    status = convert_file(path);
  } catch (const std::exception &error) {
    report("%s: %s", path.c_str(), error.what());
  }
  _exit(status);
}

// Waits for any worker. The file of one that succeeded is added to `converted`.
Status wait_for_worker(std::map<pid_t, std::string> &workers, std::vector<std::string> &converted) {
  int ended = 0;
  const pid_t worker = wait(&ended);
  if (worker < 0) return system_failure("wait");
  const std::string path = workers[worker];
  workers.erase(worker);
  const auto status = WIFEXITED(ended) ? static_cast<Status>(WEXITSTATUS(ended)) : FAILED;
  if (status != FAILED) converted.push_back(path);
  if (WIFEXITED(ended)) return status;
  return failure("%s: not converted: ended by signal %d", path.c_str(), WTERMSIG(ended));
}

// Viewers decode an included page in the coding of the file that includes it.
Status warn_of_other_codings(const std::string &path) {
  FaxDocument document;
  if (open_fax(path, document) != DONE) return FAILED;
  const std::vector<MissingPages> missing = find_missing_pages(document);
  for (int32_t page = 1; page <= document.page_count() && !document.inclusions.empty(); ++page) {
    FaxPage found;
    if (const MissingPages *stretch = missing_at(missing, page)) {
      page = stretch->last;
      continue;
    }
    if (locate_page(document, page, found) != DONE || found.coding == document.coding) continue;
    report("%s includes pages of %s, which is still in %s: convert that too", document.name(), found.source.c_str(),
           coding_name(found.coding));
    return DAMAGED;
  }
  return DONE;
}

Status run() {
  if (const Status status = input.complete(); status != DONE) return status;
  const std::vector<std::string> &files = input.files;
  if (std::find(files.begin(), files.end(), "-") != files.end())
    return usage_fault("files are converted in place: standard input cannot be");
  std::map<pid_t, std::string> workers;
  std::vector<std::string> converted;
  Progress progress("files", static_cast<int32_t>(files.size()));
  Status status = DONE;
  size_t next = 0;
  while (next < files.size() || !workers.empty()) {
    if (next < files.size() && workers.size() < static_cast<size_t>(jobs)) {
      const pid_t worker = start_worker(files[next]);
      if (worker < 0) return worse(status, system_failure("fork"));
      workers[worker] = files[next++];
      continue;
    }
    status = worse(status, wait_for_worker(workers, converted));
    if (files.size() > 1) progress.step();
  }
  for (const std::string &path : converted) status = worse(status, warn_of_other_codings(path));
  return status;
}

}  // namespace

const Command convert_command = {"convert", "Rewrite faxes in another coding, in place", declare, run};

}  // namespace tolvane
