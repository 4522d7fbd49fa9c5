// New page records at the end of a file or before a page, pages in progress, and reading in sequence. What a page holds
// and what `#PAGES` says is up to the caller. The file changes in FaxFileEndPage only, in one write of the record and
// all that follows it.
#include "faxfile/page_writer.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "faxfile/fax_lock.h"
#include "faxfile/in_place.h"
#include "faxfile/pages.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "support/replace_file.h"

namespace tolvane {

PageIO *gPageIOArray[FAX_PAGES_IN_PROGRESS_MAX];
PageIO *gCurrentPageIO = nullptr;

namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_writer|9|01|5|0|0|11/23/26|14:40:40";

void release_page(PageIO *&slot) {
  PageIO *page = std::exchange(slot, nullptr);
  if (page->savedPages > 0) close(page->savedPages);
  if (page->decodedStream) fclose(page->decodedStream);
  if (gCurrentPageIO == page) gCurrentPageIO = nullptr;
  free(page->data);
  _pfree(page);
}

void note_file(PageIO &page, const struct stat &status) {
  page.device = status.st_dev;
  page.file = status.st_ino;
}

// Whether the descriptor is another file than when the page was started, or none.
bool is_another_file(const PageIO &page) {
  struct stat status;
  if (fstat(page.fd, &status) != 0) return errno == EBADF;  // any other fault must not lose the page
  return status.st_dev != page.device || status.st_ino != page.file;
}

// Gives up the pages of a file that was closed without FaxFileClose, and whose number is another file's now.
void give_up_strays(int32_t fd) {
  for (PageIO *&slot : gPageIOArray)
    if (slot && slot->fd == fd && is_another_file(*slot)) release_page(slot);
}

// The page in progress on a descriptor, made the current one; null if there is none.
PageIO *find_page(int32_t fd) {
  give_up_strays(fd);
  if (gCurrentPageIO && gCurrentPageIO->fd == fd) return gCurrentPageIO;
  return SetCurrentPageIO(fd) ? gCurrentPageIO : nullptr;
}

// Makes room for the pages after an insertion, which are those from the file position on. FaxFileEndPage saves them:
// until then another editor may change them.
bool make_spool(PageIO *page) {
  const off_t position = lseek(page->fd, 0, SEEK_CUR);
  const int64_t size = file_size(page->fd);
  if (position < 0 || size < 0) return false;
  Descriptor spool = open_spool(page->fd);
  if (!spool || !reserve_space(spool.get(), size - position)) return false;
  page->savedPages = spool.release();
  return true;
}

// Copies everything from the file position to the end of the file. The file position stays.
bool save_pages(int32_t fd, int32_t spool) {
  const off_t position = lseek(fd, 0, SEEK_CUR);
  return position >= 0 && copy_bytes(fd, spool, file_size(fd) - position) && lseek(fd, position, SEEK_SET) == position;
}

int16_t start_writing(PageIO *page) {
  if (page->params.pageNumber != FAX_PAGE_AT_END) {
    if (!SeekToPage(page->fd, page->params.pageNumber)) return FAXFILE_ERR_ARGUMENT;
    if (!make_spool(page)) return FAXFILE_ERR_CREATE;
  }
  // Space for the whole page, once reserved, would stay with a file whose page is given up.
  const int64_t size = file_size(page->fd), word_end = size + static_cast<int64_t>(FAXFILE_WORD);
  const bool may = size >= 0 && may_grow_to(word_end + std::max(page->params.dataLength, 0));
  return may && reserve_space(page->fd, word_end) ? FAXFILE_OK : FAXFILE_ERR_WRITE;
}

int16_t start_reading(PageIO *page, FaxPageParams *params) {
  uint32_t length;
  if (!SeekToPage(page->fd, params->pageNumber) || readLongFlipped(page->fd, &length) != FAXFILE_WORD)
    return FAXFILE_ERR_ARGUMENT;
  const off_t data = lseek(page->fd, 0, SEEK_CUR);
  if (data < 0) return FAXFILE_ERR_READ;
  if (length > file_size(page->fd) - data || length > INT32_MAX) return FAXFILE_ERR_ARGUMENT;
  if (lseek(page->fd, data - static_cast<off_t>(FAXFILE_WORD), SEEK_SET) < 0) return FAXFILE_ERR_READ;
  params->dataLength = static_cast<int32_t>(length);
  params->lengthMark = -1;
  page->params = *params;
  return FAXFILE_OK;
}

// Puts a record at the end of the file.
bool append_record(int32_t fd, const uint8_t *data, uint32_t length) {
  uint8_t word[FAXFILE_WORD];
  put_word(word, length);
  const int64_t end = file_size(fd);
  return end >= 0 && may_grow_to(end + static_cast<int64_t>(sizeof word) + length) &&
         replace_end(fd, end, {piece(word, sizeof word), piece(data, length)}, {});
}

// Puts the record of a page before the page that it was started for. Another editor may have been at the file since.
bool insert_record(PageIO *page) {
  if (!SeekToPage(page->fd, page->params.pageNumber)) return false;
  const off_t place = lseek(page->fd, 0, SEEK_CUR);
  SpoolMapping following;
  if (place < 0 || !save_pages(page->fd, page->savedPages) || !following.map(page->savedPages)) return false;
  const auto length = static_cast<uint32_t>(page->pageLength);
  uint8_t word[FAXFILE_WORD];
  put_word(word, length);
  return replace_end(page->fd, place, {piece(word, sizeof word), piece(page->data, length), following.bytes()},
                     {following.bytes()});
}

int16_t finish_page(PageIO *page) {
  if (page->writeFailed) return FAXFILE_ERR_WRITE;
  if (page->written != page->pageLength) return FAXFILE_ERR_ARGUMENT;
  FaxEditLock lock;
  if (!take_to_change(lock, page->fd)) return FAXFILE_ERR_WRITE;
  const bool done = page->params.pageNumber == FAX_PAGE_AT_END
                        ? append_record(page->fd, page->data, static_cast<uint32_t>(page->pageLength))
                        : insert_record(page);
  return done ? FAXFILE_OK : FAXFILE_ERR_WRITE;
}

// Gives up the pages in progress on a descriptor, and counts those in write mode that were begun, or have data.
int give_up(int32_t fd, bool with_data) {
  int lost = 0;
  for (PageIO *&slot : gPageIOArray) {
    if (!slot || slot->fd != fd) continue;
    if (slot->params.mode == FAX_PAGE_WRITE) lost += !with_data || slot->written > 0;
    release_page(slot);
    gCurrentPageIO = nullptr;
  }
  return lost;
}
}  // namespace

