#include "t4/t4dec_convert.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "faxfile/sorbfile.h"
#include "faxfile/usorbport.h"
#include "helpers/encoded_page.h"
#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"
#include "support/handle.h"
#include "t4/line.h"
#include "t4/page_converter.h"

using namespace tolvane;
using std::string_literals::operator""s;

namespace {

int pages_begun;

std::string header(const std::string &pages, int32_t compression) {
  return "SUBJECT:a:b\n#PAGES:" + pages + "\nRESOLUTION:1\nCOMPRESSION:" + std::to_string(compression) + "\n";
}

// Converts; FILE in `message` is the path and TEMPORARY that of the new file.
void expect(int result, std::string message, const std::string &path, int32_t compression,
            void (*callback)() = nullptr) {
  for (const auto &[word, text] : {std::pair{"TEMPORARY"s, path + "." + std::to_string(getpid())}, {"FILE"s, path}})
    for (size_t at; (at = message.find(word)) != std::string::npos;) message.replace(at, word.size(), text);
  testing::internal::CaptureStderr();
  EXPECT_EQ(t4dec_change_format(path.c_str(), compression, 0, callback), result);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), message);
}

}  // namespace

TEST(ChangeFormat, KeepsEveryCodedLineInEveryOrder) {
  const Picture chart = rows_of(load_chart("itu5"), 300, 200);
  // Longer than the first block of lines; some lines start black under white, and the last one ends black.
  const Picture drawing = drawn(1728, 2500, [](uint32_t x, uint32_t y) { return (x + y * y) / (y % 70 + 1) % 2 == 0; });
  for (const int32_t from : {COMP_MH, COMP_MR, COMP_MMR})
    for (const int32_t to : {COMP_MH, COMP_MR, COMP_MMR}) {
      if (from == to) continue;
      SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
      std::vector<std::string> old_pages, new_pages;
      for (Picture picture : {chart, drawing, chart}) {
        old_pages.push_back(encoded_page(picture, from));
        picture.pixels.insert(from == COMP_MH ? picture.pixels.begin() : picture.pixels.end(), 216, 0);
        if (from != COMP_MR) picture.height++;
        new_pages.push_back(encoded_page(picture, to));
      }
      const TempDir dir;
      const std::string path = dir.write("a.fax", fax_bytes(header(" 3", from), old_pages));
      pages_begun = 0;
      t4dec_set_pixel_width(864);
      expect(1, "", path, to, [] { pages_begun++; });
      EXPECT_TRUE(read_file(path) == fax_bytes(header(" 3", to), new_pages));
      EXPECT_EQ(pages_begun, 3);
      EXPECT_EQ(dir.entries(), 1);
    }
}

