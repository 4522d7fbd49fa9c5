// Headers: as a list of attributes, as lines, and through the quick reader, held against each other.
#include <string.h>

#include <algorithm>
#include <sstream>

#include "faxfile/fax_header.h"
#include "faxfile/header_lines.h"
#include "faxfile/pages.h"
#include "fuzz.h"
#include "view/small_database.h"
#include "view/view_state.h"

using namespace tolvane;

namespace {

void require_same(const FaxHeader *one, const FaxHeader *other) {
  for (; one && other; one = one->next, other = other->next)
    require(strcmp(one->attr, other->attr) == 0 && strcmp(one->value, other->value) == 0, "a header read as written");
  require(!one && !other, "as many attributes as were written");
}

// Each inclusion has the fields of its line, and none is passed over up to the line that is refused.
void require_inclusions(const HeaderLines &lines) {
  std::vector<Inclusion> inclusions;
  const bool all = read_inclusions(lines, inclusions) == 1;
  size_t next = 0;
  int32_t last_at = 1;
  for (size_t i = 0; i < lines.size() && (all || next < inclusions.size()); ++i) {
    if (!lines[i].starts_with("INCLUDE:")) continue;
    require(next < inclusions.size() && inclusions[next].line == i, "an inclusion of every line");
    const Inclusion &one = inclusions[next++];
    require(one.at >= last_at && one.count >= 0, "inclusions in order");
    last_at = one.at;
    std::istringstream fields(lines[i].c_str() + strlen("INCLUDE:"));
    std::string file;
    int16_t at = 0;
    int32_t count = 0;
    fields >> file;
    require(one.name == file.substr(0, INCLUDE_NAME_SIZE - 1), "the name that a line includes");
    if (file.size() < INCLUDE_NAME_SIZE && fields >> at >> count)
      require(one.at == at && one.count == count, "the pages that a line includes");
  }
  require(next == inclusions.size(), "no inclusion without a line");
}

}  // namespace

void fuzz_header(Input input) {
  const std::string name = input.take(input.pick(8)), value = input.take(input.pick(32));
  const MemoryFile file(input.text());
  HeaderLines lines;
  const bool whole = read_header_lines(file.fd(), lines) == 0;
  if (whole) {
    const MemoryFile copy;
    require(write_header_lines(copy.fd(), lines) == 1, "lines that were read can be written");
    HeaderLines again;
    require(read_header_lines(copy.fd(), again) == 0 && again == lines, "lines read as written");
    require_inclusions(lines);
    set_header_value(lines, name.c_str(), value);
    std::string wanted = value.c_str();
    std::replace(wanted.begin(), wanted.end(), '\n', '\r');
    const char *found = find_header_value(lines, name.c_str());
    require(found && found == wanted, "the value of a line that was set");
  }

  const OwnedFaxHeader header(read_fax_header(file.fd()));
  if (!header) return;
  require(whole, "a header that is read as a list is read as lines");
  for (const bool edited : {false, true}) {
    if (edited) {
      if (set_fax_header_av(header.get(), name.c_str(), value.c_str()) != 1) return;
      const char *found = get_fax_header_value(header.get(), name.c_str());
      require(found && strcmp(found, value.c_str()) == 0, "the value of an attribute that was set");
      if (name.find_first_of(":\n") != std::string::npos || value.find('\n') != std::string::npos) return;
    }
    const MemoryFile copy;
    require(write_fax_header(copy.fd(), header.get()) == 1, "a header that was read can be written");
    const OwnedFaxHeader again(read_fax_header(copy.fd()));
    require_same(header.get(), again.get());
  }
  for (int32_t code = -1; code < 7; ++code) {
    if (set_vertical_resolution(header.get(), code) == 1 && code < 5)
      require(get_vertical_resolution(header.get()) == code, "the resolution that was set");
    if (set_compression_mode(header.get(), code) == 1 && code < 4)
      require(get_compression_mode(header.get()) == code, "the compression that was set");
  }
}

void fuzz_quick_header(Input input) {
  const MemoryFile file(input.text());
  const uint32_t length = tn_extract_header_info(file.path().c_str());
  require(length == 0 || length == word_at(file.bytes(), 4), "the length that the file states");
  HeaderLines lines;
  if (read_header_lines(file.fd(), lines) != 0 || lines.size() > 99) return;

  // Where every line is a name and a value, and no name comes twice, both readers see the same.
  const std::string text = file.bytes().substr(8, length - 1);
  if (text.empty() || text.back() != '\n' || text.find_first_of(std::string("\0\x1d", 2)) != std::string::npos) return;
  std::vector<std::string> names;
  for (const std::string &line : lines) {
    names.push_back(line.substr(0, line.find(':')));
    if (names.back().empty() || names.back().size() == line.size()) return;
  }
  for (const std::string &name : names)
    if (std::count(names.begin(), names.end(), name) == 1)
      require(find_keyword(name.c_str()) == std::string(find_header_value(lines, name.c_str())), "one value of a line");
  free_header();
}