bool take_with_pages(FaxEditLock &lock, int32_t fd) {
  give_up_strays(fd);
  struct stat status;
  if (!take_to_change(lock, fd) || fstat(fd, &status) != 0) return false;
  for (PageIO *&slot : gPageIOArray) {
    if (!slot || slot->fd != fd) continue;
    const bool moved = slot->device != status.st_dev || slot->file != status.st_ino;
    if (moved && slot->params.mode != FAX_PAGE_WRITE)
      release_page(slot);  // the new file is at its start, and need not have that page
    else
      note_file(*slot, status);
  }
  return true;
}

int16_t FaxFileStartPage(int32_t fd, FaxPageParams *params) {
  if (fd < 1 || !params || params->size != sizeof(FaxPageParams)) return FAXFILE_ERR_ARGUMENT;
  struct stat status;
  if (fstat(fd, &status) != 0) return FAXFILE_ERR_ARGUMENT;
  if (!AllocNextPageIO()) return FAXFILE_ERR_MEMORY;
  PageIO *page = gCurrentPageIO;
  page->fd = fd;
  page->params = *params;
  note_file(*page, status);
  const int16_t code = params->mode == FAX_PAGE_WRITE ? start_writing(page) : start_reading(page, params);
  if (code != FAXFILE_OK) release_page(*std::find(gPageIOArray, std::end(gPageIOArray), page));
  return code;
}

