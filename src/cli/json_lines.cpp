// Header text has no stated character set: what is not UTF-8 is replaced rather than refused. Objects are made only
// where JSON is wanted: without memory their destructors end the program.
#include "cli/json_lines.h"

#include <algorithm>
#include <cstdio>

#include "io/input_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|json_lines|9|01|3|0|0|11/23/26|11:38:58";

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

Status with_error(std::string &error, const std::function<Status()> &work) {
  Diagnostics faults;
  Status status;
  {
    const HoldDiagnostics hold(faults);
    status = work();
  }
  pass_on_diagnostics(faults);
  const auto last = std::find_if(faults.rbegin(), faults.rend(), [](const Diagnostic &one) { return one.is_fault; });
  if (status == FAILED) error = last == faults.rend() ? "unreadable" : last->text;
  return status;
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
