// Creating fax files, and reading, adding, changing and deleting header lines directly in the file, by keyword number
// (faxFileKeywordList). The file position of a descriptor is undefined after each operation.
//
// Names are searched as plain text anywhere in the header: a value, or a longer name, that contains the name and comes
// first is found instead. Nothing here prints a message. Operations that write lock the file against other editors
// (fax_lock.h). A descriptor whose file an editor has replaced meanwhile reads the old file; the first operation that
// writes moves it to the new one. Descriptors 0 to 2 are never given out.
#pragma once

#include <cstdint>

namespace tolvane {

/// Creates or empties a file and writes a header without lines: 9 bytes, after which the file position is.
///
/// @param fd  receives a descriptor for reading and writing, or -1
/// @return 0; 15 for a null argument; 5 if the file can't be created
int16_t FaxFileCreate(const char *path, int32_t *fd);

/// Opens a fax file for reading and writing.
///
/// @param fd  receives the descriptor, or -1
/// @return 0; 15 for a null argument; 8 if it can't be opened so; 10 if it is no fax file
int16_t FaxFileOpen(const char *path, int32_t *fd);

/// Opens a fax file for reading.
///
/// @return as FaxFileOpen
int16_t FaxFileOpenReadOnly(const char *path, int32_t *fd);

/// Closes a file. A page that was started and not ended (page_writer.h) is given up: the file is as it was before.
///
/// @return 0; 15 for descriptor 0, or if a page was given up; 2 if closing failed
int16_t FaxFileClose(int32_t fd);

/// Appends a line to the header, in place, and moves the pages. A name may occur several times. Line feeds in the value
/// become carriage returns. Give a new file its keywords before its pages: then none have to be moved.
///
/// @param value  must not be null; may be empty
/// @return 0; 15 for a bad argument; 10 if the file is no whole fax file; 6 if it can't be read; 4 without memory; 5 if
///         the pages can't be spooled; 7 if a write failed, or others keep the file locked for reading. On failure the
///         file is as it was (see in_place.h)
int16_t FaxFileAddKeyword(int32_t fd, int16_t keyword, const char *value);

/// Deletes the first line of a keyword and appends the new line after the last, as FaxFileDeleteKeyword does: the file
/// is replaced. A keyword that is missing is added in place, as FaxFileAddKeyword does.
///
/// @param value  must not be null; may be empty
/// @return as FaxFileDeleteKeyword; 15 also for a null value
int16_t FaxFileModifyKeyword(const char *path, int16_t keyword, const char *value);

/// Changes the first line of a keyword in an open file, in place, or adds it: the new line is the last one. Killed
/// between the two system calls that make a file shorter, it leaves bytes after the last page.
///
/// @param value  must not be null; may be empty
/// @return as FaxFileAddKeyword; 10 also if the line has no end
int16_t FaxFileChangeKeyword(int32_t fd, int16_t keyword, const char *value);

/// Deletes the first match of a keyword up to the end of its line; without a match the file stays as it is. A new file
/// is written beside the old one, put on disk, and takes its name: at every moment `path` names the whole old or the
/// whole new file. The new file has the mode and the owner of the old one where it may (replace_file.h). If `path` is a
/// symbolic link, its target is replaced. Hard links and open descriptors of the old file keep the old content.
///
/// @return 0; 15 for a bad argument; 8, 10, 6 if the file can't be opened, is no whole fax file, or can't be read; 4
///         without memory; 5 if the new file can't be created; 12 without a name for it; 7 if a write failed, it could
///         not take the name, or others keep the file locked for reading. On failure the old file is unchanged and
///         nothing is left over
int16_t FaxFileDeleteKeyword(const char *path, int16_t keyword);

/// Copies the value of the first match of a keyword, from the next colon to the end of that line. A missing keyword
/// gives the empty text, as an empty value does. A carriage return stays where a line feed was.
///
/// @param buffer  must hold the longest value and a closing zero: 32767 bytes hold any
/// @return 0; 15 for a bad argument; 10 if the file is no whole fax file or the line has no end; 6 if it can't be read;
///         4 without memory, and for a header above 32767 bytes, whose values may not fit
int16_t FaxFileGetKeywordValue(int32_t fd, int16_t keyword, char *buffer);

/// The same for headers of any length, into a buffer whose size is given.
///
/// @param size    of `buffer`, which receives the value and a closing zero
/// @param length  receives the length of the value; -1 for a missing keyword
/// @return 0; 4 without memory, and, with `length` set, if the value does not fit; other codes as above
int16_t FaxFileGetKeywordText(int32_t fd, int16_t keyword, char *buffer, int32_t size, int32_t *length);

}  // namespace tolvane
