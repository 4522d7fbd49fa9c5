// Reading pages by their place in the document, with the pages that INCLUDE lines bring in from other files.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tolvane {

constexpr size_t INCLUDE_NAME_SIZE = 208;  ///< bytes of an include name, the closing zero included

/// Non-zero: page reading reports its steps on standard output. A host program sets it; nothing here does.
extern int32_t fl_trace_on;

/// Reads one page of a document. A line `INCLUDE:name at count` puts the pages 1 to `count` of the file `name` before
/// this file's own page `at`; names, also those in included files, are relative to the directory of `path`. Without
/// usable INCLUDE lines the number is a page of this file.
///
/// @param fd      fax file, open for reading; left at any position
/// @param path    the path under which `fd` was opened
/// @param page    page of the document from 1, included pages counted in; a file's own pages are found by
///                the low 16 bits
/// @param data    address of a null pointer; receives the coded bytes, a block from `malloc` that the caller frees
/// @param length  receives the number of coded bytes, 0 for an empty page
/// @return 0; 15 for a bad argument, an included file that can't be opened or read, is no regular file, or includes
///         itself without end (more than 32 files deep, or back to the same page); 6 for a page past the last record or
///         cut short, and without memory. `*data` is null on failure
int16_t FaxFileReadSpecificPage(int32_t fd, const char *path, int32_t page, uint8_t **data, int32_t *length);

/// The same, with the reason for a failure.
///
/// @return 0; 18 if the document ends before the page; 19 if an included file is missing, is no regular file, has no
/// such
///         page or includes itself without end; 10 if the page is cut short, here or in an included file; 6 if a read
///         failed; 4 without memory; 15 for a bad argument
int16_t FaxFileReadDocumentPage(int32_t fd, const char *path, int32_t page, uint8_t **data, int32_t *length);

/// Counts the page records of a file, whatever `#PAGES` says.
///
/// @param pages  receives the number of whole records
/// @return 0; 10 if the file is no whole fax file, or bytes follow the records that are no whole record; 6 if it can't
///         be read; 4 without memory; 15 for a bad argument
int16_t FaxFileCountPages(int32_t fd, int32_t *pages);

/// Counts the pages of a document: the page records, and the counts of its INCLUDE lines. Included files are not
/// opened. In a header above 10000 bytes no INCLUDE lines are looked for, as in reading pages.
///
/// @return as FaxFileCountPages; 10 also if the INCLUDE lines are not usable, or one is for a place past the end, with
///         the number of records in `pages`
int16_t FaxFileCountDocumentPages(int32_t fd, int32_t *pages);

/// Finds out where a page of a document lies, by the INCLUDE lines of one file.
///
/// @param page  in: page of the document from 1; out: page of this file if `name` is empty, else page of that file
/// @param name  out: buffer of INCLUDE_NAME_SIZE bytes
/// @return 0; 1 if the lines are not usable (header above 10000 bytes or cut short, a line of fewer than three fields,
/// an
///         `at` that falls), with both arguments unchanged
int build_inclusion_list(int32_t fd, int32_t *page, char *name);

/// Moves to the first byte of a page record, its length word. The place after the last record is one, too.
///
/// @param page  page of this file from 1
/// @return 1; 0 if there is no such place, for page 0 and 0xFFFF with the file position unchanged
int SeekToPage(int32_t fd, uint16_t page);

}  // namespace tolvane
