// Header text has no stated character set: what is not UTF-8 is replaced rather than refused.
#include "cli/json_lines.h"

#include <cstdio>

#include "io/input_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|json_lines|9|01|1|0|0|11/23/26|08:00:00";

constexpr int SCHEMA = 1;
}  // namespace

JsonObject file_object(const std::string &path) {
  return {{"schema", SCHEMA}, {"file", input_name(path)}};
}

std::string json_line(const JsonObject &object) {
  return object.dump(-1, ' ', false, JsonObject::error_handler_t::replace);
}

Status open_fax(const std::string &path, FaxDocument &document, JsonObject &object) {
  Diagnostics faults;
  Status status;
  {
    const HoldDiagnostics hold(faults);
    status = open_fax(path, document);
  }
  pass_on_diagnostics(faults);
  if (status != DONE) object["error"] = faults.empty() ? "unreadable" : faults.back().text;
  return status;
}

FileReport unreadable_file(const JsonObject &object, bool as_json) {
  if (!as_json) return [] { return FAILED; };
  return [line = json_line(object)] {
    puts(line.c_str());
    return FAILED;
  };
}

}  // namespace tolvane
