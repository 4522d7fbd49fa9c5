// New page records at the end of a file or in front of a page, pages in progress, and reading in sequence. What a page
// holds is no business of this module, and neither is `#PAGES`. FaxFileEndPage works on the page last selected, which
// is not always the one of the descriptor that it is given.
#include "faxfile/page_writer.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>

#include "faxfile/pages.h"
#include "faxfile/usorbport.h"
#include "support/file.h"
#include "support/handle.h"
#include "support/replace_file.h"

namespace tolvane {

PageIO *gPageIOArray[FAX_PAGES_IN_PROGRESS_MAX];
PageIO *gCurrentPageIO = nullptr;

namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_writer|9|01|1|0|0|11/22/26|21:45:00";

constexpr size_t COPY_BLOCK = 5120;

// Copies `count` bytes between the positions of two files; 0 if one of them falls short.
int copy_bytes(int32_t from, int32_t to, int64_t count) {
  uint8_t block[COPY_BLOCK];
  while (count > 0) {
    const size_t piece = std::min(COPY_BLOCK, static_cast<size_t>(count));
    if (_pread(from, block, piece) != static_cast<ssize_t>(piece)) return 0;
    if (_pwrite(to, block, piece) < 0) return 0;
    count -= static_cast<int64_t>(piece);
  }
  return 1;
}

int copy_spool(int32_t spool, int32_t target) {
  const int64_t size = file_size(spool);
  return size >= 0 && lseek(spool, 0, SEEK_SET) == 0 && copy_bytes(spool, target, size);
}

void release_page(PageIO **slot) {
  PageIO *page = *slot;
  if (page->savedPages > 0) close(page->savedPages);
  if (page->decodedStream) fclose(page->decodedStream);
  if (gCurrentPageIO == page) gCurrentPageIO = nullptr;
  _pfree(page);
  *slot = nullptr;
}

int take_back(const PageIO &page) {
  return restore_tail(page.fd, page.recordStart, page.savedPages, page.sizeBefore);
}

int16_t start_writing(PageIO *page) {
  page->sizeBefore = file_size(page->fd);
  if (page->params.pageNumber == FAX_PAGE_AT_END) {
    page->recordStart = lseek(page->fd, 0, SEEK_END);
  } else {
    if (!SeekToPage(page->fd, page->params.pageNumber)) return FAXFILE_ERR_ARGUMENT;
    page->recordStart = lseek(page->fd, 0, SEEK_CUR);
    if (!SaveFaxPages(page->fd, &page->savedPages)) return FAXFILE_ERR_CREATE;
  }
  constexpr uint32_t NO_LENGTH = 0;
  if (writeLongFlipped(page->fd, &NO_LENGTH) == 4) return FAXFILE_OK;
  take_back(*page);
  return FAXFILE_ERR_WRITE;
}

int16_t start_reading(PageIO *page, FaxPageParams *params) {
  uint32_t length;
  if (!SeekToPage(page->fd, params->pageNumber) || readLongFlipped(page->fd, &length) != 4 || length > INT32_MAX)
    return FAXFILE_ERR_ARGUMENT;
  lseek(page->fd, -4, SEEK_CUR);
  params->dataLength = static_cast<int32_t>(length);
  params->lengthMark = -1;
  page->params = *params;
  return FAXFILE_OK;
}

// Whether the current page takes data: its code if it does not.
int16_t refusal() {
  if (!gCurrentPageIO) return FAXFILE_ERR_ARGUMENT;
  if (gCurrentPageIO->params.mode != FAX_PAGE_WRITE) return FAXFILE_ERR_READONLY;
  return gCurrentPageIO->fd < 1 || gCurrentPageIO->params.dataLength <= 0 ? FAXFILE_ERR_ARGUMENT : FAXFILE_OK;
}

// Writes the length word of a page whose data is there, and behind it the pages that an insertion has moved.
int finish_page(PageIO *page) {
  if (page->writeFailed) return 0;
  const auto length = static_cast<uint32_t>(page->pageLength);
  if (lseek(page->fd, page->recordStart, SEEK_SET) < 0 || writeLongFlipped(page->fd, &length) != 4) return 0;
  if (page->savedPages == 0) return 1;
  if (lseek(page->fd, page->pageLength, SEEK_CUR) < 0 || !WriteSavedPages(page->savedPages, page->fd)) return 0;
  page->savedPages = 0;
  return 1;
}
}  // namespace

int16_t FaxFileStartPage(int32_t fd, FaxPageParams *params) {
  if (fd < 1 || !params || params->size != sizeof(FaxPageParams)) return FAXFILE_ERR_ARGUMENT;
  if (!AllocNextPageIO()) return FAXFILE_ERR_MEMORY;
  PageIO *page = gCurrentPageIO;
  page->fd = fd;
  page->params = *params;
  const int16_t code = params->mode == FAX_PAGE_WRITE ? start_writing(page) : start_reading(page, params);
  if (code != FAXFILE_OK) release_page(std::find(gPageIOArray, std::end(gPageIOArray), page));
  return code;
}

