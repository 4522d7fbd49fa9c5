// Making fax files, and reading, adding, changing and deleting header lines straight on the file, by keyword number
// (faxFileKeywordList). The file position of a descriptor is anywhere after each operation.
//
// Names are searched as plain text anywhere in the header: a value, or a longer name, that holds the name and stands
// further up answers for it. Nothing here prints a message or locks a file.
#pragma once

#include <cstdint>

namespace tolvane {

/// Makes or empties a file and writes a header without lines: 9 bytes, behind which the file stands.
///
/// @param fd  receives a descriptor for reading and writing, or -1
/// @return 0; 15 for a null argument; 5 if the file can't be made
int16_t FaxFileCreate(const char *path, int32_t *fd);

/// Opens a fax file for reading and writing.
///
/// @param fd  receives the descriptor, or -1
/// @return 0; 15 for a null argument; 8 if it can't be opened so; 10 if it is no fax file
int16_t FaxFileOpen(const char *path, int32_t *fd);

/// @return 0; 15 for descriptor 0; 2 if closing failed
int16_t FaxFileClose(int32_t fd);

/// Appends a line to the header, in place, and moves the pages behind it. A name may stand several times. Line feeds in
/// the value become carriage returns. A file without pages is best given its keywords first.
///
/// @param value  must not be null; may be empty
/// @return 0; 15 for a bad argument; 10 if the file is no whole fax file; 6 if it can't be read; 4 without memory, and
///         5 if the pages can't be spooled, with the file untouched; 7 if a write failed, with the file put back as it
///         was as far as it can be
int16_t FaxFileAddKeyword(int32_t fd, int16_t keyword, const char *value);

/// Deletes the first line of a keyword, if there is one, and appends the new line behind the last. At every moment
/// `path` names the whole old or the whole new file; descriptors opened before go on showing the old one.
///
/// @return as FaxFileDeleteKeyword
int16_t FaxFileModifyKeyword(const char *path, int16_t keyword, const char *value);

/// Deletes the first match of a keyword up to the end of its line; without a match the file stays as it is. The file is
/// written anew beside the old one, and on disk before it takes its place, with the mode and the owner of the old one.
/// If `path` is a symbolic link, its target is replaced; hard links of the file keep the old content. At every moment
/// `path` names the whole old or the whole new file; descriptors opened before go on showing the old one.
///
/// @return 0; 15 for a bad argument; 8, 10, 6 if the file can't be opened, is no whole fax file, or
///         can't be read; 4 without memory; 5 if the pages can't be spooled or the new file not be
///         made; 12 without a name for it; 7 if a write failed or it could not take its place. On failure the old file
///         stands untouched and no new one stays
int16_t FaxFileDeleteKeyword(const char *path, int16_t keyword);

/// Copies the value of the first match of a keyword, from the next colon to the end of that line. A missing keyword
/// gives the empty text, as an empty value does. A carriage return stays where a line feed was.
///
/// @param buffer  must hold the longest value and a closing zero: 32767 bytes hold any
/// @return 0; 15 for a bad argument; 10 if the file is no whole fax file or the line has no end; 6 if it can't be read;
///         4 for a header above 32767 bytes or without memory
int16_t FaxFileGetKeywordValue(int32_t fd, int16_t keyword, char *buffer);

}  // namespace tolvane
