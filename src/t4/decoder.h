// Decoding of pages in MH, MR and MMR (ITU-T T.4 and T.6).
//
// Coded data is a plain byte stream of any length. Bits are taken from bit 0 to bit 7 of each byte, bytes in ascending
// order; the first bit taken is the first bit of a code as T.4 transmits it.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "line.h"
#include "line_sink.h"

namespace tolvane {

enum class DecodeResult : int32_t {
  done,            ///< the page was decoded to its end, damaged lines included
  damaged,         ///< MMR: nothing after the damage can be decoded
  unknown_coding,  ///< no decoder for this coding; the sink was not called
  no_memory,
};

struct DecodeOptions {
  CodeForm form = CodeForm::stored;  ///< in which the page was coded
  /// MR: a byte of zeros is read after the data. Without it the runs are lost whose codes end in the last byte.
  bool mr_fill = true;
};

/// Decodes pages, one after another, and keeps the memory for two lines between them. Distinct objects may be used by
/// distinct threads at the same time.
class Decoder {
 public:
  Decoder();
  ~Decoder();
  Decoder(Decoder &&) noexcept;
  Decoder &operator=(Decoder &&) noexcept;

  /// Decodes one page. Nothing of an earlier page has any effect on it.
  ///
  /// MH: everything before the first EOL is skipped, and this EOL ends a blank line, so that the first coded line is
  /// line 1. The line after the last EOL is not ended: see `end_line`. A damaged line is replaced by the last good one.
  ///
  /// MR: decoding starts at the first EOL with tag 1 and ends with the data or at the sixth EOL in a row. A damaged
  /// line is replaced by the line before it; all lines up to the next one that is coded one-dimensionally are left out.
  /// Each EOL of an RTC from the second to the fifth gives one more `found_eol`.
  ///
  /// MMR: at EOFB or at the end of the data there is one more line: what there is of an unfinished line, or a white
  /// one. Damage ends the page, and the line in progress is not delivered.
  ///
  /// @param data    the coded page; stays the caller's
  /// @param coding  COMP_MH, COMP_MR or COMP_MMR
  /// @param width   pixels of a line, a multiple of 8, at most 32760
  /// @param sink    receives runs, lines and damage during the call; it must not use this object
  DecodeResult decode(std::span<const uint8_t> data, int32_t coding, int32_t width, const LineSink &sink,
                      const DecodeOptions &options = {});

  /// Ends the line after the last EOL of an MH page, which `decode` has left open, as one more EOL would. Does nothing
  /// after a page of another coding.
  ///
  /// @param sink  as for `decode`; it receives `found_line` only if `decode` had a sink with one
  void end_line(const LineSink &sink);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tolvane
