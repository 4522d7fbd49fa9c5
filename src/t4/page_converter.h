// One page record from one coding to another, line by line: what the conversion of a whole file does with each page.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "line.h"
#include "line_sink.h"

namespace tolvane {

enum class ConvertResult : int32_t {
  done,
  not_decoded,  ///< MMR: damaged; MR: without data; a coding without a decoder
  not_encoded,  ///< the wanted coding has no encoder
  no_memory,    ///< or more than INT32_MAX bytes of code, which no reader of pages takes
};

/// Receives what is wrong with the lines of a page; the procedure may be null.
struct DamageSink {
  void *context = nullptr;
  void (*found_damage)(void *context, Damage kind) = nullptr;
};

/// Converts pages of 1728 pixels across, one after another, and keeps its memory between them. Distinct objects may be
/// used by distinct threads at the same time.
class PageConverter {
 public:
  PageConverter();
  ~PageConverter();
  PageConverter(PageConverter &&) noexcept;
  PageConverter &operator=(PageConverter &&) noexcept;

  /// Codes the lines of a page anew. They are the lines that the decoder delivers: bad lines repeated or left out as it
  /// does for the coding, a white line more at the head of a page from MH and at the end of a page from MMR.
  ///
  /// @param page        the coded data of a record; stays the caller's
  /// @param from        the coding of the page
  /// @param to          the wanted coding: COMP_MH, COMP_MR or COMP_MMR
  /// @param resolution  vertical resolution code, for MR only: see `Encoder`
  ConvertResult convert(std::span<const uint8_t> page, int32_t from, int32_t to, int32_t resolution,
                        const DamageSink &damage = {});

  /// The new record of the page converted last, its length word included; valid until the next `convert`.
  std::span<const uint8_t> record() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tolvane
