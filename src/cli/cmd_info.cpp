// tolvane-fax info: describes fax files and their pages, as text for people, as JSON or CSV for programs.
#include <cmath>
#include <cstdio>
#include <memory>

#include "cli/commands.h"
#include "cli/file_work.h"
#include "cli/json_lines.h"
#include "cli/options.h"
#include "document/page_survey.h"
#include "faxfile/session_params.h"
#include "faxfile/usorbport.h"
#include "formats/fax_lines.h"
#include "io/input_file.h"
#include "io/terminal_output.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_info|9|01|6|0|0|11/23/26|15:55:59";

FileList input;
bool as_json;
bool as_csv;
bool no_decode;
bool with_checksum;

void declare(Usage &usage) {
  add_files(usage, input, "fax files; - is standard input");
  Option json = usage.add_flag("--json", as_json, "print one line with a JSON object per file");
  usage.add_flag("--csv", as_csv, "print one line per page, after a line of names").excludes(json);
  Option headers = usage.add_flag("--no-decode", no_decode, "read headers only: no lines, no damage");
  usage.add_flag("--checksum", with_checksum, "add the SHA-256 of the pixels of each page").excludes(headers);
}

// A header value as one line of text: a line break in it is stored as a carriage return.
std::string shown(std::string text) {
  for (size_t at = 0; (at = text.find('\r', at)) != text.npos; at += 2) text.replace(at, 1, "\\n");
  return text;
}

const char *resolution_name(const FaxDocument &document) {
  return document.resolution < 0 ? "unspecified, shown as normal" : VRtostring(document.resolution);
}

// The number of a page, or those of a stretch of pages that are not available, as "3-5".
std::string page_numbers(const PageFacts &page) {
  const std::string first = std::to_string(page.page);
  return page.last_page == page.page ? first : first + '-' + std::to_string(page.last_page);
}

// A number that is known only of decoded pages.
std::string count_text(const PageFacts &page, int32_t count, const char *unknown) {
  return page.decoded ? std::to_string(count) : unknown;
}

// What is printed about a fax.
struct FaxFacts {
  FaxDocument document;
  int64_t size = 0;
  std::vector<PageFacts> pages;
};

void print_text(const FaxFacts &facts) {
  const FaxDocument &document = facts.document;
  printf("file:        %s\n", result_name(document.shown_name).c_str());
  printf("size:        %lld bytes\n", static_cast<long long>(facts.size));
  printf("coding:      %s\n", coding_name(document.coding));
  printf("resolution:  %s\n", resolution_name(document));
  printf("pages:       %d: %d of its own, %d included\n", readable_pages(document), document.record_count(),
         readable_pages(document) - document.record_count());
  printf("header:\n");
  for (const std::string &line : document.lines) printf("  %s\n", shown(line).c_str());
  printf("\n%5s  %6s  %6s  %8s  %6s  %7s  %s\n", "page", "record", "coding", "bytes", "lines", "damaged", "file");
  for (const PageFacts &page : facts.pages) {
    if (!page.readable) {
      printf("%5s  not available\n", page_numbers(page).c_str());
      continue;
    }
    printf("%5d  %6d  %6s  %8lld  %6s  %7s  %s\n", page.page, page.source_page, coding_name(page.coding),
           static_cast<long long>(page.bytes), count_text(page, page.lines, "-").c_str(),
           count_text(page, page.damaged_lines, "-").c_str(), result_name(page.source).c_str());
    if (!page.checksum.empty()) printf("       sha256 %s\n", page.checksum.c_str());
  }
}

JsonObject damage_object(const LineDamage &place) {
  return {{"line", place.line}, {"what", damage_text(place.kind)}};
}

