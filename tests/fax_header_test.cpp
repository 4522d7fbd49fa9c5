#include "faxfile/fax_header.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <functional>

#include "faxfile/pages.h"
#include "faxfile/session_params.h"
#include "faxfile/sorbfile.h"
#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"

using namespace tolvane;

namespace {
constexpr int16_t SUBJECT = 5;

// The result of a call, what it prints on standard output, and on standard error.
std::string told(const std::function<int32_t()> &call) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const std::string result = std::to_string(call());
  return result + "|" + testing::internal::GetCapturedStdout() + "|" + testing::internal::GetCapturedStderr();
}
const auto twice = [](const std::string &text) { return text + "|" + text; };
}  // namespace

TEST(FaxReaders, AcceptAndRefuseEachByItsOwnRules) {
  const std::string bad = "read_fax_header: Bad fax file: ", small = bad + "Too Small\n";
  const std::string failure = "read_fax_header: set_fax_header_string failure\n",
                    corrupted = bad + "Corrupted header\n";
  const std::string empty = "read_fax_header: Empty Header - probably corrupted\n";
  const std::string pair = "set_fax_header_var: Bad attr-value pair: [";
  const std::string no_name = "new_fax_header: Ignoring null attr\nset_fax_header_av: Out of memory\n" + failure;
  const auto fax = [](const std::string &lines) { return fax_bytes(lines, {"one"}); };
  const auto patched = [&](size_t at, const std::string &by) { return fax("SUBJECT:s\n").replace(at, by.size(), by); };
  const auto long_header = [](size_t length) { return "SUBJECT:s\nX:" + std::string(length - 14, 'x') + "\n"; };
  std::string many = "SUBJECT:s\n";
  for (int i = 0; i < 120; ++i) many += "X" + std::to_string(i) + ":x\n";
  const struct {
    const char *oddity;
    std::string bytes, list, messages, value;
    const char *codes;  // of getting the value, of reading page 1, of deleting the line, of adding one
  } rows[] = {
      {"none", fax("SUBJECT:s\n"), "SUBJECT:s\n", "", "s", "0 0 0 0"},
      {"empty file", "", "", small, "", "10 6 10 10"},
      {"wrong magic", patched(0, "BADB"), "", bad + "Bad Magic Number\n", "", "10 0 10 10"},
      {"L = 0", patched(4, big_endian(0)), "", bad + "Bad Header length\n", "", "10 6 10 10"},
      {"shorter than 8 + L", fax("SUBJECT:s\n").substr(0, 12), "", corrupted, "", "10 6 10 10"},
      {"L of 4 GB", patched(4, big_endian(0xFFFFFFFF)), "", corrupted, "", "4 6 10 10"},
      {"no terminator", patched(18, "x"), "", corrupted, "", "10 0 10 10"},
      {"no line", fax(""), "", empty, "", "0 0 0 0"},
      {"no colon", fax("SUBJECT:s\n50%s\n"), "", pair + "50%s]\n" + failure, "s", "0 0 0 0"},
      {"empty lines", fax("\n\nSUBJECT:s\n\nX:\n"), "SUBJECT:s\nX:\n", "", "s", "0 0 0 0"},
      {"no name", fax("SUBJECT:s\n:x\n"), "", no_name, "s", "0 0 0 0"},
      {"no last line feed", fax("DATE:d\nSUBJECT:s"), "DATE:d\nSUBJECT:s\n", "", "", "10 0 10 0"},
      {"29 in a value", fax("SUBJECT:\x1d/\n"), "SUBJECT:\x1d/\n", "", "\x1d/", "0 0 0 0"},
      {"name twice", fax("SUBJECT:a\nX:\nSUBJECT:b:\n"), "SUBJECT:b:\nX:\n", "", "a", "0 0 0 0"},
      {"zero byte", fax(std::string("DATE:d\n\0SUBJECT:s\n", 18)), "DATE:d\n", "", "", "0 0 0 0"},
      {"120 lines", fax(many), many, "", "s", "0 0 0 0"},
      {"L = 32768", fax(long_header(32768)), long_header(32768), "", "", "4 0 0 0"},
      {"L = 65535", fax(long_header(65535)), long_header(65535), "", "", "4 0 0 0"},
      {"L = 65536", fax(long_header(65536)), long_header(65536), "", "", "4 0 0 0"},
  };
  const TempDir dir;
  for (const auto &row : rows) {
    SCOPED_TRACE(row.oddity);
    const std::string path = dir.write("a.fax", row.bytes);
    const int fd = open(path.c_str(), O_RDWR);
    FaxHeader *list = nullptr;
    EXPECT_EQ(told([&] {
                list = read_fax_header(fd);
                return list ? 1 : 0;
              }).substr(1),
              "|" + twice(row.messages));
    EXPECT_TRUE(!list || lseek(fd, 0, SEEK_CUR) == static_cast<off_t>(row.bytes.size() - 7)) << "at the first record";
    std::string text, codes;
    for (const FaxHeader *at = list; at; at = at->next) text += std::string(at->attr) + ":" + at->value + "\n";
    free_fax_header(list);
    EXPECT_EQ(text, row.list);
    char value[32768] = "";
    uint8_t *data = nullptr;
    int32_t length = 0;
    for (const int16_t code :
         {FaxFileGetKeywordValue(fd, SUBJECT, value), FaxFileReadSpecificPage(fd, path.c_str(), 1, &data, &length),
          FaxFileDeleteKeyword(path.c_str(), SUBJECT), FaxFileAddKeyword(fd, SUBJECT, "new")})
      codes += (codes.empty() ? "" : " ") + std::to_string(code);
    EXPECT_EQ(codes, row.codes);
    EXPECT_EQ(value, row.value);
    free(data);
    close(fd);
  }
}

