#include "helpers/fax_tool.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

#include "helpers/child_process.h"
#include "helpers/encoded_page.h"
#include "helpers/places.h"

namespace {

uint32_t word_at(const std::string &bytes, size_t at) {
  uint32_t word = 0;
  for (size_t i = at; i < at + 4; ++i) word = word << 8 | static_cast<uint8_t>(bytes[i]);
  return word;
}

}  // namespace

ToolRun ToolTest::shell(const std::string &command, const std::string &input) const {
  ChildProcess child({"sh", "-c", command},
                     {"tool=" + in_build("tolvane-fax"), "charts=" + in_checkout("bench/charts")}, dir.string());
  child.write(input);
  child.close_input();
  const int status = child.wait(Milliseconds(60000));
  return {status, child.output(), child.errors()};
}

void ToolTest::complains(const std::string &line, int status, const std::string &complaint) const {
  const ToolRun done = run(line);
  EXPECT_EQ(done.status, status) << line << "\n" << done.err;
  EXPECT_NE(done.err.find(complaint), std::string::npos) << line << "\n" << done.err;
  EXPECT_EQ(done.out, "") << line;
}

FaxParts fax_parts(const std::string &bytes) {
  FaxParts parts;
  const size_t header = bytes.size() < 9 ? 0 : word_at(bytes, 4);
  if (header == 0 || !bytes.starts_with("\xBA\xDB\xAD\x16") || bytes.size() < 8 + header || bytes[7 + header] != 29) {
    ADD_FAILURE() << "not a fax file, " << bytes.size() << " bytes";
    return parts;
  }
  parts.header = bytes.substr(8, header - 1);
  size_t at = 8 + header;
  while (at + 4 <= bytes.size()) {
    parts.records.push_back(bytes.substr(at + 4, word_at(bytes, at)));
    at += 4 + word_at(bytes, at);
  }
  EXPECT_EQ(at, bytes.size()) << "records do not fill the file";
  return parts;
}

Picture seen_by_libtiff(const std::string &record, const std::string &coding, uint32_t height) {
  const TiffCoding as = coding == "mh" ? TiffCoding::g3_1d : coding == "mr" ? TiffCoding::g3_2d : TiffCoding::g4;
  return libtiff_decode({record.begin(), record.end()}, as, 1728, height);
}

uint32_t mh_lines(const std::string &record) {
  uint32_t lines = 0;
  int zeros = 0;
  for (size_t i = 0; i < record.size() * 8; ++i) {
    const bool one = record[i / 8] >> i % 8 & 1;
    lines += one && zeros >= 11;
    zeros = one ? 0 : zeros + 1;
  }
  return lines;
}

Picture random_page(uint32_t seed, uint32_t height) {
  std::minstd_rand random(seed + 1);
  const auto below = [&](uint32_t limit) { return static_cast<uint32_t>(random() % limit); };
  uint32_t black_from = 0, black_to = 0;
  return drawn(1728, height, [&](uint32_t x, uint32_t y) {
    if (x == 0 || x > black_to) {
      black_from = x + (x == 0 && y % 2 ? 0 : below(200));
      black_to = black_from + below(60);
    }
    return (x >= black_from && x <= black_to) || (y + 1 == height && x > 1720);
  });
}

std::string pbm(const Picture &picture) {
  return "P4\n" + std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n" +
         std::string(picture.pixels.begin(), picture.pixels.end());
}

Picture from_pbm(const std::string &bytes) {
  Picture picture;
  int head = 0;
  if (sscanf(bytes.c_str(), "P4 %u %u%n", &picture.width, &picture.height, &head) == 2)
    picture.pixels.assign(bytes.begin() + head + 1, bytes.end());
  return picture;
}
