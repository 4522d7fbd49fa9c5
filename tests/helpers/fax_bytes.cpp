#include "helpers/fax_bytes.h"

#include "helpers/tiff_pages.h"

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

std::string coded_chart(const std::string &chart, uint32_t step) {
  const auto coded = libtiff_encode(every_row(load_chart(chart), step), TiffCoding::g4);
  return {coded.begin(), coded.end()};
}

std::string blank_page(int lines) {
  std::string page;
  for (; lines > 0; lines -= 4) page += std::string("\x00\x08\x80\x00\x08\x80", 6);  // 000000000001 four times
  return page;
}

std::string spoilt(std::string bytes, size_t count) {
  for (size_t i = bytes.size() / 2; count > 0; ++i, --count) bytes[i] = static_cast<char>(~bytes[i]);
  return bytes;
}
