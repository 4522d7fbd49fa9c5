// One pass over the bytes; a character is looked at when it is whole. UTF-8 is that of RFC 3629: no overlong form, no
// surrogate, nothing above U+10FFFF.
#include "support/printable.h"

#include <cstdint>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|printable|9|01|2|0|0|11/23/26|11:54:04";

// Decodes the character at the start of a text that is not empty. Returns its bytes; 0 if they are not UTF-8.
size_t decode(std::string_view text, uint32_t &character) {
  const auto lead = static_cast<uint8_t>(text[0]);
  const size_t size = lead < 0x80 ? 1 : lead >> 5 == 6 ? 2 : lead >> 4 == 14 ? 3 : lead >> 3 == 30 ? 4 : 0;
  if (size == 0 || size > text.size()) return 0;
  character = size == 1 ? lead : lead & 0x7FU >> size;
  for (size_t i = 1; i < size; ++i) {
    const auto byte = static_cast<uint8_t>(text[i]);
    if (byte >> 6 != 2) return 0;
    character = character << 6 | (byte & 0x3FU);
  }
  constexpr uint32_t LEAST[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool is_surrogate = character >= 0xD800 && character <= 0xDFFF;
  return character < LEAST[size] || character > 0x10FFFF || is_surrogate ? 0 : size;
}

bool is_control(uint32_t character) {
  return character < 0x20 || (character >= 0x7F && character <= 0x9F) || (character >= 0x202A && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

}  // namespace

std::string printable(std::string_view text, std::string_view kept) {
  constexpr char DIGITS[] = "0123456789abcdef";
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    uint32_t character = 0;
    const size_t size = decode(text, character);
    const std::string_view bytes = text.substr(0, size == 0 ? 1 : size);
    if (size > 0 && (!is_control(character) || kept.find(text[0]) != kept.npos)) {
      shown += bytes;
    } else {
      for (const char byte : bytes) {
        const auto value = static_cast<uint8_t>(byte);
        shown += {'\\', 'x', DIGITS[value >> 4], DIGITS[value & 15]};
      }
    }
    text.remove_prefix(bytes.size());
  }
  return shown;
}

bool is_utf8(std::string_view text) {
  uint32_t character = 0;
  for (size_t size = 0; !text.empty(); text.remove_prefix(size)) {
    size = decode(text, character);
    if (size == 0) return false;
  }
  return true;
}

}  // namespace tolvane
