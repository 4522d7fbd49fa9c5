// Pages and keywords written to a fax file, against bytes worked out by hand, a model, crashes and full disks.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <csignal>
#include <functional>
#include <random>

#include "faxfile/page_writer.h"
#include "faxfile/pages.h"
#include "faxfile/sorbfile.h"
#include "faxfile/usorbport.h"
#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"

using namespace tolvane;

namespace {
constexpr int16_t DATE = 1, SUBJECT = 5;
const std::vector<std::string> PAGES = {"one", "", std::string(12000, 'p')};

enum class Fault { none, kill, fail } fault = Fault::none;
int countdown = 0;
std::string calls;  // the first letters of the calls made under a fault

// Every call that changes the disk comes by here; at the end of the countdown it kills the process, or fails.
int trip(const char *call) {
  if (fault == Fault::none) return 0;
  calls += *call;
  if (--countdown != 0) return 0;
  if (fault == Fault::kill) raise(SIGKILL);
  errno = ENOSPC;
  return -1;
}
}  // namespace

// These stand in front of the C library's.
extern "C" {
ssize_t write(int fd, const void *bytes, size_t count) {
  return trip("write") ? -1 : syscall(SYS_write, fd, bytes, count);
}
int rename(const char *from, const char *to) noexcept {
  return trip("rename") ? -1 : static_cast<int>(syscall(SYS_rename, from, to));
}
int fsync(int fd) {
  return trip("fsync") ? -1 : static_cast<int>(syscall(SYS_fsync, fd));
}
}

namespace {
using Codes = std::vector<int>;

class FaxWriting : public testing::Test {
 protected:
  FaxWriting() { std::filesystem::current_path(dir.string()); }
  int32_t make(const std::string &name, const std::string &lines, const std::vector<std::string> &pages) {
    return fd = open(dir.write(name, fax_bytes(lines, pages)).c_str(), O_RDWR);
  }
  int16_t start(int number, size_t length, uint8_t mode = FAX_PAGE_WRITE) {
    params = {24, mode, 1, 2, static_cast<uint16_t>(number), static_cast<int32_t>(length), 0};
    return FaxFileStartPage(fd, &params);
  }
  template <auto call = FaxFileWriteEncodedPage>
  int16_t write(const std::string &text) const {
    return call(fd, reinterpret_cast<const uint8_t *>(text.data()), static_cast<int32_t>(text.size()));
  }
  // Starts a page, writes it in two pieces and ends it. Ending gives the code of a failed write once more.
  int16_t insert(int number, const std::string &page) {
    if (const int16_t code = start(number, page.size()); code != 0) return code;
    for (const std::string &piece : {page.substr(0, page.size() / 2), page.substr(page.size() / 2)})
      if (!page.empty()) write(piece);
    return FaxFileEndPage(fd);
  }
  static auto in_progress() { return 10 - std::count(gPageIOArray, gPageIOArray + 10, nullptr); }
  static int16_t cut(const char *path, int16_t keyword, const char *) { return FaxFileDeleteKeyword(path, keyword); }
  static int16_t add(const char *path, int16_t keyword, const char *value) {
    const int32_t file = open(path, O_RDWR);
    const int16_t code = FaxFileAddKeyword(file, keyword, value);
    close(file);
    return code;
  }
  std::string get(int16_t keyword) const {
    char value[40000] = "untouched";
    EXPECT_EQ(FaxFileGetKeywordValue(fd, keyword, value), 0);
    return value;
  }

  const TempDir dir;
  int32_t fd = -1;
  FaxPageParams params = {};
  decltype(&FaxFileModifyKeyword) modify = FaxFileModifyKeyword;
};
}  // namespace

TEST_F(FaxWriting, TenPagesInProgressAndNoEleventh) {
  int32_t files[10];
  for (int i = 0; i < 10; ++i) {
    files[i] = make(std::to_string(i), "", {"old"});
    EXPECT_EQ(start(i % 2 ? 1 : FAX_PAGE_AT_END, 2), 0);
  }
  EXPECT_EQ(start(1, 1), 4);
  for (int i = 9; i >= 0; --i) {
    fd = files[i];
    EXPECT_EQ(SetCurrentPageIO(fd), 1);
    EXPECT_EQ((Codes{write("n"), write("n"), FaxFileEndPage(fd)}), (Codes{0, 0, 0}));
    EXPECT_EQ(read_file(std::to_string(i)), fax_bytes("", {i % 2 ? "nn" : "old", i % 2 ? "old" : "nn"}));
  }
  EXPECT_EQ(write("x"), 15) << "ending a page leaves none selected";
  EXPECT_EQ(in_progress(), 0);
}

TEST_F(FaxWriting, ReadingInSequence) {
  make("a", "", {"one", "second", ""});
  uint8_t buffer[16] = "";
  for (const int number : {0, 4, 0xFFFF}) EXPECT_EQ(start(number, 0, FAX_PAGE_READ), 15) << number;
  ASSERT_EQ(start(2, 0, FAX_PAGE_READ), 0);
  EXPECT_EQ(std::pair(params.dataLength, params.lengthMark), std::pair(6, -1));
  EXPECT_EQ((Codes{write("x"), FaxFileReadEncodedPage(fd, buffer, 6)}), (Codes{17, 0}));
  EXPECT_STREQ(reinterpret_cast<char *>(buffer), "second");
  EXPECT_EQ(FaxFileReadEncodedPage(fd, buffer, 1), 0) << "the next record, an empty one";
  EXPECT_EQ(FaxFileReadEncodedPage(fd, buffer, 16), 6) << "the end of the file";
  EXPECT_EQ((Codes{SeekToPage(fd, 2), FaxFileReadEncodedPage(fd, buffer, 5)}), (Codes{1, 15})) << "one byte too small";
}