int16_t FaxFileWriteEncodedPage(int32_t fd, const uint8_t *buffer, int32_t length) {
  PageIO *page = fd < 1 ? nullptr : find_page(fd);
  if (page && page->params.mode != FAX_PAGE_WRITE) return FAXFILE_ERR_READONLY;
  if (!page || !buffer || length < 0 || page->params.dataLength <= 0) return FAXFILE_ERR_ARGUMENT;

  const auto room = static_cast<size_t>(page->params.dataLength);
  if (!page->data) page->data = static_cast<uint8_t *>(malloc(room));
  if (!page->data) {
    page->writeFailed = 1;
    return FAXFILE_ERR_MEMORY;
  }
  const auto begin = static_cast<size_t>(page->written);
  if (begin < room) memcpy(page->data + begin, buffer, std::min(room - begin, static_cast<size_t>(length)));
  page->written += length;
  page->pageLength = page->params.dataLength;
  return FAXFILE_OK;
}

int16_t FaxFileEndPage(int32_t fd) {
  PageIO *page = find_page(fd);
  if (!page) return FAXFILE_OK;
  const int16_t code = page->params.mode == FAX_PAGE_WRITE ? finish_page(page) : FAXFILE_OK;
  if (code == FAXFILE_OK) release_page(*std::find(gPageIOArray, std::end(gPageIOArray), page));
  const int lost = give_up(fd, true);
  return code == FAXFILE_OK && lost > 0 ? FAXFILE_ERR_ARGUMENT : code;
}

int16_t FaxFileAppendEncodedPage(int32_t fd, const uint8_t *buffer, int32_t length) {
  if (fd < 1 || !buffer || length < 0) return FAXFILE_ERR_ARGUMENT;
  FaxEditLock lock;
  const bool done = take_with_pages(lock, fd) && append_record(fd, buffer, static_cast<uint32_t>(length));
  return done ? FAXFILE_OK : FAXFILE_ERR_WRITE;
}

int16_t FaxFileReadEncodedPage(int32_t fd, uint8_t *buffer, int32_t size) {
  if (fd < 1 || !buffer || size < 1) return FAXFILE_ERR_ARGUMENT;
  if (!find_page(fd)) return FAXFILE_ERR_ARGUMENT;
  uint32_t length;
  if (readLongFlipped(fd, &length) != 4) return FAXFILE_ERR_READ;
  if (length > static_cast<uint32_t>(size)) return FAXFILE_ERR_ARGUMENT;
  return _pread(fd, buffer, length) == static_cast<ssize_t>(length) ? FAXFILE_OK : FAXFILE_ERR_READ;
}

int16_t FaxFileReadDecodedPage(int32_t fd, uint8_t *buffer, int32_t length) {
  if (fd < 1 || !buffer || length < 0) return FAXFILE_ERR_ARGUMENT;
  if (length == 0) return FAXFILE_OK;
  PageIO *page = find_page(fd);
  if (!page || !page->decodedStream || fileno(page->decodedStream) == 0) return FAXFILE_ERR_FORMAT;
  if (_pread(fileno(page->decodedStream), buffer, static_cast<size_t>(length)) != length) return FAXFILE_ERR_READ;
  fclose(page->decodedStream);
  page->decodedStream = nullptr;
  return FAXFILE_OK;
}

int SaveFaxPages(int32_t fd, int32_t *spool) {
  if (fd < 0 || !spool) return 0;
  Descriptor made = open_spool(fd);
  if (!made || !save_pages(fd, made.get())) return 0;
  *spool = made.release();
  return 1;
}

int WriteSavedPages(int32_t spool, int32_t target) {
  const int64_t size = file_size(spool);
  if (size < 0 || lseek(spool, 0, SEEK_SET) != 0 || !copy_bytes(spool, target, size)) return 0;
  close(spool);
  return 1;
}

int AllocNextPageIO() {
  gCurrentPageIO = nullptr;
  PageIO **slot = std::find(gPageIOArray, std::end(gPageIOArray), nullptr);
  if (slot == std::end(gPageIOArray)) return 0;
  gCurrentPageIO = *slot = static_cast<PageIO *>(_pcalloc(1, sizeof(PageIO)));
  return gCurrentPageIO ? 1 : 0;
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
  give_up(fd, true);
  return 0;
}

int give_up_pages(int32_t fd) {
  return find_page(fd) ? give_up(fd, false) : 0;
}

}  // namespace tolvane
