// The one reader and the one writer of what a fax file begins with: a preamble of 8 bytes, the magic word and the
// length of the header text, and the header text, lines `name:value` and a closing byte. Words are big-endian.
//
// Readers of the header accept different faults on purpose; HeaderRules names the differences.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace tolvane {

/// What a reader requires of a header. A text that may be cut short ends where the file does.
struct HeaderRules {
  bool checked_preamble;  ///< the magic word, and a length above 0
  bool whole_text;        ///< as many bytes as the length says
  bool terminated_text;   ///< the terminator as the last of them
  uint32_t longest_text;  ///< bytes
};

/// For whoever edits a header or shows all of it.
constexpr HeaderRules WHOLE_HEADER{true, true, true, UINT32_MAX};
/// For the search for INCLUDE lines.
constexpr HeaderRules INCLUSION_HEADER{false, true, false, 10000};
/// For the labels of a viewer, from a file that has not been checked.
constexpr HeaderRules QUICK_HEADER{true, false, false, UINT32_MAX};

enum class HeaderFault {
  none,
  not_seekable,
  unreadable,
  too_small,
  bad_magic,
  no_length,
  cut_short,
  too_long,
  no_memory
};

struct FreeHeaderText {
  void operator()(char *bytes) const;
};

struct HeaderText {
  std::unique_ptr<char, FreeHeaderText> bytes{};  ///< the text, with a zero after it
  size_t size = 0;                                ///< bytes of the text, its terminator included
  uint32_t length = 0;                            ///< what the preamble says; 0 without a whole one
};

/// Reads a header from the beginning of a file.
///
/// @return the first fault that the rules don't accept: `cut_short` also stands for a text without its terminator.
///         With `none` the file is at its first page record; with `not_seekable` and `unreadable` errno is set
HeaderFault read_header_text(int32_t fd, const HeaderRules &rules, HeaderText &text);

/// The FaxFile code for a fault.
int16_t header_fault_code(HeaderFault fault);

/// Finds the first page record by the preamble alone.
///
/// @param offset  receives its place in the file
/// @return 0; 10 if the file ends before the length; 6 if it can't be read
int16_t find_first_record(int32_t fd, int64_t *offset);

/// Takes the next line, without its line feed, off a text without terminator. Text after the last line feed is a line
/// too.
///
/// @return false if `rest` is empty
bool take_header_line(std::string_view &rest, std::string_view &line);

/// What becomes of the line feeds of a value: `kept`, they break the line, and `replaced` by carriage returns, they
/// don't.
enum class LineFeeds { kept, replaced };

/// Bytes of the line `name:value`, its line feed included.
size_t header_line_size(const char *name, const char *value);

/// Puts such a line at `out`, without a closing zero.
///
/// @return the place after it
char *put_header_line(char *out, const char *name, const char *value, LineFeeds line_feeds);

/// Writes preamble, lines and terminator in one write, at the file position.
///
/// @param lines  each with its line feed
/// @return 1; 0 with errno set
int write_header_text(int32_t fd, std::string_view lines);

}  // namespace tolvane
