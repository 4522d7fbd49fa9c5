// The run-length and mode codes of ITU-T T.4 and T.6 as the encoder takes them: by index, ready to be ORed in.
#pragma once

#include <array>
#include <cstdint>

namespace tolvane {

/// One code.
struct EncCode {
  uint32_t code;    ///< the bits, the first one sent in bit 0: the code of the standard written backwards
  uint32_t length;  ///< number of bits
};

constexpr int EncTabSize = 105;  ///< entries of `encwhite` and of `encblack`
constexpr int Enc2DSize = 11;    ///< entries of `enc2D`

/// The run codes of one colour (T.4, tables 2, 3a and 3b). Index 0 to 63 is the terminating code of that run, 63 + n
/// the make-up code of 64 * n up to 2560, and 104 the EOL 000000000001.
extern const std::array<EncCode, EncTabSize> encwhite;
extern const std::array<EncCode, EncTabSize> encblack;

/// The mode codes (T.4, 4.2.1.3): 0 pass, 1 horizontal, 2 V(0), 3 to 5 VL(1) to VL(3), 6 to 8 VR(1) to VR(3), then an
/// EOL with its tag bit as one code of 13 bits: 9 with tag 1 (next line 1-D), 10 with tag 0 (next line 2-D).
extern const std::array<EncCode, Enc2DSize> enc2D;

}  // namespace tolvane