TEST(FaxReaders, TakeAHundredThousandLinesInTheOrderOfTheirFirstNames) {
  constexpr int LINES = 100000;
  std::string lines;
  for (int i = 0; i < LINES; ++i) lines += "N" + std::to_string(i / 2 * 7919 % LINES) + ":" + std::to_string(i) + "\n";
  const TempDir dir;
  const int fd = open(dir.write("a.fax", fax_bytes(lines)).c_str(), O_RDONLY);
  const OwnedFaxHeader list(read_fax_header(fd));
  close(fd);
  int count = 0;
  for (const FaxHeader *at = list.get(); at; at = at->next, ++count) {
    ASSERT_EQ(at->attr, "N" + std::to_string(count * 7919 % LINES));
    ASSERT_EQ(at->value, std::to_string(2 * count + 1));
  }
  EXPECT_EQ(count, LINES / 2);
}

TEST(FaxHeaderList, TypedAccessorsTellTheirFailures) {
  FaxHeader *list = new_fax_header("SUBJECT", nullptr);
  const std::string warning = "-1|WARNING: ";
  const std::tuple<const char *, std::string, const char *> rows[] = {
      {"", warning + "No RESOLUTION value in header\n|", "0||"},
      {" \t 1x", "1||", "1||"},
      {"5", "4||", "-1||"},
      {"2", warning + "Invalid RESOLUTION value in header: [2]\n|", "2||"}};
  for (const auto &[value, resolution, compression] : rows) {
    for (const char *attr : {"RESOLUTION", "COMPRESSION"}) set_fax_header_av(list, attr, value);
    EXPECT_EQ(told([&] { return get_vertical_resolution(list); }), resolution);
    EXPECT_EQ(told([&] { return get_compression_mode(list); }), compression);
  }
  free_fax_header(list);
}

TEST(FaxHeaderList, KeepsFirstPlacesAndWritesTheBytesOfTheFormat) {
  FaxHeader *list = new_fax_header("SUBJECT", nullptr);
  EXPECT_EQ(set_fax_header_string(list, "DATE:1:2") + set_fax_header_av(list, "SUBJECT", "a\nb"), 2);
  for (const char *attr : {"date", "", "DAT"}) EXPECT_EQ(get_fax_header_value(list, attr), nullptr);

  const TempDir dir;
  const std::string bytes = fax_bytes("SUBJECT:a\nb\nDATE:1:2\n"), path = dir.write("a.fax", bytes + "behind");
  const int fd = open(path.c_str(), O_RDWR);
  EXPECT_EQ(write_fax_header(fd, list), 1);
  EXPECT_EQ(lseek(fd, 0, SEEK_CUR), bytes.size());
  EXPECT_EQ(read_file(path), bytes + "behind");
  EXPECT_EQ(free_fax_header(list) + free_fax_header(nullptr), 2);
}

TEST(SessionParams, EachFamilyMapsItsRowOfCharactersBothWays) {
  const std::tuple<std::string, int32_t (*)(int32_t), int32_t (*)(int32_t)> families[] = {
      {"01345 ", VRtoascii, asciitoVR}, {"012345 ", BRtoascii, asciitoBR},  {"01234 ", WDtoascii, asciitoWD},
      {"012 ", LNtoascii, asciitoLN},   {"0123 ", DFtoascii, asciitoDF},    {"012 ", ECtoascii, asciitoEC},
      {"01 ", BFtoascii, asciitoBF},    {"01234567 ", STtoascii, asciitoST}};
  for (const auto &[characters, to, from] : families) {
    std::string given, back;
    for (int32_t code = -1; code < 12; ++code) given += to(code) ? static_cast<char>(to(code)) : '.';
    EXPECT_EQ(given.substr(0, given.find('.', 1)), "." + characters);
    for (const char character : characters) back += std::to_string(from(character));
    EXPECT_EQ(back, std::string("012345678").substr(0, characters.size()));
  }
}
