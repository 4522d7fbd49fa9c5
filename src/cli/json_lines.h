// Results for programs: one JSON object per line.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "cli/file_work.h"
#include "document/fax_document.h"
#include "io/report.h"

namespace tolvane {

/// An object whose members keep their order.
using JsonObject = nlohmann::ordered_json;

/// The object of a file, with what all of them begin with: "schema", raised when a field is removed or changes its
/// meaning, and "file".
JsonObject file_object(const std::string &path);

/// The line of an object, without its end. Text that is not UTF-8 gets replacement characters.
std::string json_line(const JsonObject &object);

/// Opens a fax file as `open_fax` does; if that fails, the object gets the fault as "error".
Status open_fax(const std::string &path, FaxDocument &document, JsonObject &object);

/// The report on a file that `open_fax` failed for: the object, if JSON is wanted.
FileReport unreadable_file(const JsonObject &object, bool as_json);

}  // namespace tolvane
