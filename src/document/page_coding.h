// Converts a page between lines and its coded record. The lines are those of the picture: lines that the decoders add
// by design are removed, and lines that their rules about the end of the data would drop are kept.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "io/report.h"
#include "t4/line_sink.h"

namespace tolvane {

/// A place where a page is damaged.
struct LineDamage {
  int32_t line;  ///< coded line, from 1
  Damage kind;
};

/// A decoded page.
struct DecodedPage {
  std::vector<uint8_t> lines;      ///< line bitmaps of 216 bytes, one after another, if they were wanted
  int32_t count = 0;               ///< how many lines the page has
  std::vector<LineDamage> damage;  ///< in the order of the lines; several may be at one line
  bool out_of_memory = false;      ///< the page could not be decoded: nothing above counts

  /// Lines of the record: those that were decoded, and those that are lost through damage before them.
  int32_t coded_lines() const;
  /// Number of lines with any damage.
  int32_t damaged_lines() const;
};

/// Lines of the longest page whose lines are kept: at one bit a line, a small record has millions.
constexpr int32_t LONGEST_DECODED = 65535;

/// Codes lines as a page record.
///
/// @param what        the page, for messages: "letter.tif: page 2"
/// @param lines       line bitmaps of 216 bytes, one after another
/// @param coding      0 MH, 1 MR, 3 MMR
/// @param resolution  vertical resolution code, which sets how often MR codes a line on its own
/// @param record      receives the record. One in MR ends in a word of zeros: a last code that took the very last bit
///                    would not be read
/// @return DONE, or FAILED after a message
Status encode_page(const std::string &what, std::span<const uint8_t> lines, int32_t coding, int32_t resolution,
                   std::vector<uint8_t> &record);

/// Decodes a page record as far as possible and reports its damage, line by line: "name: page 2: line 17: an invalid
/// code".
///
/// @param name, number  for messages: the document and the number of the page in it
/// @return DONE; DAMAGED; FAILED after a message if there is no decoder for the coding, no memory, or more than
///         LONGEST_DECODED lines
Status decode_page(const char *name, int32_t number, std::span<const uint8_t> record, int32_t coding,
                   DecodedPage &page);

/// The same without the lines, of a page of any length.
Status count_lines(const char *name, int32_t number, std::span<const uint8_t> record, int32_t coding,
                   DecodedPage &page);

/// The SHA-256 of a decoded page as a packed PBM file, in hexadecimal: the same for every coding, and that of
/// `extract -f pbm`.
std::string page_checksum(const DecodedPage &page);

/// Describes a kind of damage, for messages.
const char *damage_text(Damage kind);

/// The short name of a coding, "MH", "MR", "UMMR" or "MMR"; "unknown" for any other code.
const char *coding_name(int32_t coding);

}  // namespace tolvane