TEST_F(FaxWriting, BadFilesAreRefused) {
  EXPECT_EQ(FaxFileCreate(dir.write("a", "to be emptied").c_str(), &fd), 0);
  EXPECT_EQ(read_file("a"), fax_bytes(""));
  mkfifo("fifo", 0600);
  dir.write("short", "abc");
  for (const auto &[name, code] : {std::pair("missing", 8), {"fifo", 10}, {"short", 10}})
    EXPECT_EQ((Codes{FaxFileOpen(name, &fd), fd, modify(name, SUBJECT, "")}), (Codes{code, -1, code})) << name;
  make("b", "", {"one"});
  EXPECT_EQ((Codes{start(0, 1), start(3, 1), insert(2, "new")}), (Codes{15, 15, 0}));
  EXPECT_EQ(read_file("b"), fax_bytes("", {"one", "new"})) << "in front of the page behind the last";
  EXPECT_EQ(in_progress(), 0) << "a failed start gives its slot back";
}

TEST_F(FaxWriting, ThousandsOfRandomOperationsEqualAModel) {
  std::mt19937 random(20261122);
  const auto below = [&](size_t n) { return static_cast<size_t>(random() % n); };
  std::string lines;
  std::vector<std::string> pages;
  for (int step = 0; step < 4000; ++step) {
    if (step % 250 == 0) make("a", lines = "", pages = {});
    const auto keyword = static_cast<int16_t>(below(FAXFILE_KEYWORD_COUNT));
    const std::string name = faxFileKeywordList[keyword];
    const std::string plain(below(30), 'v'), value = below(4) ? plain + "\n" : faxFileKeywordList[keyword / 2];
    const std::string stored = value == plain + "\n" ? plain + "\r" : value;
    const std::string page(below(9) ? below(200) : below(20000), static_cast<char>(step));
    const size_t match = lines.find(name), at = below(pages.size() + 1), operation = below(7);
    close(fd);
    fd = open("a", O_RDWR);
    if (operation < 2) {
      ASSERT_EQ(operation ? write<FaxFileAppendEncodedPage>(page) : insert(static_cast<int>(at + 1), page), 0);
      pages.insert(operation ? pages.end() : pages.begin() + static_cast<ptrdiff_t>(at), page);
    } else if (operation == 2) {
      const size_t colon = lines.find(':', match), length = lines.find('\n', colon) - colon - 1;
      if (match != std::string::npos && colon == std::string::npos) continue;
      ASSERT_EQ(get(keyword), colon == std::string::npos ? "" : lines.substr(colon + 1, length));
    } else {
      const auto edit = operation < 5 ? cut : operation == 5 ? modify : add;
      ASSERT_EQ(edit("a", keyword, value.c_str()), 0);
      if (edit != add && match != std::string::npos) lines.erase(match, lines.find('\n', match) + 1 - match);
      if (edit != cut) lines += name + ":" + stored + "\n";
    }
    ASSERT_EQ(read_file("a"), fax_bytes(lines, pages)) << "step " << step;
  }
}

TEST_F(FaxWriting, CrashesAndFullDisksLeaveTheWholeOldOrTheWholeNewFile) {
  const std::string lines = "SUBJECT:old\nFAX_ID:f\n", old = fax_bytes(lines, PAGES), page(7000, 'n');
  // What is run, what it leaves, and whether the path names the old or the new file at every moment.
  const std::tuple<std::function<int16_t()>, std::string, bool> operations[] = {
      {[&] { return cut("a", SUBJECT, ""); }, fax_bytes("FAX_ID:f\n", PAGES), true},
      {[&] { return modify("a", SUBJECT, "newer"); }, fax_bytes("FAX_ID:f\nSUBJECT:newer\n", PAGES), true},
      {[&] { return modify("a", DATE, "d"); }, fax_bytes(lines + "DATE:d\n", PAGES), true},
      {[&] { return add("a", DATE, "d"); }, fax_bytes(lines + "DATE:d\n", PAGES), false},
      {[&] { return insert(3, page); }, fax_bytes(lines, {"one", "", page, PAGES[2]}), false},
      {[&] { return write<FaxFileAppendEncodedPage>(page); }, fax_bytes(lines, {"one", "", PAGES[2], page}), false},
  };
  for (const auto &[run, after, atomic] : operations) {
    for (const Fault kind : {Fault::fail, Fault::kill}) {
      bool ended = kind == Fault::kill && !atomic;
      for (int step = 1; !ended; ++step) {
        make("a", lines, PAGES);
        fchmod(fd, 0604);
        const int entries = dir.entries();
        calls.clear();
        countdown = step;
        fault = kind;
        int status = 0;
        const pid_t child = kind == Fault::kill ? fork() : getpid();
        if (child == 0) _exit(run());
        if (kind == Fault::fail) status = run();
        fault = Fault::none;
        if (kind == Fault::kill) waitpid(child, &status, 0);
        close(fd);

        const std::string bytes = read_file("a");
        ended = kind == Fault::kill ? WIFEXITED(status) : countdown > 0;
        ASSERT_TRUE(bytes == after || (bytes == old && !ended)) << "step " << step;
        EXPECT_EQ(std::filesystem::status("a").permissions(), std::filesystem::perms(0604));
        if (kind == Fault::kill) continue;
        EXPECT_EQ(status, bytes == after ? 0 : status == 5 ? 5 : 7) << "step " << step;
        EXPECT_EQ(dir.entries(), entries);
        EXPECT_TRUE(!ended || !atomic || calls.ends_with("wfrf"))
            << "on disk before the file takes its name: " << calls;
      }
    }
  }
}
