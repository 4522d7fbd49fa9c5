// Codes of a fax session as characters and back; a family is the row of its characters, by code. Only
// texts are made here. VR is the one family in which code and digit differ: it has no '2'.
#include "faxfile/session_params.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|session_params|9|01|2|0|0|11/23/26|06:28:53";

constexpr std::string_view VR = "01345 ";
constexpr std::string_view BR = "012345 ";
constexpr std::string_view WD = "01234 ";
constexpr std::string_view LN = "012 ";  // EC as well
constexpr std::string_view DF = "0123 ";
constexpr std::string_view BF = "01 ";
constexpr std::string_view ST = "01234567 ";

int32_t to_character(std::string_view family, int32_t code) {
  return code >= 0 && code < std::ssize(family) ? family[static_cast<size_t>(code)] : 0;
}

int32_t to_code(std::string_view family, int32_t character) {
  const auto found = std::find(family.begin(), family.end(), character);
  return found == family.end() ? -1 : static_cast<int32_t>(found - family.begin());
}
}  // namespace

int32_t VRtoascii(int32_t code) {
  return to_character(VR, code);
}
int32_t asciitoVR(int32_t character) {
  return to_code(VR, character);
}
int32_t BRtoascii(int32_t code) {
  return to_character(BR, code);
}
int32_t asciitoBR(int32_t character) {
  return to_code(BR, character);
}
int32_t WDtoascii(int32_t code) {
  return to_character(WD, code);
}
int32_t asciitoWD(int32_t character) {
  return to_code(WD, character);
}
int32_t LNtoascii(int32_t code) {
  return to_character(LN, code);
}
int32_t asciitoLN(int32_t character) {
  return to_code(LN, character);
}
int32_t DFtoascii(int32_t code) {
  return to_character(DF, code);
}
int32_t asciitoDF(int32_t character) {
  return to_code(DF, character);
}
int32_t ECtoascii(int32_t code) {
  return LNtoascii(code);
}
int32_t asciitoEC(int32_t character) {
  return asciitoLN(character);
}
int32_t BFtoascii(int32_t code) {
  return to_character(BF, code);
}
int32_t asciitoBF(int32_t character) {
  return to_code(BF, character);
}
int32_t STtoascii(int32_t code) {
  return to_character(ST, code);
}
int32_t asciitoST(int32_t character) {
  return to_code(ST, character);
}

const char *DFtostring(int32_t code) {
  constexpr const char *TEXTS[] = {"MH (1-D)", "MR (2-D)", "UMMR (Uncompressed MMR)", "MMR"};
  return code >= 0 && code < std::ssize(TEXTS) ? TEXTS[code] : "Unknown Compression Format";
}

const char *VRtostring(int32_t code) {
  constexpr const char *TEXTS[] = {"Normal (98 lpi)", "Fine (196 lpi)", "300 lpi", "400 lpi", "600 lpi"};
  return code >= 0 && code < std::ssize(TEXTS) ? TEXTS[code] : "Unknown Vertical Resolution";
}

}  // namespace tolvane
