// The parameters of a fax session as ITU-T T.30 negotiates them: between the internal code, a small number from 0, and
// the one character that stands for it in a row of Class 2 modem parameters (EIA/TIA-592) and in a fax file's header.
#pragma once

#include <cstdint>

namespace tolvane {

// To the character: 0 for a code that the family does not have; code 0 itself is the character '0'.
// From the character: -1 for a character that the family does not have. The last code of each family is a blank.

int32_t VRtoascii(int32_t code);  ///< vertical resolution: 0 to 5; codes 2, 3, 4 are '3', '4', '5', and '2' is none
int32_t asciitoVR(int32_t character);
int32_t BRtoascii(int32_t code);  ///< bit rate: 0 to 6
int32_t asciitoBR(int32_t character);
int32_t WDtoascii(int32_t code);  ///< page width: 0 to 5
int32_t asciitoWD(int32_t character);
int32_t LNtoascii(int32_t code);  ///< page length: 0 to 3
int32_t asciitoLN(int32_t character);
int32_t DFtoascii(int32_t code);  ///< data format: 0 MH, 1 MR, 2 uncompressed MMR, 3 MMR, 4 unknown
int32_t asciitoDF(int32_t character);
int32_t ECtoascii(int32_t code);  ///< error correction: 0 to 3
int32_t asciitoEC(int32_t character);
int32_t BFtoascii(int32_t code);  ///< binary file transfer: 0 to 2
int32_t asciitoBF(int32_t character);
int32_t STtoascii(int32_t code);  ///< scan time: 0 to 8
int32_t asciitoST(int32_t character);

/// Display text of a data format or a vertical resolution; a constant, "Unknown ..." for any code without one.
const char *DFtostring(int32_t code);
const char *VRtostring(int32_t code);

}  // namespace tolvane
