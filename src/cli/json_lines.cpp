// Header text has no stated character set: what is not UTF-8 is replaced rather than refused. Objects are made only
// where JSON is wanted: without memory their destructors end the program.
#include "cli/json_lines.h"

#include <cstdio>

#include "io/input_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|json_lines|9|01|4|0|0|11/23/26|14:40:52";

constexpr int SCHEMA = 1;
}  // namespace

JsonObject result_object() {
  return {{"schema", SCHEMA}};
}

JsonObject file_object(const std::string &path) {
  JsonObject object = result_object();
  object["file"] = input_name(path);
  return object;
}

std::string json_line(const JsonObject &object) {
  return object.dump(-1, ' ', false, JsonObject::error_handler_t::replace);
}

void print_members(const JsonObject &object) {
  std::string line = json_line(object);
  line.pop_back();
  fputs(line.c_str(), stdout);
}

PrintedArray::PrintedArray(const char *name) {
  printf(",\"%s\":[", name);
}

PrintedArray::~PrintedArray() {
  putchar(']');
}

void PrintedArray::begin_element() {
  if (!is_empty_) putchar(',');
  is_empty_ = false;
}

void PrintedArray::add(const JsonObject &element) {
  begin_element();
  fputs(json_line(element).c_str(), stdout);
}

Status with_error(std::string &error, const std::function<Status()> &work) {
  Diagnostics faults;
  Status status;
  {
    const HoldDiagnostics hold(faults);
    status = work();
  }
  pass_on_diagnostics(faults);
  if (status == FAILED) error = last_fault(faults);
  return status;
}

std::string last_fault(const Diagnostics &diagnostics) {
  std::string last = "unreadable";
  diagnostics.for_each([&](const Diagnostic &one) {
    if (one.is_fault) last = one.text;
  });
  return last;
}

FileReport unreadable_file(const std::string &path, const std::string &error, bool as_json) {
  return [=] {
    if (!as_json) return FAILED;
    JsonObject object = file_object(path);
    object["error"] = error;
    puts(json_line(object).c_str());
    return FAILED;
  };
}

}  // namespace tolvane
