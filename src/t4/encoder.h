// Encoding of pages in MH, MR and MMR (ITU-T T.4 and T.6).
#pragma once

#include <cstdint>
#include <memory>

#include "code_sink.h"
#include "line.h"
#include "line_sink.h"

namespace tolvane {

/// Source of lines, called until it returns a negative value.
struct LineSource {
  void *context = nullptr;
  /// @param lines  receives the address of the first line of a batch; the lines are adjacent (pixel 0 is bit 7 of byte
  ///               0, 1 is black) and stay the caller's, valid until the next call
  /// @param count  receives the number of lines in the batch, 0 or more
  /// @return bytes per line, the same for every batch of a page; any negative value when there are no more lines
  int32_t (*get_lines)(void *context, const uint8_t **lines, int32_t *count) = nullptr;
};

/// Encodes pages, one after another, and keeps the memory for two lines between them. Distinct objects may be used by
/// distinct threads at the same time.
class Encoder {
 public:
  Encoder();
  ~Encoder();
  Encoder(Encoder &&) noexcept;
  Encoder &operator=(Encoder &&) noexcept;

  /// Encodes one page: `begin`, `add` for each batch of the source, `end`. There is an EOL before every line of MH and
  /// MR, none after the last, and no RTC; MMR ends with EOFB.
  ///
  /// In the stored form the one-dimensional lines of MH and MR are 1728 pixels wide whatever the source says: shorter
  /// ones are filled up with white.
  ///
  /// @param coding      COMP_MH, COMP_MR or COMP_MMR
  /// @param resolution  vertical resolution code, for MR only: 1 (fine) puts one one-dimensional line before three
  ///                    two-dimensional ones, any other value before one (T.4, 4.2)
  EncodeResult encode(const LineSource &source, int32_t coding, int32_t resolution, const CodeSink &sink,
                      CodeForm form = CodeForm::stored);

  /// Starts a page, for a caller that has its lines one by one; parameters as for `encode`.
  EncodeResult begin(int32_t coding, int32_t resolution, const CodeSink &sink, CodeForm form = CodeForm::stored);

  /// Encodes `count` adjacent lines of `size` bytes. After a failure the page is lost.
  EncodeResult add(const uint8_t *lines, int32_t size, int32_t count);

  /// Ends the page and puts out what is left of it.
  EncodeResult end();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tolvane
