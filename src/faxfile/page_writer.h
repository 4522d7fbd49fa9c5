// Adding pages to a fax file, at its end or before a page, and reading pages one after another.
//
// A page goes through FaxFileStartPage, FaxFileWriteEncodedPage as often as needed, and FaxFileEndPage. Its bytes are
// kept in memory until FaxFileEndPage puts the record into the file, so a page that is not ended leaves no trace. Up to
// ten pages may be in progress, and every call acts on the page of the descriptor that it is given. No operation here
// changes `#PAGES`.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace tolvane {

class FaxEditLock;

constexpr uint8_t FAX_PAGE_WRITE = 0;             ///< `mode`: a new page
constexpr uint8_t FAX_PAGE_READ = 1;              ///< `mode`: an existing page
constexpr uint16_t FAX_PAGE_AT_END = 0xFFFF;      ///< `pageNumber`: at the end of the file
constexpr size_t FAX_PAGES_IN_PROGRESS_MAX = 10;  ///< slots of gPageIOArray

/// The caller's description of a page.
struct FaxPageParams {
  uint16_t size;        ///< sizeof(FaxPageParams); any other is refused
  uint8_t mode;         ///< FAX_PAGE_WRITE or FAX_PAGE_READ
  uint32_t reserved1;   ///< not read
  uint32_t reserved2;   ///< not read
  uint16_t pageNumber;  ///< page record of the file from 1, or FAX_PAGE_AT_END; a new page goes before it
  int32_t dataLength;   ///< coded bytes of the page: in write mode the sum of all writes, in read mode an output
  int32_t lengthMark;   ///< output in read mode: -1
};
static_assert(sizeof(FaxPageParams) == 24, "callers store the record's size in it");

/// A page in progress.
struct PageIO {
  int32_t fd;            ///< the fax file
  FaxPageParams params;  ///< copy of the caller's record
  int32_t pageLength;    ///< what the length word becomes; 0 until the first write
  FILE *decodedStream;   ///< for FaxFileReadDecodedPage; null unless a host program sets it
  int32_t savedPages;    ///< spool file for the pages after an insertion; 0 for none
  dev_t device;          ///< the file that `fd` is: a number that is closed can come back for another file
  ino_t file;            ///< its inode
  uint8_t *data;         ///< the bytes written so far, `dataLength` at most; from `malloc`
  int64_t written;       ///< bytes that all writes have offered
  int32_t writeFailed;   ///< non-zero: a write failed, and FaxFileEndPage gives the page up
};

extern PageIO *gPageIOArray[FAX_PAGES_IN_PROGRESS_MAX];  ///< each slot null or a page in progress
extern PageIO *gCurrentPageIO;                           ///< the page last started or selected, or null

/// Begins a page. In write mode makes sure that the file can be written, and for an insertion makes the spool file for
/// the pages after it; the content of the file stays as it is. In read mode finds the page, leaves the file at its
/// length word, and fills `dataLength` and `lengthMark`.
///
/// @return 0; 15 for a bad argument, and for a page that does not exist or is cut short; 4 with ten pages in progress
///         or no memory; 5 if the spool file can't be made; 7 if the file can't be written or grow
int16_t FaxFileStartPage(int32_t fd, FaxPageParams *params);

/// Adds a piece to the page in progress on `fd`. The pieces must add up to `dataLength`.
///
/// @return 0; 17 if the page is being read; 15 for a bad argument, a `dataLength` of 0 or below, or no page in progress
///         on `fd`; 4 without memory for the page
int16_t FaxFileWriteEncodedPage(int32_t fd, const uint8_t *buffer, int32_t length);

/// Ends the page in progress on `fd`: puts its record into the file, in one system call. A page without a write becomes
/// a record of length 0. Of several pages in progress on `fd`, the last one is ended and the others are given up.
///
/// @return 0, also without a page in progress. On any other code the page is given up and the file is as it was: 7 if
/// it
///         could not be written, or the page to insert it before is gone; 15 if the writes did not add up to
///         `dataLength`. 15 also if a page with data was given up
int16_t FaxFileEndPage(int32_t fd);

/// Adds a whole page at the end of the file, without a page in progress, in one system call.
///
/// @return 0; 15 for a bad argument; 7 if it could not be written, with the file as it was
int16_t FaxFileAppendEncodedPage(int32_t fd, const uint8_t *buffer, int32_t length);

/// Reads the page record at the file position, which FaxFileStartPage in read mode has set; another call reads the next
/// record.
///
/// @param size  of `buffer`; must not be below the page's length
/// @return 0; 15 for a bad argument, no page in progress on `fd` or a buffer too small; 6 if fewer bytes came
int16_t FaxFileReadEncodedPage(int32_t fd, uint8_t *buffer, int32_t size);

/// Reads bytes of the decoded stream of the page in progress on `fd`, then closes that stream.
///
/// @param length  bytes to read; 0 reads nothing and gives 0
/// @return 0; 15 for a bad argument; 10 without a stream; 6 if fewer bytes came
int16_t FaxFileReadDecodedPage(int32_t fd, uint8_t *buffer, int32_t length);

/// `take_to_change` (fax_lock.h) for a descriptor that may have pages in progress: those in write mode go with it to
/// another file, those in read mode are given up.
bool take_with_pages(FaxEditLock &lock, int32_t fd);

/// Copies everything from the file position to the end of the file into a spool file without a name (replace_file.h).
/// The file position stays.
///
/// @param spool  receives the descriptor of the spool file, which the caller closes
/// @return 1, or 0
int SaveFaxPages(int32_t fd, int32_t *spool);

/// Copies the whole of a spool file to the position of `target`.
///
/// @return 1 with the spool file closed; 0 with the spool file still open, so that its pages are not lost
int WriteSavedPages(int32_t spool, int32_t target);

/// Makes a zero-filled page in progress the current one, in the first free slot.
///
/// @return 1; 0 without a free slot or memory, with no current page
int AllocNextPageIO();

/// Makes a page in progress on `fd` the current one; of several, that in the highest slot.
///
/// @return 1; 0 if there is none, with the current page unchanged
int SetCurrentPageIO(int32_t fd);

/// Gives up every page in progress on `fd`; if there was one, there is no current page afterwards.
///
/// @return 0
int DeletePageIO(int32_t fd);

/// The same, for closing a file.
///
/// @return the number of pages that were begun in write mode and are lost
int give_up_pages(int32_t fd);

}  // namespace tolvane
