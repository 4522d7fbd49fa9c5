// One page on its way from line bitmaps to code. Everything that encodes is over this: the codec core and the
// procedures of enct4.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "bit_writer.h"
#include "change_list.h"
#include "code_sink.h"
#include "line.h"

namespace tolvane {

/// How the lines of a page are coded.
struct PageScheme {
  int32_t k = 1;           ///< one line in `k` is coded one-dimensionally; 0 for none
  bool with_tags = false;  ///< an EOL has a tag bit (ITU-T T.4, 4.2.2)
  CodeForm form = CodeForm::stored;
  /// The lines may change their size, and what is white at the end of a line belongs to the run that fills it up.
  bool plain = false;
  size_t batch = size_t{1} << 14;  ///< bytes of code from which on the sink is called at the end of a line
};

/// The scheme of a coding: K is 4 at fine resolution (code 1) and 2 at any other.
PageScheme page_scheme(int32_t coding, int32_t resolution, CodeForm form);

/// Encodes one page after another, and keeps its memory between them.
class PageCoder {
 public:
  void start(const PageScheme &scheme, const CodeSink &sink);

  /// Sees to it that lines of `size` bytes can be coded. The first size holds for the page, unless it is plain.
  EncodeResult accept_size(int32_t size);

  /// Encodes a line of the size that was accepted.
  EncodeResult add(const uint8_t *pixels);

  EncodeResult end();

 private:
  bool reserve(int32_t size);
  void take(const uint8_t *pixels);
  void code_line(BitWriter &out) const;
  void code_1d_line(BitWriter &out) const;
  template <CodeForm form>
  void code_2d_line(BitWriter &out) const;
  void send();

  PageScheme scheme_;
  CodeSink sink_;
  bool refused_ = false;
  int32_t line_of_k_ = 0;
  int32_t size_ = -1;      // bytes of a line, -1 before the first batch
  int32_t capacity_ = -1;  // bytes of a line that there is memory for
  std::unique_ptr<int32_t[]> elements_;
  ChangeList line_, reference_;  // of the line in hand and of the one above
  std::unique_ptr<uint8_t[]> code_;
  size_t code_size_ = 0;
  size_t used_ = 0;      // bytes of code
  uint64_t bits_ = 0;    // that are no whole byte yet, the first one in bit 0
  uint32_t length_ = 0;  // how many of them, at most 7
};

}  // namespace tolvane
