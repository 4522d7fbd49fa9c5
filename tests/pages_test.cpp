#include "faxfile/pages.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "faxfile/sorbfile.h"
#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"

using namespace tolvane;

namespace {
// A page by its bytes, or "!" and the code.
std::string page_of(const std::string &path, int32_t page) {
  const int fd = open(path.c_str(), O_RDONLY);
  uint8_t *data = nullptr;
  int32_t length = -1;
  const int16_t code = FaxFileReadSpecificPage(fd, path.c_str(), page, &data, &length);
  close(fd);
  if (code != 0) return data ? "data left behind" : "!" + std::to_string(code);
  const std::string bytes(data, data + length);
  free(data);
  return bytes;
}

// Holds the pages from 1 on against a list apart by blanks.
void expect_pages(const std::string &path, const std::string &expected) {
  std::string text = page_of(path, 1);
  const auto count = 1 + static_cast<int>(std::count(expected.begin(), expected.end(), ' '));
  for (int page = 2; page <= count; ++page) text += " " + page_of(path, page);
  EXPECT_EQ(text, expected);
}

class Document : public testing::Test {
 protected:
  Document() {
    std::filesystem::current_path(dir.string());
    std::filesystem::create_directory("sub");
    mkfifo("fifo", 0600);
    dir.write("cover.fax", fax_bytes("", {"c1", "c2"}));
    dir.write("secret.txt", "text" + fax_bytes("", {"t1"}).substr(4));
    dir.write("annex.fax", fax_bytes("SUBJECT:x\n", {"a1", "a2", "a3"}));
    dir.write("sub/cover.fax", fax_bytes("", {"s1"}));
    dir.write("sub/nested.fax", fax_bytes(cover, {"n1"}));
    dir.write("ping.fax", fax_bytes("INCLUDE:pong.fax 1 9\n", {"p1"}));
    dir.write("pong.fax", fax_bytes("INCLUDE:ping.fax 1 9\n", {"q1"}));
  }
  std::string write_main(const std::string &lines, const std::string &name = "main.fax") const {
    return dir.write(name, fax_bytes(lines, {"m1", "m2", "m3"}));
  }
  const std::string cover = "INCLUDE:cover.fax 1 1\n";
  const TempDir dir;
};
}  // namespace

TEST_F(Document, InclusionMapsEveryPage) {
  const auto padded = [&](size_t length) { return "X:" + std::string(length - cover.size() - 4, 'p') + "\n" + cover; };
  const std::pair<std::string, const char *> rows[] = {
      {"", "m1 m2 m3 !6 !6"},
      {cover + "INCLUDE:annex.fax 3 2\n#PAGES:3\n", "c1 m1 m2 a1 a2 m3 !6"},
      {"INCLUDE:annex.fax 2 1\n" + cover, "m1 a1 m3 !6"},  // `at` falls: given up, and 3 is the real page 3
      {"INCLUDE:cover.fax 2 1\nINCLUDE:x\n", "m1 c1 m3 !6"},
      {"SUBJECT:see INCLUDE:  cover.fax\t1 +1x\nINCLUDE_PAGES:1\n", "c1 m1 m2 m3 !6"},
      {std::string("DATE:\0", 6) + cover, "m1 m2"},
      {"INCLUDE:cover.fax 1 3\n", "c1 c2 !15 m1"},
      {"INCLUDE:fifo 1 1\n", "!15 m1"},
      {"INCLUDE:secret.txt 1 1\n", "!15 m1"},        // no fax file
      {"INCLUDE:sub/nested.fax 1 2\n", "c1 n1 m1"},  // names are resolved beside the first file
      {"INCLUDE:main.fax 1 1\n", "!15 m1"},
      {"INCLUDE:main.fax 2 1\n", "m1 m1 m2 m3 !6"},  // a file may take other pages of its own
      {"INCLUDE:ping.fax 1 1\n", "!15 m1"},
      {"INCLUDE:cover.fax 1 2147483647\nINCLUDE:annex.fax 1 2147483647\n", "c1 c2 !15"},
      {padded(10000), "c1 m1"},
      {padded(10001), "m1 m2"},
  };
  for (const auto &[lines, pages] : rows) {
    SCOPED_TRACE(lines.substr(0, 60));
    expect_pages(write_main(lines), pages);
  }
  for (int i = 0; i < 33; ++i)
    dir.write("d" + std::to_string(i), fax_bytes("INCLUDE:d" + std::to_string(i + 1) + " 1 1\n"));
  dir.write("d33", fax_bytes("", {"deep"}));
  EXPECT_EQ(page_of("d1", 1), "deep") << "through 32 files";
  EXPECT_EQ(page_of("d0", 1), "!15");

  EXPECT_EQ(page_of(write_main(cover, "sub/main"), 1), "s1") << "files are found beside the one that includes them";
}