void print_page_object(const PageFacts &page) {
  JsonObject object = {{"page", page.page}, {"readable", page.readable}};
  if (page.last_page != page.page) object.update({{"last_page", page.last_page}});
  if (!page.source.empty()) object.update({{"file", page.source}, {"record", page.source_page}});
  const bool decoded = page.readable && page.decoded;
  if (page.readable) object.update({{"coding", coding_name(page.coding)}, {"bytes", page.bytes}});
  if (decoded) object.update({{"lines", page.lines}, {"damaged_lines", page.damaged_lines}});
  print_members(object);
  if (decoded) {
    PrintedArray damage("damage");
    for (const LineDamage &place : page.damage) damage.add(damage_object(place));
  }
  if (decoded && !page.checksum.empty()) printf(",\"sha256\":\"%s\"", page.checksum.c_str());
  putchar('}');
}

JsonObject header_object(const std::string &line) {
  const size_t colon = line.find(':');
  JsonObject object = {{"name", line.substr(0, colon)}, {"value", nullptr}};
  if (colon != line.npos) object["value"] = line.substr(colon + 1);
  return object;
}

void print_json(const FaxFacts &facts) {
  const FaxDocument &document = facts.document;
  JsonObject object = file_object(document.path);
  object.update({{"size", facts.size},
                 {"coding", coding_name(document.coding)},
                 {"lines_per_inch", nullptr},
                 {"own_pages", document.record_count()},
                 {"lost_bytes", document.lost_bytes}});
  if (document.resolution >= 0) object["lines_per_inch"] = std::lround(lines_per_inch(document.resolution));
  print_members(object);
  {
    PrintedArray header("header");
    for (const std::string &line : document.lines) header.add(header_object(line));
  }
  {
    PrintedArray pages("pages");
    for (const PageFacts &page : facts.pages) {
      pages.begin_element();
      print_page_object(page);
    }
  }
  puts("}");
}

// A field of a CSV line (RFC 4180).
std::string csv_field(const std::string &text) {
  if (text.find_first_of(",\"\r\n") == text.npos) return text;
  std::string quoted = "\"";
  for (const char character : text) quoted.append(character == '"' ? 2 : 1, character);
  return quoted + '"';
}

void print_csv(const FaxFacts &facts) {
  for (const PageFacts &page : facts.pages) {
    const std::string place = csv_field(facts.document.name()) + ',' + page_numbers(page) + ',' +
                              csv_field(page.source) + ',' + std::to_string(page.source_page);
    if (page.readable)
      printf("%s,%s,%lld,%s,%s", place.c_str(), coding_name(page.coding), static_cast<long long>(page.bytes),
             count_text(page, page.lines, "").c_str(), count_text(page, page.damaged_lines, "").c_str());
    else
      printf("%s,,,,", place.c_str());
    printf(with_checksum ? ",%s\n" : "\n", page.checksum.c_str());
  }
}

FileReport describe_file(size_t index) {
  const std::string &path = input.files[index];
  const auto facts = std::make_shared<FaxFacts>();
  std::string error;
  if (with_error(error, [&] { return open_fax(path, facts->document); }) != DONE)
    return unreadable_file(path, error, as_json);
  const Survey depth = no_decode ? Survey::headers : with_checksum ? Survey::checksums : Survey::lines;
  Status status = report_invalid_inclusions(facts->document);
  status = worse(status, report_missing_records(facts->document));
  status = worse(status, survey_pages(facts->document, facts->pages, depth));
  facts->size = file_size(facts->document.fd.get());
  facts->document.fd.reset();
  return [=] {
    wipe_progress();
    if (!as_json && !as_csv && index > 0) putchar('\n');
    (as_json ? print_json : as_csv ? print_csv : print_text)(*facts);
    return status;
  };
}

Status run() {
  if (const Status status = input.complete(); status != DONE) return status;
  if (as_csv) printf("file,page,source,record,coding,bytes,lines,damaged_lines%s\n", with_checksum ? ",sha256" : "");
  return for_each_file(input.files, describe_file);
}

}  // namespace

const Command info_command = {"info", "Describe fax files, page by page", declare, run};

}  // namespace tolvane
