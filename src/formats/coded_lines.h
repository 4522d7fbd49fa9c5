// Coded lines without a file format around them.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "formats/source_picture.h"
#include "io/report.h"

namespace tolvane {

struct TiffLog;

/// Codings of raw lines beside those of a fax file: MH without EOLs with each line from a new byte (TIFF compression
/// 2), the same with each line from where the last one ends, and whatever gives lines without damage at any bit order
/// and standard width.
constexpr int32_t RAW_RLE = 16, RAW_NO_EOL = 17, RAW_AUTO = 18;

/// Coded data without a file format around it.
struct RawFormat {
  int32_t coding = -1;          ///< 0 MH (G3), 1 MR (G3 two-dimensional), 3 MMR (G4), or one of the above; -1: not raw
  int32_t width = 1728;         ///< pixels of a line
  bool high_bit_first = false;  ///< the first code starts in the bit of value 0x80
};

/// Decodes lines up to the end of the data, or to an RTC or EOFB, which come as lines that are empty, and no damage.
///
/// @param format  any coding but RAW_AUTO
/// @param most    lines that are decoded at most
/// @param log     receives the damage
/// @param page    receives width, height and `bits`
/// @return false with the reason in `log.error` if nothing can be decoded
bool decode_coded_lines(std::span<const uint8_t> bytes, const RawFormat &format, int32_t most, TiffLog &log,
                        SourcePicture &page);

/// A picture of known size in coded lines.
struct CodedPicture {
  std::vector<uint8_t> code = {};
  RawFormat format = {};  ///< any coding but RAW_AUTO
  int32_t height = 0;
  bool inverted = false;  ///< black runs are white in the picture
};

/// Decodes a picture, and reports its damage. Lines that are missing at its end are white.
///
/// @param name, number  for messages: the file and the number of the page
/// @param page          receives width, height and `bits`
/// @return DONE; DAMAGED; FAILED after a message if nothing can be decoded
Status decode_coded_picture(const char *name, int32_t number, const CodedPicture &coded, SourcePicture &page);

}  // namespace tolvane
