// Whole-file conversion by the records that are there. What a newcomer gets wrong: the header goes through as lines,
// not as a list, in which a name occurs once: each INCLUDE line has pages.
#include "t4/file_converter.h"

#include <algorithm>
#include <new>
#include <span>

#include "faxfile/fax_lock.h"
#include "faxfile/header_lines.h"
#include "faxfile/header_modes.h"
#include "faxfile/pages.h"
#include "faxfile/sorbfile.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "support/replace_file.h"
#include "support/store.h"
#include "t4/line.h"
#include "t4/page_converter.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|file_converter|9|01|2|0|0|11/23/26|12:24:21";

struct Source {
  Descriptor file{};
  HeaderLines lines{};
  int32_t coding = 0;
  int32_t pages = 0;
};

// Opens the file, which stands at its first record if it has to be converted.
int16_t open_source(const char *path, int32_t coding, Source &source) {
  int32_t fd;
  if (const int16_t code = FaxFileOpenReadOnly(path, &fd); code != FAXFILE_OK) return code;
  source.file.reset(fd);
  if (const int16_t code = read_header_lines(fd, source.lines); code != FAXFILE_OK) return code;
  source.coding = header_coding(source.lines);
  if (source.coding == coding) return FAXFILE_OK;
  if (const int16_t code = FaxFileCountPages(fd, &source.pages); code != FAXFILE_OK) return code;
  return SeekToPage(fd, 1) ? FAXFILE_OK : FAXFILE_ERR_READ;
}

// Reads the next record.
int16_t read_page(int32_t fd, Store &page) {
  uint32_t length = 0;
  if (readLongFlipped(fd, &length) != static_cast<ssize_t>(FAXFILE_WORD)) return FAXFILE_ERR_READ;
  if (length > page.capacity && !page.grow_to(length)) return FAXFILE_ERR_MEMORY;
  page.used = length;
  return read_fully(fd, page.bytes.get(), length) == static_cast<ssize_t>(length) ? FAXFILE_OK : FAXFILE_ERR_READ;
}

// Writes header and records of the new file.
int16_t write_target(int fd, const Source &source, int32_t coding) {
  const int32_t resolution = std::max(header_resolution(source.lines), 0);
  HeaderLines lines = source.lines;
  set_header_coding(lines, coding);
  set_header_page_count(lines, source.pages);
  if (header_loses_readers(source.lines, lines)) return FAXFILE_ERR_FORMAT;
  if (!write_header_lines(fd, lines)) return FAXFILE_ERR_WRITE;
  PageConverter converter;
  Store page;
  for (int32_t number = 1; number <= source.pages; ++number) {
    if (const int16_t code = read_page(source.file.get(), page); code != FAXFILE_OK) return code;
    const ConvertResult result = converter.convert({page.bytes.get(), page.used}, source.coding, coding, resolution);
    if (result == ConvertResult::no_memory) return FAXFILE_ERR_MEMORY;
    if (result != ConvertResult::done) return FAXFILE_ERR_CODING;
    const std::span<const uint8_t> record = converter.record();
    if (!write_fully(fd, record.data(), record.size())) return FAXFILE_ERR_WRITE;
  }
  return FAXFILE_OK;
}

int16_t convert(const char *path, int32_t coding) {
  Descriptor locked;  // what can't be written can still be replaced
  FaxEditLock lock;
  Source source;
  Replacement target;
  locked.reset(open_locked(path, lock));
  if (!locked && errno == EBUSY) return FAXFILE_ERR_WRITE;
  if (const int16_t code = open_source(path, coding, source); code != FAXFILE_OK) return code;
  if (source.coding == coding) return FAXFILE_OK;
  if (!target.begin(path)) return FAXFILE_ERR_CREATE;
  if (const int16_t code = write_target(target.fd(), source, coding); code != FAXFILE_OK) return code;
  return target.commit() ? FAXFILE_OK : FAXFILE_ERR_WRITE;
}

}  // namespace

int16_t convert_fax_file(const char *path, int32_t coding) {
  if (coding != COMP_MH && coding != COMP_MR && coding != COMP_MMR) return FAXFILE_ERR_CODING;
  try {
    return convert(path, coding);
  } catch (const std::bad_alloc &) {
    return FAXFILE_ERR_MEMORY;
  }
}

}  // namespace tolvane
