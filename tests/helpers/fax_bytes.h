// Fax files put together by hand, byte by byte, without the library, and pages to fill them with.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

std::string big_endian(uint32_t word);

/// A fax file: preamble, the keyword lines (each with its line feed), the terminator, a record for each page.
std::string fax_bytes(const std::string &lines, const std::vector<std::string> &pages = {});

/// The MMR page that libtiff makes of every `step`-th row of a chart ("itu1", "itu4", "itu5", "itu7").
std::string coded_chart(const std::string &chart, uint32_t step);

/// An MH page of that many blank lines, a multiple of 4.
std::string blank_page(int lines);

/// The bytes with `count` of them, from the middle on, inverted.
std::string spoilt(std::string bytes, size_t count);