TEST(ChangeFormat, LeavesTheSourceAloneUnlessItSucceeds) {
  const std::string page = encoded_page(rows_of(load_chart("itu4"), 300, 200), COMP_MH);
  const std::string good = fax_bytes(header("2", 0), {page, page}), eofb = "\x00\x08\x80\x00"s;
  const std::string said = "t4dec_change_format: ", unread = "\n" + said + "Failure reading data from FILE.\n";
  signal(SIGXFSZ, SIG_IGN);
  const struct {
    const char *what;
    std::string bytes;
    int32_t compression;
    std::string message, after = "";  // an empty `after` stands for a failure
    rlim_t disk = RLIM_INFINITY;
  } rows[] = {
      {"nothing to do", good, 0, "", good},
      {"no #PAGES, no page", fax_bytes("RESOLUTION:0\n", {eofb}), 3, "", fax_bytes("RESOLUTION:0\nCOMPRESSION:3\n")},
      {"no lines in MMR", fax_bytes(header("2", 0), {"", "\xff"}), 3, "", fax_bytes(header("2", 3), {eofb, eofb})},
      {"no coding to want", fax_bytes(header("1", 2), {page}), 2, said + "Unsupported compression: 2.\n"},
      {"no decoder", fax_bytes(header("1", 2), {page}), 3, ""},
      {"resolution", fax_bytes("RESOLUTION:3\n"), 3, said + "Can't handle type \"3\" resolution yet.\n"},
      {"no fax file", "BAD", 0, "read_fax_header: Bad fax file: Too Small\n" + said + "Bad fax file: FILE\n"},
      {"page missing", fax_bytes(header("3", 0), {page, page}), 3, said + "Short read on data length:  FILE\n"},
      {"page cut", good.substr(0, good.size() - page.size() + 5), 3,
       said + "data_len=" + std::to_string(page.size()) + ", read_len=5" + unread},
      {"absurd length", fax_bytes(header("1", 0)) + big_endian(0x7fffffff), 3,
       said + "data_len=2147483647, read_len=0" + unread},
      {"full disk", good, 3, said + "Failure writing TEMPORARY: File too large\n", "", 3000},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.what);
    const TempDir dir;
    const std::string path = dir.write("a.fax", row.bytes);
    const rlimit disk{row.disk, RLIM_INFINITY}, no_limit{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &disk);
    expect(!row.after.empty(), row.message, path, row.compression);
    setrlimit(RLIMIT_FSIZE, &no_limit);
    EXPECT_TRUE(read_file(path) == (row.after.empty() ? row.bytes : row.after));
    EXPECT_EQ(dir.entries(), 1);
  }

  const TempDir dir;
  const std::string path = dir.write("a.fax", good), precious = dir.write("precious", "kept");
  expect(0, said + "Failed to open FILE to determine compression\n", dir.path("none"), 3);
  expect(0, said + "Failure opening FILE.\n", dir.write(std::string(255, 'n'), good), 3);
  const std::string temporary = path + "." + std::to_string(getpid());
  std::filesystem::create_directory(temporary);
  expect(0, said + "Failure opening FILE.\n", path, 3);
  std::filesystem::remove(temporary);
  std::filesystem::create_symlink(precious, temporary);
  std::filesystem::permissions(path, std::filesystem::perms::owner_read);
  expect(1, "", path, 3);
  EXPECT_EQ(read_file(precious), "kept");
  EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms::owner_read);
  EXPECT_EQ(dir.entries(), 3);
}

TEST(ChangeFormat, TakesNoStandardStreamThatIsClosed) {
  const TempDir dir;
  const std::string page = encoded_page(rows_of(load_chart("itu4"), 300, 200), COMP_MH);
  const std::string path = dir.write("a.fax", fax_bytes(header("2", COMP_MH), {page, page}));
  const Descriptor input(dup(STDIN_FILENO));
  close(STDIN_FILENO);
  const auto read_input = [] {
    char wanted;
    static_cast<void>(read(STDIN_FILENO, &wanted, 1) == 1);
  };
  EXPECT_EQ(t4dec_change_format(path.c_str(), COMP_MR, 0, read_input), 1);
  dup2(input.get(), STDIN_FILENO);
  EXPECT_EQ(PageConverter().convert({}, COMP_MH, COMP_UMMR, 0), ConvertResult::not_encoded);
}

TEST(ChangeFormat, LosesNoEditOfAnotherProgram) {
  const TempDir dir;
  const std::string path = dir.write(
      "a.fax", fax_bytes(header("1", COMP_MH), {encoded_page(rows_of(load_chart("itu5"), 300, 50), COMP_MH)}));
  constexpr int16_t FIRST = FAXFILE_SENDER_NAME, COUNT = 15;
  for (const int32_t coding : {COMP_MR, COMP_MMR}) {
    if (fork() != 0) continue;
    int failures = 0;
    for (int i = 0; i < 20; ++i) failures += t4dec_change_format(path.c_str(), coding, 0, nullptr) != 1;
    _exit(failures);
  }
  for (int16_t keyword = FIRST; keyword < FIRST + COUNT; ++keyword)
    EXPECT_EQ(FaxFileModifyKeyword(path.c_str(), keyword, "kept"), FAXFILE_OK);
  for (int status; wait(&status) > 0;) EXPECT_EQ(status, 0);
  const std::string bytes = read_file(path);
  for (int16_t keyword = FIRST; keyword < FIRST + COUNT; ++keyword)
    EXPECT_NE(bytes.find(std::string(faxFileKeywordList[keyword]) + ":kept\n"), std::string::npos) << keyword;
  EXPECT_EQ(dir.entries(), 1);
}
