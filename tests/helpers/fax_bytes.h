// Fax files put together by hand, byte by byte, without the library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

std::string big_endian(uint32_t word);

/// A fax file: preamble, the keyword lines (each with its line feed), the terminator, a record for each page.
std::string fax_bytes(const std::string &lines, const std::vector<std::string> &pages = {});
