// Pages and inclusions of up to several files that name each other, and the edits of a file, each held against the
// bytes that it must leave.
#include "faxfile/pages.h"

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "faxfile/page_writer.h"
#include "faxfile/sorbfile.h"
#include "faxfile/usorbport.h"
#include "fuzz.h"
#include "helpers/fax_bytes.h"
#include "support/handle.h"

using namespace tolvane;

namespace {

constexpr int32_t PAGES_TRIED = 12;

std::string read_page(int32_t fd, const char *path, int32_t page, int16_t *code) {
  uint8_t *data = nullptr;
  int32_t length = 0;
  *code = FaxFileReadSpecificPage(fd, path, page, &data, &length);
  require((*code == 0) == !!data, "data with success only");
  const Block<uint8_t> owner(data);
  return data ? std::string(reinterpret_cast<char *>(data), static_cast<size_t>(length)) : std::string();
}

// The header text without its terminator, with the first match of a name taken out up to the end of its line.
std::string without(std::string text, const char *name) {
  const size_t match = text.find(name);
  if (match < text.find('\0')) text.erase(match, text.find('\n', match) + 1 - match);
  return text;
}

std::string with(const std::string &text, const char *name, std::string value) {
  std::replace(value.begin(), value.end(), '\n', '\r');
  return text + name + ':' + value + '\n';
}

// Puts one page into an open file through the operations for pages in progress.
int16_t insert_page(int32_t fd, uint16_t at, const std::string &data) {
  FaxPageParams params{};
  params.size = sizeof params;
  params.mode = FAX_PAGE_WRITE;
  params.pageNumber = at;
  params.dataLength = static_cast<int32_t>(data.size());
  if (const int16_t code = FaxFileStartPage(fd, &params)) return code;
  const auto *bytes = reinterpret_cast<const uint8_t *>(data.data());
  const auto half = static_cast<int32_t>(data.size() / 2);
  FaxFileWriteEncodedPage(fd, bytes, half);
  FaxFileWriteEncodedPage(fd, bytes + half, params.dataLength - half);
  return FaxFileEndPage(fd);
}

}  // namespace

void fuzz_pages(Input input) {
  const std::string path = write_faxes(input);
  int32_t opened;
  if (FaxFileOpen(path.c_str(), &opened) != 0) return;
  const Descriptor file(opened);
  for (int32_t page = 1; page <= PAGES_TRIED; ++page) {
    int16_t first, second;
    const std::string data = read_page(file.get(), path.c_str(), page, &first);
    require(data.size() <= input.bytes.size(), "no page longer than all files");
    require(read_page(file.get(), path.c_str(), page, &second) == data && first == second, "the same page again");
    int32_t place = page;
    char name[INCLUDE_NAME_SIZE] = "";
    if (build_inclusion_list(file.get(), &place, name) != 0) require(place == page && !*name, "an untouched page");
  }
  const std::vector<size_t> offsets = record_offsets(read_file(path));
  for (size_t page = 1; page <= std::min<size_t>(offsets.size(), PAGES_TRIED); ++page) {
    require(SeekToPage(file.get(), static_cast<uint16_t>(page)) == 1, "every record is found");
    require(lseek(file.get(), 0, SEEK_CUR) == static_cast<off_t>(offsets[page - 1]), "a record where it lies");
  }
}

void fuzz_edits(Input input) {
  Input edits{input.bytes.last(std::min<size_t>(input.bytes.size(), 256))};
  input.take(edits.bytes.size());
  const std::string path = scratch().write("edited.fax", input.text());
  for (uint32_t count = 1 + edits.pick(6); count > 0; --count) {
    const std::string before = read_file(path);
    const size_t header_end = std::min(before.size(), 8 + size_t{word_at(before, 4)});
    const std::string text = header_end > 8 ? before.substr(8, header_end - 9) : "";
    const std::string pages = before.substr(header_end);
    const auto records = record_offsets(before);

    const uint32_t edit = edits.pick(7);
    const auto keyword = static_cast<int16_t>(edits.pick(FAXFILE_KEYWORD_COUNT));
    const char *name = faxFileKeywordList[keyword];
    const auto at = static_cast<uint16_t>(1 + edits.pick(8));
    std::string value = edits.take(edits.pick(40));
    const std::string record = big_endian(static_cast<uint32_t>(value.size())) + value;
    value = value.c_str();

    int32_t opened = -1;
    FaxFileOpen(path.c_str(), &opened);
    const Descriptor file(opened);
    int16_t code = FAXFILE_ERR_ARGUMENT;
    std::string expected = before;
    if (edit == 0) {
      code = FaxFileAddKeyword(opened, keyword, value.c_str());
      expected = fax_bytes(with(text, name, value)) + pages;
    } else if (edit == 1) {
      code = FaxFileDeleteKeyword(path.c_str(), keyword);
      expected = fax_bytes(without(text, name)) + pages;
    } else if (edit == 2) {
      code = FaxFileModifyKeyword(path.c_str(), keyword, value.c_str());
      expected = fax_bytes(with(without(text, name), name, value)) + pages;
    } else if (edit == 3) {
      code = FaxFileChangeKeyword(opened, keyword, value.c_str());
      expected = fax_bytes(with(without(text, name), name, value)) + pages;
    } else if (edit == 4) {
      std::vector<char> buffer(32768);
      code = FaxFileGetKeywordValue(opened, keyword, buffer.data());
      require(code != 0 || !*buffer.data() || text.find(buffer.data()) != std::string::npos, "a value of the header");
    } else if (edit == 5) {
      code = opened > 0 ? insert_page(opened, at, record.substr(4)) : code;
      if (code == 0) expected.insert(at <= records.size() ? records[at - 1] : 0, record);
    } else if (opened > 0) {
      code = FaxFileAppendEncodedPage(opened, reinterpret_cast<const uint8_t *>(record.data()) + 4,
                                      static_cast<int32_t>(record.size() - 4));
      expected += record;
    }
    require(read_file(path) == (code == 0 ? expected : before), "the bytes that an edit leaves");
    require(scratch().entries() == 1, "nothing left over");
  }
}
