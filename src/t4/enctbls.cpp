// The encoder's tables, made from the code lists at compile time; the trees of the decoder are in dectbls.
//
// The codes are stored backwards, first bit in bit 0: that is the order in which the coded data is packed.

#include "t4/enctbls.h"

#include <stddef.h>

#include "t4/codes.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|enctbls|9|01|2|0|0|11/23/26|05:15:39";

constexpr EncCode packed(const char *code) {
  EncCode result = {0, 0};
  for (; code[result.length] != '\0'; result.length++)
    result.code |= static_cast<uint32_t>(code[result.length] == '1') << result.length;
  return result;
}

constexpr std::array<EncCode, EncTabSize> run_table(const RunCodes &codes) {
  std::array<EncCode, EncTabSize> table = {};
  size_t n = 0;
  for (const char *code : codes.terminating) table[n++] = packed(code);
  for (const char *code : codes.make_up) table[n++] = packed(code);
  for (const char *code : EXTENDED_CODES) table[n++] = packed(code);
  table[n] = packed(EOL_CODE);
  return table;
}

constexpr std::array<EncCode, Enc2DSize> mode_table() {
  std::array<EncCode, Enc2DSize> table = {};
  size_t n = 0;
  for (const char *code : MODE_CODES) table[n++] = packed(code);
  const EncCode eol = packed(EOL_CODE);
  table[n++] = {eol.code | 1U << eol.length, eol.length + 1};
  table[n] = {eol.code, eol.length + 1};
  return table;
}

constexpr bool is(const EncCode &entry, uint32_t code, uint32_t length) {
  return entry.code == code && entry.length == length;
}

}  // namespace

constexpr std::array<EncCode, EncTabSize> encwhite = run_table(WHITE_CODES);
constexpr std::array<EncCode, EncTabSize> encblack = run_table(BLACK_CODES);
constexpr std::array<EncCode, Enc2DSize> enc2D = mode_table();

static_assert(is(encwhite[0], 0xAC, 8) && is(encwhite[64], 0x1B, 5) && is(encwhite[103], 0xF80, 12));
static_assert(is(encblack[0], 0x3B0, 10) && is(encblack[2], 0x3, 2) && is(encblack[103], 0xF80, 12));
static_assert(is(encwhite[104], 0x800, 12) && is(encblack[104], 0x800, 12));
static_assert(is(enc2D[0], 0x8, 4) && is(enc2D[8], 0x60, 7) && is(enc2D[9], 0x1800, 13) && is(enc2D[10], 0x800, 13));

}  // namespace tolvane
