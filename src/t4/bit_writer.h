// Codes on their way into bytes.
#pragma once

#include <string.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "enctbls.h"

namespace tolvane {

/// Bits that are no whole byte yet, and where the bytes go. Where a code ends in a byte is hard to foresee, so the way
/// out has no branch: eight bytes are stored and those count that are whole.
class BitWriter {
 public:
  /// @param to  room for what is written, and 8 bytes more
  BitWriter(uint8_t *to, uint64_t bits, uint32_t length) : next_(to), bits_(bits), length_(length) {}

  /// Adds a code. `settle` must come before 64 bits are together.
  void put(EncCode code) {
    bits_ |= uint64_t{code.code} << length_;
    length_ += code.length;
  }

  /// Moves the whole bytes out; fewer than 8 bits stay.
  void put_whole_bytes() {
    uint64_t bytes = bits_;
    if constexpr (std::endian::native == std::endian::big) bytes = __builtin_bswap64(bytes);
    memcpy(next_, &bytes, sizeof bytes);
    next_ += length_ / 8;
    bits_ >>= length_ & ~7U;
    length_ %= 8;
  }

  /// Adds `count` zeros, at most 32.
  void put_zeros(uint32_t count) {
    length_ += count;
    put_whole_bytes();
  }

  /// Adds a run of `run` pixels by the codes of its colour: make-up codes above 63, then a terminating code. At most 26
  /// bits of it are not settled.
  void put_run(const std::array<EncCode, EncTabSize> &codes, int32_t run) {
    if (run > 63) {
      for (; run > LONGEST_RUN; run -= LONGEST_MAKE_UP) {
        put(codes[LONGEST_MAKE_UP_ENTRY]);
        put_whole_bytes();
      }
      put(codes[static_cast<uint32_t>(63 + run / 64)]);
    }
    put(codes[static_cast<uint32_t>(run % 64)]);
  }

  uint8_t *next() const { return next_; }
  uint64_t bits() const { return bits_; }
  uint32_t length() const { return length_; }

 private:
  static constexpr int32_t LONGEST_MAKE_UP = 2560, LONGEST_RUN = LONGEST_MAKE_UP + 63;
  static constexpr size_t LONGEST_MAKE_UP_ENTRY = 103;

  uint8_t *next_;
  uint64_t bits_;
  uint32_t length_;
};

}  // namespace tolvane