int16_t FaxFileWriteEncodedPage(int32_t fd, const uint8_t *buffer, int32_t length) {
  // The page selected before the call speaks first, then the page of the descriptor.
  if (refusal() == FAXFILE_ERR_READONLY) return FAXFILE_ERR_READONLY;
  if (fd < 1 || !buffer || length < 0) return FAXFILE_ERR_ARGUMENT;
  if (refusal() != FAXFILE_OK || !SetCurrentPageIO(fd)) return FAXFILE_ERR_ARGUMENT;
  if (const int16_t code = refusal(); code != FAXFILE_OK) return code;

  PageIO *page = gCurrentPageIO;
  if (page->writeFailed || _pwrite(fd, buffer, static_cast<size_t>(length)) < 0) {
    page->writeFailed = 1;
    return FAXFILE_ERR_WRITE;
  }
  page->pageLength = page->params.dataLength;
  return FAXFILE_OK;
}

int16_t FaxFileEndPage(int32_t fd) {
  PageIO *page = gCurrentPageIO;
  if (!page) return FAXFILE_OK;
  int16_t code = FAXFILE_OK;
  if (page->params.mode == FAX_PAGE_WRITE && !finish_page(page)) {
    take_back(*page);
    code = FAXFILE_ERR_WRITE;
  }
  DeletePageIO(fd);
  return code;
}

int16_t FaxFileAppendEncodedPage(int32_t fd, const uint8_t *buffer, int32_t length) {
  if (fd < 1 || !buffer || length < 0) return FAXFILE_ERR_ARGUMENT;
  const off_t end = lseek(fd, 0, SEEK_END);
  const auto word = static_cast<uint32_t>(length);
  if (writeLongFlipped(fd, &word) == 4 && _pwrite(fd, buffer, word) >= 0) return FAXFILE_OK;
  restore_tail(fd, end, 0, end);
  return FAXFILE_ERR_WRITE;
}

int16_t FaxFileReadEncodedPage(int32_t fd, uint8_t *buffer, int32_t size) {
  if (fd < 1 || !buffer || size < 1) return FAXFILE_ERR_ARGUMENT;
  if (!SetCurrentPageIO(fd)) return FAXFILE_ERR_ARGUMENT;
  uint32_t length;
  if (readLongFlipped(fd, &length) != 4) return FAXFILE_ERR_READ;
  if (length > static_cast<uint32_t>(size)) return FAXFILE_ERR_ARGUMENT;
  return _pread(fd, buffer, length) == static_cast<ssize_t>(length) ? FAXFILE_OK : FAXFILE_ERR_READ;
}

int16_t FaxFileReadDecodedPage(int32_t fd, uint8_t *buffer, int32_t length) {
  if (fd < 1 || !buffer || length < 0) return FAXFILE_ERR_ARGUMENT;
  if (length == 0) return FAXFILE_OK;
  PageIO *page = gCurrentPageIO;
  if (!page || !page->decodedStream || fileno(page->decodedStream) == 0) return FAXFILE_ERR_FORMAT;
  if (_pread(fileno(page->decodedStream), buffer, static_cast<size_t>(length)) != length) return FAXFILE_ERR_READ;
  fclose(page->decodedStream);
  page->decodedStream = nullptr;
  return FAXFILE_OK;
}

int SaveFaxPages(int32_t fd, int32_t *spool) {
  if (fd < 0 || !spool) return 0;
  Descriptor made = open_spool(fd);
  if (!made) return 0;
  const off_t position = lseek(fd, 0, SEEK_CUR);
  if (position < 0 || !copy_bytes(fd, made.get(), file_size(fd) - position)) return 0;
  if (lseek(fd, position, SEEK_SET) != position) return 0;
  *spool = made.release();
  return 1;
}

int WriteSavedPages(int32_t spool, int32_t target) {
  if (!copy_spool(spool, target)) return 0;
  close(spool);
  return 1;
}

int restore_tail(int32_t fd, int64_t offset, int32_t spool, int64_t size) {
  if (lseek(fd, offset, SEEK_SET) != offset) return 0;
  if (spool > 0 && !copy_spool(spool, fd)) return 0;
  return ks_ftruncate(fd, size) == 0;
}

int AllocNextPageIO() {
  gCurrentPageIO = nullptr;
  PageIO **slot = std::find(gPageIOArray, std::end(gPageIOArray), nullptr);
  if (slot == std::end(gPageIOArray)) return 0;
  gCurrentPageIO = *slot = static_cast<PageIO *>(_pcalloc(1, sizeof(PageIO)));
  return gCurrentPageIO != nullptr;
}

int SetCurrentPageIO(int32_t fd) {
  int found = 0;
  for (PageIO *page : gPageIOArray) {
    if (!page || page->fd != fd) continue;
    gCurrentPageIO = page;
    found = 1;
  }
  return found;
}

int DeletePageIO(int32_t fd) {
  for (PageIO *&slot : gPageIOArray) {
    if (!slot || slot->fd != fd) continue;
    release_page(&slot);
    gCurrentPageIO = nullptr;
  }
  return 0;
}

}  // namespace tolvane
