// The header of a fax file in memory: a list of attributes and values, read from an open file and written to a new one.
//
// read_fax_header, write_fax_header, new_fax_header and the two set_fax_header_ operations report a failure on standard
// error and again on standard output; the typed accessors on standard output alone.
#pragma once

#include <cstdint>
#include <memory>

namespace tolvane {

/// One attribute of a header. A list is the pointer to its first record and null is no list. An attribute occurs in a
/// list once, at the place where it was first set; upper and lower case differ.
struct FaxHeader {
  char *attr;       ///< name, never empty; owned by the record
  char *value;      ///< value, may be empty; owned by the record
  FaxHeader *next;  ///< null at the end
};

/// Makes a record, the first of a new list, with copies of both texts.
///
/// @param value  null for the empty value
/// @return the record, which the caller frees with `free_fax_header`; null for an empty name or without memory
FaxHeader *new_fax_header(const char *attr, const char *value);

/// Frees all records of a list; null is allowed.
///
/// @return 1
int free_fax_header(FaxHeader *list);

struct FreeFaxHeader {
  void operator()(FaxHeader *list) const { free_fax_header(list); }
};

/// A list that is freed with the handle.
using OwnedFaxHeader = std::unique_ptr<FaxHeader, FreeFaxHeader>;

/// Reads the header of a fax file, from offset 0. Empty lines are skipped; a name on several lines takes the value of
/// the last and the place of the first. A line without a colon or without a name fails the whole header.
///
/// @return a list that the caller frees with `free_fax_header`, with the file at its first page record; or null, also
///         for a header without any line, with the file anywhere
FaxHeader *read_fax_header(int32_t fd);

/// Writes preamble and header text over the head of a file, in one write. Pages that it may have are not moved: this is
/// for new files, whose pages follow. Values are written as they are, so a line feed in one breaks the line.
///
/// @param list  null writes the header without lines
/// @return 1, with the file where its first page record goes, or -1
int write_fax_header(int32_t fd, const FaxHeader *list);

/// The value of an attribute, valid until it is set anew or freed; null if the list has no such attribute.
const char *get_fax_header_value(const FaxHeader *list, const char *attr);

/// Sets an attribute from a text `attribute:value`, cut at its first colon.
///
/// @return 1, or -1 with the list as it was
int set_fax_header_string(FaxHeader *list, const char *text);

/// Sets an attribute of an existing list, after its last record if it is new.
///
/// @return 1, or -1 with the list as it was: null list, null or empty name, no memory
int set_fax_header_av(FaxHeader *list, const char *attr, const char *value);

/// The VR code of `RESOLUTION`, 0 to 4, or -1 with a warning when it is missing or invalid. White space before
/// the character, and anything after it, is ignored.
int32_t get_vertical_resolution(const FaxHeader *list);

/// Sets `RESOLUTION` to the character of a VR code, 0 to 5.
///
/// @return 1, or -1 with a message
int set_vertical_resolution(FaxHeader *list, int32_t code);

/// The DF code of `COMPRESSION`, 0 to 3; 0 (MH) when it is missing or empty, -1 when it is invalid, without a message.
int32_t get_compression_mode(const FaxHeader *list);

/// Sets `COMPRESSION` to the character of a DF code, 0 to 4.
///
/// @return 1, or -1 with a message
int set_compression_mode(FaxHeader *list, int32_t code);

}  // namespace tolvane
