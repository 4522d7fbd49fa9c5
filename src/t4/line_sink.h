// Where the lines of a decoded page go, and in which form a page is coded: what decoder and encoder share.
#pragma once

#include <cstdint>

namespace tolvane {

/// Which changing element a search from pixel 0 finds, and how the codes of a page are packed.
enum class CodeForm : int32_t {
  /// The form of fax files: a search from position 0 examines pixel 0 itself (see `bit_next_trans`), every line of MR
  /// begins on a 16-bit word, and a page is a whole number of words.
  stored,
  /// ITU-T T.4 and T.6 by the letter, as TIFF and PDF store it: a page is a whole number of bytes. It differs from
  /// the stored form only where a line that starts black follows a line that starts white, and in the packing.
  standard,
};

/// What is wrong with a line.
enum class Damage : int32_t {
  overflow,      ///< its runs or changing elements leave the line: it was given up
  short_line,    ///< it ends, at an EOL, before it is full
  invalid_code,  ///< bits that are no code were skipped
  skipped_line,  ///< MR: a line coded two-dimensionally after a damaged one, which cannot be decoded
  stopped,       ///< MMR: the decode ends here, since nothing after the damage can be decoded
  data_ends,     ///< the data end in the middle of it
  lost_start,    ///< MH and MR: the first line has no EOL before it: everything up to the next EOL is skipped
};

/// Receives the page as it is decoded. Every procedure may be null; each gets `context`, which is the caller's.
///
/// At the end of a line the order is: the white run that pads it, if any; `found_line`; `found_eol`. Damage is reported
/// before the `found_line` and `found_eol` of the damaged line, if it has any.
struct LineSink {
  void *context = nullptr;
  /// A run of pixels: above 0 white, below 0 black, 0 a run of no pixels and no colour. The runs of one line sum to at
  /// most the line width; two runs of one colour may follow each other.
  void (*found_run)(void *context, int32_t run) = nullptr;
  /// A finished line bitmap of `size` bytes: pixel 0 is bit 7 of byte 0, 1 is black. Valid only during the call.
  void (*found_line)(void *context, const uint8_t *line, uint32_t size) = nullptr;
  /// The line is over, whether or not it was good. The number of calls is the number of lines of the page.
  void (*found_eol)(void *context) = nullptr;
  /// The blank first line of an MH page and the EOLs of an RTC are no damage.
  void (*found_damage)(void *context, Damage kind) = nullptr;
};

}  // namespace tolvane
