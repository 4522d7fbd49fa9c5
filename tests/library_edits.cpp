// One edit of a fax file through the library, for the test of faults: library_edits PROCEDURE FILE. Status 0: done.
#include <cstdio>
#include <cstring>
#include <string>

#include "c/fax.h"
#include "faxfile/page_writer.h"
#include "faxfile/sorbfile.h"
#include "faxfile/usorbport.h"
#include "t4/line.h"
#include "t4/t4dec_convert.h"

using namespace tolvane;

namespace {

const std::string VALUE(50, 'x'), PAGE(300, '\x5a');

const auto *page_bytes() {
  return reinterpret_cast<const uint8_t *>(PAGE.data());
}

int16_t insert_page(int32_t fd) {
  FaxPageParams params{};
  params.size = sizeof params;
  params.mode = FAX_PAGE_WRITE;
  params.pageNumber = 1;
  params.dataLength = static_cast<int32_t>(PAGE.size());
  if (const int16_t code = FaxFileStartPage(fd, &params)) return code;
  if (const int16_t code = FaxFileWriteEncodedPage(fd, page_bytes(), params.dataLength)) return code;
  return FaxFileEndPage(fd);
}

// The edits of an open file.
constexpr struct {
  const char *name;
  int16_t (*edit)(int32_t fd);
} EDITS[] = {
    {"FaxFileAddKeyword", [](int32_t fd) { return FaxFileAddKeyword(fd, FAXFILE_SUBJECT, VALUE.c_str()); }},
    {"FaxFileChangeKeyword", [](int32_t fd) { return FaxFileChangeKeyword(fd, FAXFILE_DATE, VALUE.c_str()); }},
    {"FaxFileAppendEncodedPage",
     [](int32_t fd) { return FaxFileAppendEncodedPage(fd, page_bytes(), static_cast<int32_t>(PAGE.size())); }},
    {"FaxFileEndPage", insert_page},
};

bool set_value(const char *path) {
  tolvane_fax *fax = nullptr;
  if (tolvane_open(path, 1, &fax) != TOLVANE_OK) return false;
  const bool edited = tolvane_set_value(fax, "DATE", VALUE.c_str()) == TOLVANE_OK;
  tolvane_close(fax);
  return edited;
}

bool run(const char *name, const char *path) {
  if (strcmp(name, "FaxFileModifyKeyword") == 0)
    return FaxFileModifyKeyword(path, FAXFILE_DATE, VALUE.c_str()) == FAXFILE_OK;
  if (strcmp(name, "FaxFileDeleteKeyword") == 0) return FaxFileDeleteKeyword(path, FAXFILE_DATE) == FAXFILE_OK;
  if (strcmp(name, "t4dec_change_format") == 0) return t4dec_change_format(path, COMP_MMR, 0, nullptr) == 1;
  if (strcmp(name, "tolvane_convert") == 0) return tolvane_convert(path, TOLVANE_MMR) == TOLVANE_OK;
  if (strcmp(name, "tolvane_set_value") == 0) return set_value(path);
  int32_t fd = 0;
  for (const auto &[known, edit] : EDITS) {
    if (strcmp(name, known) != 0 || FaxFileOpen(path, &fd) != FAXFILE_OK) continue;
    const bool edited = edit(fd) == FAXFILE_OK;
    FaxFileClose(fd);  // every edit is in the file before
    return edited;
  }
  return false;
}

}  // namespace

int main(int, char **arguments) {
  return run(arguments[1], arguments[2]) ? 0 : 2;
}
