// Headers: as a list of attributes, as lines, and through the quick reader, held against each other.
#include <string.h>

#include <algorithm>

#include "faxfile/fax_header.h"
#include "faxfile/header_lines.h"
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
    set_header_value(lines, name.c_str(), value);
    std::vector<Inclusion> inclusions;
    read_inclusions(lines, inclusions);
  }

  const OwnedFaxHeader header(read_fax_header(file.fd()));
  if (!header) return;
  require(whole, "a header that is read as a list is read as lines");
  for (const bool edited : {false, true}) {
    if (edited && (set_fax_header_av(header.get(), name.c_str(), value.c_str()) != 1 ||
                   name.find_first_of(":\n") != std::string::npos || value.find('\n') != std::string::npos))
      return;
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
