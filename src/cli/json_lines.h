// Results for programs: one JSON object per line.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "cli/file_work.h"
#include "io/report.h"

namespace tolvane {

/// An object whose members keep their order.
using JsonObject = nlohmann::ordered_json;

/// An object with what all of them begin with: "schema", raised when a field is removed or changes its meaning.
JsonObject result_object();

/// The object of a file, with "file" besides.
JsonObject file_object(const std::string &path);

/// The line of an object, without its end. Text that is not UTF-8 gets replacement characters.
std::string json_line(const JsonObject &object);

/// Prints the members of an object and leaves it open: others may follow, then a closing brace.
void print_members(const JsonObject &object);

/// Prints an array that follows other members, one element after another: a large one is never held as a whole.
class PrintedArray {
 public:
  explicit PrintedArray(const char *name);
  /// Closes it.
  ~PrintedArray();
  PrintedArray(const PrintedArray &) = delete;
  PrintedArray &operator=(const PrintedArray &) = delete;

  /// Begins an element, which the caller prints.
  void begin_element();
  void add(const JsonObject &element);

 private:
  bool is_empty_ = true;
};

/// Does work that may fail: then `error` gets the last fault that it reports. Returns what it returns.
Status with_error(std::string &error, const std::function<Status()> &work);

/// The last fault among diagnostics, or "unreadable".
std::string last_fault(const Diagnostics &diagnostics);

/// The report on a file that cannot be read: its object with "error", if JSON is wanted.
FileReport unreadable_file(const std::string &path, const std::string &error, bool as_json);

}  // namespace tolvane
