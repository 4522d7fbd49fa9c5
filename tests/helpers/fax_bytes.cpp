#include "helpers/fax_bytes.h"

std::string big_endian(uint32_t word) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(word >> shift & 0xff);
  return bytes;
}

std::string fax_bytes(const std::string &lines, const std::vector<std::string> &pages) {
  std::string bytes = big_endian(0xBADBAD16) + big_endian(static_cast<uint32_t>(lines.size() + 1)) + lines + '\x1d';
  for (const std::string &page : pages) bytes += big_endian(static_cast<uint32_t>(page.size())) + page;
  return bytes;
}
