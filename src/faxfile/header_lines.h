// The header of a fax file line by line, nothing joined or dropped, and names compared whole: for programs that list a
// header, or rewrite it and must not lose a line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tolvane {

/// The lines of a header in order, without their line feeds.
using HeaderLines = std::vector<std::string>;

/// A line of the form `name at count`, by which pages of another file come in.
struct Inclusion {
  size_t line;       ///< its index in the header
  std::string name;  ///< file that the pages are in, relative to the directory of this file
  int32_t at;        ///< page of this file that they come before, from 1
  int32_t count;     ///< how many: pages 1 to `count` of that file
};

/// Reads the lines of a header, whatever they contain. Text after the last line feed is a line too.
///
/// @return a FaxFile code: 0 with the file at its first page record; 10 if it is no fax file, or its header is cut
///         short or not closed; 6 if it can't be read
int16_t read_header_lines(int32_t fd, HeaderLines &lines);

/// Writes preamble and header text at the file position: that of a new file, whose pages follow.
///
/// @return 1, or 0 with errno set
int write_header_lines(int32_t fd, const HeaderLines &lines);

/// Bytes of the header text that these lines make, closing byte included.
size_t header_length(const HeaderLines &lines);

/// The value of a line if it is one of `name`, up to and with its first colon; else null.
const char *header_line_value(const std::string &line, const char *name);

/// The value of the first line of `name`; null if there is none.
const char *find_header_value(const HeaderLines &lines, const char *name);

/// Gives `name` the value in the first line that it has, or in a new last one. Line feeds become carriage returns.
void set_header_value(HeaderLines &lines, const char *name, const std::string &value);

/// Reads the inclusions, one for each line `INCLUDE:`.
///
/// @return 1; 0 if a line has fewer than three fields, an `at` that falls back or a count below 0. Inclusions before
///         that line are given
int read_inclusions(const HeaderLines &lines, std::vector<Inclusion> &inclusions);

/// The same as readers of pages find them: wherever "INCLUDE:" stands in the text, in a value of another line too.
int find_inclusions(const HeaderLines &lines, std::vector<Inclusion> &inclusions);

}  // namespace tolvane
