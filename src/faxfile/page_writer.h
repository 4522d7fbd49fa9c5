// Adding pages to a fax file, at its end or in front of a page, and reading pages one after another.
//
// A page goes through FaxFileStartPage, FaxFileWriteEncodedPage as often as needed, and FaxFileEndPage, with nothing in
// between that moves the file position. Up to ten pages may be in progress. No operation here touches `#PAGES`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace tolvane {

constexpr uint8_t FAX_PAGE_WRITE = 0;             ///< `mode`: a new page
constexpr uint8_t FAX_PAGE_READ = 1;              ///< `mode`: a page that is there
constexpr uint16_t FAX_PAGE_AT_END = 0xFFFF;      ///< `pageNumber`: at the end of the file
constexpr size_t FAX_PAGES_IN_PROGRESS_MAX = 10;  ///< slots of gPageIOArray

/// What a caller says of a page.
struct FaxPageParams {
  uint16_t size;        ///< sizeof(FaxPageParams); any other is refused
  uint8_t mode;         ///< FAX_PAGE_WRITE or FAX_PAGE_READ
  uint32_t reserved1;   ///< not looked at
  uint32_t reserved2;   ///< not looked at
  uint16_t pageNumber;  ///< page record of the file from 1, or FAX_PAGE_AT_END; a new page goes in front of it
  int32_t dataLength;   ///< coded bytes of the page: in write mode what all writes come to, in read mode an output
  int32_t lengthMark;   ///< output in read mode: -1
};
static_assert(sizeof(FaxPageParams) == 24, "callers store the record's size in it");

/// A page in progress.
struct PageIO {
  int32_t fd;            ///< the fax file
  FaxPageParams params;  ///< copy of the caller's record
  int32_t pageLength;    ///< what the length word becomes; 0 until the first write
  FILE *decodedStream;   ///< for FaxFileReadDecodedPage; null unless a host program sets it
  int32_t savedPages;    ///< spool file with the pages behind an insertion; 0 for none
  int64_t recordStart;   ///< offset of the page's length word
  int64_t sizeBefore;    ///< size of the file before this page
  int32_t writeFailed;   ///< non-zero: a write fell short, and FaxFileEndPage takes the page back
};

extern PageIO *gPageIOArray[FAX_PAGES_IN_PROGRESS_MAX];  ///< each slot null or a page in progress
extern PageIO *gCurrentPageIO;                           ///< the page last started or selected, or null

/// Begins a page. In write mode makes room: the pages behind an insertion go to a spool file. In read mode finds the
/// page, leaves the file at its length word, and fills `dataLength` and `lengthMark`.
///
/// @return 0; 15 for a bad argument or a page that is not there; 4 with ten pages in progress or no memory; 5 if the
///         spool file can't be made, with the file untouched; 7 if the length word can't be written
int16_t FaxFileStartPage(int32_t fd, FaxPageParams *params);

/// Writes a piece of the page last selected, at the file position. The length recorded is `dataLength`, whatever the
/// pieces come to: they must add up to it.
///
/// @return 0; 17 if the page is being read; 15 for a bad argument, a `dataLength` of 0 or below, or no page in progress
///         on `fd`; 7 if the write fell short
int16_t FaxFileWriteEncodedPage(int32_t fd, const uint8_t *buffer, int32_t length);

/// Ends the page last selected, which is the caller's to have selected: writes its length word and puts back the pages
/// behind it, then frees every page in progress on `fd`. A page without a write stays as a record of length 0. A page
/// of which a write failed, now or before, is taken back, and the file is as it was.
///
/// @return 0, also with no page in progress; 7 if the page was taken back
int16_t FaxFileEndPage(int32_t fd);

/// Adds a whole page at the end of the file, without a page in progress. A write that fails is taken back.
///
/// @return 0; 15 for a bad argument; 7 if a write failed
int16_t FaxFileAppendEncodedPage(int32_t fd, const uint8_t *buffer, int32_t length);

/// Reads the page record at the file position, which FaxFileStartPage in read mode has set; read again, it gives the
/// next record.
///
/// @param size  of `buffer`; must not be below the page's length
/// @return 0; 15 for a bad argument, no page in progress on `fd` or a buffer too small; 6 if fewer bytes came
int16_t FaxFileReadEncodedPage(int32_t fd, uint8_t *buffer, int32_t size);

/// Reads bytes of the decoded stream of the page last selected, then closes that stream.
///
/// @param length  bytes to read; 0 reads nothing and gives 0
/// @return 0; 15 for a bad argument; 10 without a stream; 6 if fewer bytes came
int16_t FaxFileReadDecodedPage(int32_t fd, uint8_t *buffer, int32_t length);

/// Copies everything from the file position to the end of the file into a spool file without a name. The file position
/// stays.
///
/// @param spool  receives the descriptor of the spool file, which the caller closes
/// @return 1, or 0
int SaveFaxPages(int32_t fd, int32_t *spool);

/// Copies the whole of a spool file to the position of `target`.
///
/// @return 1 with the spool file closed; 0 with the spool file still open, so that its pages are not lost
int WriteSavedPages(int32_t spool, int32_t target);

/// Undoes writes to a file whose pages are in a spool file, or that only grew: puts the spooled bytes back at `offset`
/// and cuts the file to the size it had.
///
/// @param spool  spool file that holds the bytes from `offset` to `size`, left open; 0 or below for none
/// @return 1, or 0
int restore_tail(int32_t fd, int64_t offset, int32_t spool, int64_t size);

/// Makes a zero-filled page in progress the current one, in the first free slot.
///
/// @return 1; 0 without a free slot or memory, with no current page
int AllocNextPageIO();

/// Makes a page in progress on `fd` the current one; of several, that in the highest slot.
///
/// @return 1; 0 if there is none, with the current page unchanged
int SetCurrentPageIO(int32_t fd);

/// Frees every page in progress on `fd`; if there was one, there is no current page afterwards.
///
/// @return 0
int DeletePageIO(int32_t fd);

}  // namespace tolvane