TEST_F(Document, RecordsAreBelievedAsFarAsTheFileGoes) {
  expect_pages(dir.write("a", fax_bytes("", {"a", "", "c"})), "a  c !6");
  expect_pages(dir.write("cut", fax_bytes("", {"a"}) + big_endian(9) + "short"), "a !6 !6");
  expect_pages(dir.write("a", fax_bytes("", {"a"}) + big_endian(0xFFFFFFFF)), "a !6 !6");
  expect_pages(dir.write("a", fax_bytes("", {"a", ""}) + "\x01"), "a  !6");

  const std::string path = write_main("");
  EXPECT_EQ(page_of(path, 0), "!15");
}

TEST_F(Document, FaultsAndTheEndAreToldApartAndPagesAreCounted) {
  const std::string cut = fax_bytes("", {"m1", "m2"}) + big_endian(9) + "short";
  dir.write("broken.fax", fax_bytes("", {"b1"}) + big_endian(9));
  // The file, the codes of reading its pages from 1 on, of counting its records and pages, and these numbers.
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {fax_bytes(cover, {"m1", "m2"}), "0 0 0 18 18", "0:2 0:3"},
      {cut, "0 0 10 10", "10:2 10:2"},
      {fax_bytes("", {"m1"}) + "ab", "0 10", "10:1 10:1"},
      {fax_bytes("INCLUDE:none.fax 1 1\n", {"m1"}), "19 0 18", "0:1 0:2"},
      {fax_bytes("INCLUDE:cover.fax 1 3\n", {"m1"}), "0 0 19 0 18", "0:1 0:4"},
      {fax_bytes("INCLUDE:broken.fax 1 2\n", {"m1"}), "0 10 0 18", "0:1 0:3"},
      {fax_bytes("INCLUDE:main.fax 1 1\n", {"m1"}), "19 0 18", "0:1 0:2"},
      {fax_bytes("INCLUDE:cover.fax 2 1\nINCLUDE:x\n", {"m1"}), "0 0 18", "0:1 10:1"},
      {fax_bytes("INCLUDE:cover.fax 3 1\n", {"m1"}), "0 18 0", "0:1 10:1"},
      {fax_bytes("X:" + std::string(10000, 'p') + '\n' + cover, {"m1"}), "0 18", "0:1 0:1"},
      {fax_bytes(""), "18", "0:0 0:0"},
      {fax_bytes("DATE:d\n").substr(0, 14), "10", "10:0 10:0"},
  };
  for (const auto &[bytes, codes, counts] : rows) {
    SCOPED_TRACE(codes);
    int32_t fd, length, pages;
    ASSERT_EQ(FaxFileOpenReadOnly(dir.write("main.fax", bytes).c_str(), &fd), 0);
    std::string read;
    for (int32_t page = 1; read.size() < codes.size(); ++page) {
      uint8_t *data = nullptr;
      read += (page > 1 ? " " : "") + std::to_string(FaxFileReadDocumentPage(fd, "main.fax", page, &data, &length));
      free(data);
    }
    EXPECT_EQ(read, codes);
    std::string counted;
    for (const auto count : {FaxFileCountPages, FaxFileCountDocumentPages}) {
      counted += (counted.empty() ? "" : " ") + std::to_string(count(fd, &pages));
      counted += ":" + std::to_string(pages);
    }
    EXPECT_EQ(counted, counts);
    close(fd);
  }
}

TEST_F(Document, RecordsAreFoundAnewInAChangedFileAndOnceInOneThatRests) {
  constexpr int PAGES = 70000, NUMBERED = 65536;
  expect_pages(dir.write("a", fax_bytes("", {"one", "two"})), "one two");
  expect_pages(dir.write("a", fax_bytes("", {"o", "netwo"})), "o netwo");  // same size, perhaps the same times

  std::vector<std::string> pages(PAGES);
  for (int i = 0; i < PAGES; ++i) pages[static_cast<size_t>(i)] = std::to_string(i);
  const std::string path = dir.write("long", fax_bytes("", pages));
  const timespec rested[2] = {{1, 0}, {1, 0}};
  utimensat(AT_FDCWD, path.c_str(), rested, 0);
  const int fd = open(path.c_str(), O_RDONLY);
  int32_t counted = 0;
  EXPECT_EQ(FaxFileCountPages(fd, &counted), 0);
  EXPECT_EQ(counted, PAGES);
  for (int32_t page = 1; page <= NUMBERED; ++page) {
    uint8_t *data = nullptr;
    int32_t length = 0;
    ASSERT_EQ(FaxFileReadSpecificPage(fd, path.c_str(), page, &data, &length), 0);
    ASSERT_EQ(std::string(data, data + length), pages[static_cast<size_t>(page - 1)]);
    free(data);
  }
  close(fd);
}
