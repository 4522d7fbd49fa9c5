// Coded pages written down as text, and what a decoder makes of a page, as text again: one row of a table is one
// stream.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// The bytes of a stream, first bit in bit 0, filled up with zeros. The words are codes: "w64" and "b64" a run code of
/// that colour, "EOL", "E1" and "E0" an EOL with its tag, "P" "H" "V0" "VL1" to "VR3" modes, and anything made of 0 and
/// 1 as it is.
std::vector<uint8_t> coded(const std::string &words);

/// Decodes lines of `width` pixels with `t4dec` and tells what came, in words: "+5" a white run, "-5" a black one, "0"
/// one of no pixels, "[2-4 7-7]" a line with these pixels black, "/" the end of a line, "!0" a kind of damage by its
/// number, and in the end "=1", the result.
std::string decoded(const std::vector<uint8_t> &data, int32_t comp_type, int32_t width = 1728);

/// The lines that a decode gives, one after the other.
std::vector<uint8_t> decoded_lines(const std::vector<uint8_t> &data, int32_t comp_type, int32_t width = 1728);
