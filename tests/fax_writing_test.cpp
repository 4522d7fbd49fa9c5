// Pages and keywords written to a fax file, against bytes worked out by hand, a model, crashes and full disks.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>

#include <csignal>
#include <functional>
#include <random>

#include "faxfile/fax_lock.h"
#include "faxfile/page_writer.h"
#include "faxfile/pages.h"
#include "faxfile/sorbfile.h"
#include "faxfile/usorbport.h"
#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"
#include "t4/file_converter.h"

using namespace tolvane;

namespace {
constexpr int16_t DATE = 1, SUBJECT = 5;
const std::vector<std::string> PAGES = {"one", "", std::string(12000, 'p')};

enum class Fault { none, kill, fail, ask } fault = Fault::none;
int countdown = 0;
bool patient = true;  // nothing is waited for if not
std::string calls;    // the first letters of the calls made under a fault

// Every call that changes the disk comes by here; at the end of the countdown it kills the process, or fails.
int trip(const char *call) {
  if (fault == Fault::none || fault == Fault::ask) return 0;
  calls += *call;
  if (--countdown != 0) return 0;
  if (fault == Fault::kill) raise(SIGKILL);
  errno = ENOSPC;
  return -1;
}

// Sizes and positions can be unknown too, on a network.
bool trip_question() {
  if (fault != Fault::ask || --countdown != 0) return false;
  errno = EIO;
  return true;
}
}  // namespace

// These stand in front of the C library's.
extern "C" {
ssize_t write(int fd, const void *bytes, size_t count) {
  return trip("write") ? -1 : syscall(SYS_write, fd, bytes, count);
}
ssize_t pwritev(int fd, const iovec *pieces, int count, off_t offset) {
  return trip("pwritev") ? -1 : syscall(SYS_pwritev, fd, pieces, count, offset, 0);
}
int fallocate(int fd, int mode, off_t offset, off_t size) {
  return trip("fallocate") ? -1 : static_cast<int>(syscall(SYS_fallocate, fd, mode, offset, size));
}
int linkat(int from, const char *old, int to, const char *path, int flags) noexcept {
  return trip("linkat") ? -1 : static_cast<int>(syscall(SYS_linkat, from, old, to, path, flags));
}
int rename(const char *from, const char *to) noexcept {
  if (!trip("rename")) return static_cast<int>(syscall(SYS_rename, from, to));
  errno = EXDEV;  // a copy in place of it must not lose the file
  return -1;
}
int fstat(int fd, struct stat *status) noexcept {
  return trip_question() ? -1 : static_cast<int>(syscall(SYS_fstat, fd, status));
}
off_t lseek(int fd, off_t offset, int whence) noexcept {
  return trip_question() ? -1 : syscall(SYS_lseek, fd, offset, whence);
}
int fdatasync(int fd) {
  return trip("fdatasync") ? -1 : static_cast<int>(syscall(SYS_fdatasync, fd));
}
int nanosleep(const timespec *time, timespec *left) {
  return patient ? static_cast<int>(syscall(SYS_nanosleep, time, left)) : 0;
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
  static ino_t inode(const char *path) {
    struct stat status = {};
    stat(path, &status);
    return status.st_ino;
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
  char value[16];
  fd = open(dir.write("cut", fax_bytes("").substr(0, 4) + "\xff\xff\xff").c_str(), O_RDWR);
  EXPECT_EQ((Codes{FaxFileGetKeywordValue(fd, DATE, value), FaxFileAddKeyword(fd, DATE, "d")}), (Codes{10, 10}));
  make("b", "", {"one"});
  EXPECT_EQ((Codes{start(0, 1), start(3, 1), insert(2, "new")}), (Codes{15, 15, 0}));
  EXPECT_EQ(read_file("b"), fax_bytes("", {"one", "new"})) << "in front of the page behind the last";
  EXPECT_EQ(in_progress(), 0) << "a failed start gives its slot back";
}

TEST_F(FaxWriting, MisuseLosesNoPageWithoutACode) {
  const std::string old = fax_bytes("", {"one"}), cut_short = old.substr(0, old.size() - 1);
  const auto with = [](const std::string &page) { return fax_bytes("", {"one", page}); };
  int32_t a = -1, b = -1;
  const auto on = [&](int32_t file, auto call) { return fd = file, call(); };
  const auto replace_a = [&](const std::string &bytes) { return rename(dir.write("new", bytes).c_str(), "a"); };
  // What is called on the file a, and on b while a has a page in progress; the codes; what a and b are then.
  const struct {
    const char *misuse;
    std::function<Codes()> calls;
    Codes codes;
    std::string a, b;
  } rows[] = {
      {"closed with a page in progress, and the number is another file's",
       [&] {
         const Codes codes = {start(1, 4), write("ab"), FaxFileClose(a), FaxFileOpen("b", &b)};
         return Codes{codes[0], codes[1], codes[2], codes[3], on(b, [&] { return write("cd"); }), FaxFileEndPage(b)};
       },
       {0, 0, 15, 0, 15, 0},
       old,
       old},
      {"closed by the system call alone",
       [&] {
         const Codes codes = {start(1, 2), write("ab"), close(a), FaxFileOpen("b", &b)};
         return Codes{codes[0], codes[1], codes[2], codes[3], FaxFileEndPage(b)};
       },
       {0, 0, 0, 0, 0},
       old,
       old},
      {"ended while another file's page is current",
       [&] {
         const Codes codes = {start(0xFFFF, 2), write("aa"), on(b, [&] { return start(0xFFFF, 2); }), write("bb")};
         return Codes{codes[2], codes[3], FaxFileEndPage(a), FaxFileEndPage(a), FaxFileEndPage(b)};
       },
       {0, 0, 0, 0, 0},
       with("aa"),
       with("bb")},
      {"too few bytes",
       [&] {
         return Codes{start(0xFFFF, 3), write("aa"), FaxFileEndPage(a)};
       },
       {0, 0, 15},
       old,
       old},
      {"too many bytes",
       [&] {
         return Codes{start(1, 1), write("aa"), FaxFileEndPage(a)};
       },
       {0, 0, 15},
       old,
       old},
      {"two pages on one descriptor",
       [&] {
         return Codes{start(0xFFFF, 1), write("x"), start(0xFFFF, 1), write("y"), FaxFileEndPage(a)};
       },
       {0, 0, 0, 0, 15},
       with("y"),
       old},
      {"a keyword added, and a page by another editor, before the page is ended",
       [&] {
         const Codes codes = {start(1, 1), write("x"), FaxFileAddKeyword(a, DATE, "d"), add("a", SUBJECT, "s")};
         const int32_t other = open("a", O_RDWR);
         fd = other;
         const int16_t appended = write<FaxFileAppendEncodedPage>("last");
         close(other);
         return Codes{codes[2], codes[3], appended, FaxFileEndPage(a)};
       },
       {0, 0, 0, 0},
       fax_bytes("DATE:d\nSUBJECT:s\n", {"x", "one", "last"}),
       old},
      {"a page to insert before that is cut short",
       [&] {
         return Codes{truncate("a", 12), start(1, 0, 1)};
       },
       {0, 15},
       cut_short.substr(0, 12),
       old},
      {"a page read that is cut short",
       [&] {
         return Codes{truncate("a", 15), start(1, 0, FAX_PAGE_READ)};
       },
       {0, 15},
       cut_short,
       old},
      {"the pages after it changed in place, to as many bytes",
       [&] {
         const Codes codes = {start(1, 1), write("x")};
         dir.write("a", fax_bytes("", {"two"}));
         return Codes{codes[0], codes[1], FaxFileEndPage(a)};
       },
       {0, 0, 0},
       fax_bytes("", {"x", "two"}),
       old},
      {"the file replaced, with a hard link that stays, and changed through the descriptor, before the page is ended",
       [&] {
         std::filesystem::remove("link");
         std::filesystem::create_hard_link("a", "link");
         const Codes codes = {start(1, 1), write("x"), replace_a(fax_bytes("", {"two"}))};
         return Codes{codes[0], codes[2], FaxFileAddKeyword(a, DATE, "d"), FaxFileEndPage(a)};
       },
       {0, 0, 0, 0},
       fax_bytes("DATE:d\n", {"x", "two"}),
       old},
      {"the file replaced, and changed through the descriptor, before a page is read",
       [&] {
         uint8_t buffer[99];
         const Codes codes = {start(1, 0, FAX_PAGE_READ), replace_a(old), write<FaxFileAppendEncodedPage>("x")};
         return Codes{codes[0], codes[1], codes[2], FaxFileReadEncodedPage(a, buffer, sizeof buffer)};
       },
       {0, 0, 0, 15},
       with("x"),
       old},
      {"the file replaced by what is no fax file",
       [&] {
         return Codes{replace_a("text"), write<FaxFileAppendEncodedPage>("x")};
       },
       {0, 7},
       "text",
       old},
      {"the file replaced, and open for reading only",
       [&] {
         return Codes{fd = open("a", O_RDONLY), replace_a(old), write<FaxFileAppendEncodedPage>("x")};
       },
       {-1, 0, 7},
       old,
       old},
      {"a page beyond the size that the process may make",
       [&] {
         rlimit usual;
         getrlimit(RLIMIT_FSIZE, &usual);
         const rlimit limit{1000, usual.rlim_max};
         setrlimit(RLIMIT_FSIZE, &limit);
         const int16_t code = write<FaxFileAppendEncodedPage>(std::string(1000, 'x'));
         setrlimit(RLIMIT_FSIZE, &usual);
         return Codes{code};
       },
       {7},
       old,
       old},
      {"a large page given up, with no space left to it",
       [&] {
         struct stat status = {};
         const Codes codes = {start(0xFFFF, 1 << 26), FaxFileClose(a), stat("a", &status)};
         return Codes{codes[0], codes[1], status.st_blocks > 1 << 10};
       },
       {0, 15, 0},
       old,
       old},
      {"a reader that keeps the header locked",
       [&] {
         const int32_t other = open("a", O_RDONLY);
         const FaxHeaderLock reader(other, FaxHeaderLock::Kind::shared);
         patient = false;
         const Codes codes = {FaxFileAddKeyword(a, DATE, "d"), write<FaxFileAppendEncodedPage>("x")};
         patient = true;
         close(other);
         return codes;
       },
       {7, 0},
       with("x"),
       old},
      {"a reader that keeps the whole file locked",
       [&] {
         const int32_t other = open("a", O_RDONLY);
         struct flock whole = {.l_type = F_RDLCK, .l_whence = SEEK_SET, .l_start = 0, .l_len = 0, .l_pid = 0};
         const int locked = fcntl(other, F_OFD_SETLK, &whole);
         patient = false;
         const Codes codes = {write<FaxFileAppendEncodedPage>("x"), modify("a", DATE, "d"), convert_fax_file("a", 0)};
         patient = true;
         close(other);
         return Codes{locked, codes[0], codes[1], codes[2]};
       },
       {0, 7, 7, 7},
       old,
       old},
      {"a file open for reading only",
       [&] {
         return Codes{fd = open("a", O_RDONLY), start(0xFFFF, 2), write<FaxFileAppendEncodedPage>("x")};
       },
       {-1, 7, 7},
       old,
       old}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.misuse);
    b = make("b", "", {"one"});
    a = make("a", "", {"one"});
    const Codes codes = row.calls();
    EXPECT_TRUE(codes == row.codes || (row.codes[0] == -1 && std::equal(codes.begin() + 1, codes.end(), &row.codes[1])))
        << testing::PrintToString(codes);
    EXPECT_EQ(read_file("a"), row.a);
    EXPECT_EQ(read_file("b"), row.b);
    EXPECT_EQ(in_progress(), 0);
    for (const int32_t file : {a, b, fd}) close(file);
  }
}

TEST_F(FaxWriting, AnOpenFileIsChangedAndAskedWithBuffersOfAnySize) {
  const std::string value(40000, 'v');
  make("a", "DATE:d\nSUBJECT:old\nFAX_ID:\n", PAGES);
  const int32_t other = open("a", O_RDONLY);
  for (const std::string &subject : {std::string("s"), value, std::string("some")}) {
    EXPECT_EQ(FaxFileChangeKeyword(fd, SUBJECT, subject.c_str()), 0);
    EXPECT_EQ(read_file("a"), fax_bytes("DATE:d\nFAX_ID:\nSUBJECT:" + subject + "\n", PAGES));
  }
  // The keyword, the size of the buffer, the code, the length and the text.
  const std::tuple<int16_t, int32_t, int16_t, int32_t, const char *> rows[] = {
      {SUBJECT, 5, 0, 4, "some"},      {SUBJECT, 4, 4, 4, ""},   {FAXFILE_FAX_ID, 1, 0, 0, ""},
      {FAXFILE_FOLDERS, 9, 0, -1, ""}, {SUBJECT, 0, 15, 9, "x"}, {99, 9, 15, 9, "x"}};
  for (const auto &[keyword, size, code, length, text] : rows) {
    char buffer[16] = "x";
    int32_t found = 9;
    EXPECT_EQ(FaxFileGetKeywordText(other, keyword, buffer, size, &found), code);
    EXPECT_EQ(std::pair(found, std::string(buffer)), std::pair(length, std::string(text)));
  }
  close(other);
  chmod("a", 0444);
  int32_t reading = -1;
  EXPECT_EQ(FaxFileOpenReadOnly("a", &reading), 0);
  EXPECT_EQ(FaxFileAddKeyword(reading, DATE, "x"), 7);
  EXPECT_EQ(FaxFileClose(reading), 0);
}

TEST_F(FaxWriting, EditorsAtTheSameTimeLoseNothingOfEachOther) {
  constexpr int EDITORS = 4, EDITS = 100;
  make("a", "", PAGES);
  for (int editor = 0; editor < EDITORS; ++editor) {
    if (fork() != 0) continue;
    int failures = 0;
    for (int i = 0; i < EDITS; ++i) {
      const std::string value = std::to_string(editor) + "." + std::to_string(i);
      const auto keyword = static_cast<int16_t>(FAXFILE_SENDER_NAME + editor);
      failures += editor == 0 ? modify("a", keyword, value.c_str()) : add("a", keyword, value.c_str());
    }
    _exit(failures != 0);
  }
  for (int status; wait(&status) > 0;) EXPECT_EQ(status, 0);
  const std::string bytes = read_file("a");
  EXPECT_NE(bytes.find("0.99\n"), std::string::npos);
  for (int editor = 1; editor < EDITORS; ++editor)
    for (int i = 0; i < EDITS; ++i)
      EXPECT_NE(bytes.find(":" + std::to_string(editor) + "." + std::to_string(i) + "\n"), std::string::npos) << editor;
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

TEST_F(FaxWriting, AFileThatCannotBeReadIsNotReportedAsDamaged) {
  make("a", "DATE:d\n", PAGES);
  const std::function<int16_t()> reads[] = {[&] {
                                              uint8_t *data = nullptr;
                                              int32_t length;
                                              const int16_t code = FaxFileReadDocumentPage(fd, "a", 3, &data, &length);
                                              free(data);
                                              return code;
                                            },
                                            [&] {
                                              int32_t pages;
                                              return FaxFileCountDocumentPages(fd, &pages);
                                            }};
  for (const auto &read : reads) {
    countdown = 0;
    for (int step = 1; countdown <= 0; ++step) {
      countdown = step;
      fault = Fault::ask;
      const int16_t code = read();
      fault = Fault::none;
      EXPECT_TRUE(code == 6 || code == 0) << code << " at step " << step;
    }
  }
}

TEST_F(FaxWriting, CrashesAndFullDisksLeaveTheWholeOldOrTheWholeNewFile) {
  const std::string lines = "SUBJECT:old\nFAX_ID:f\n", old = fax_bytes(lines, PAGES), page(7000, 'n');
  // What is run, what it leaves, and whether it replaces the file.
  const std::tuple<std::function<int16_t()>, std::string, bool> operations[] = {
      {[&] { return cut("a", SUBJECT, ""); }, fax_bytes("FAX_ID:f\n", PAGES), true},
      {[&] { return modify("a", SUBJECT, "newer"); }, fax_bytes("FAX_ID:f\nSUBJECT:newer\n", PAGES), true},
      {[&] { return modify("a", DATE, "d"); }, fax_bytes(lines + "DATE:d\n", PAGES), false},
      {[&] { return add("a", DATE, "d"); }, fax_bytes(lines + "DATE:d\n", PAGES), false},
      {[&] { return FaxFileChangeKeyword(fd, SUBJECT, "longer"); }, fax_bytes("FAX_ID:f\nSUBJECT:longer\n", PAGES),
       false},
      {[&] { return insert(3, page); }, fax_bytes(lines, {"one", "", page, PAGES[2]}), false},
      {[&] { return write<FaxFileAppendEncodedPage>(page); }, fax_bytes(lines, {"one", "", PAGES[2], page}), false},
  };
  for (const auto &[run, after, replaces] : operations) {
    for (const Fault kind : {Fault::fail, Fault::ask, Fault::kill}) {
      bool ended = false;
      for (int step = 1; !ended; ++step) {
        make("a", lines, PAGES);
        fchmod(fd, 0604);
        const int entries = dir.entries();
        const ino_t before = inode("a");
        calls.clear();
        countdown = step;
        fault = kind;
        int status = 0;
        const pid_t child = kind == Fault::kill ? fork() : getpid();
        if (child == 0) _exit(run());
        if (kind != Fault::kill) status = run();
        fault = Fault::none;
        if (kind == Fault::kill) waitpid(child, &status, 0);
        close(fd);

        const std::string bytes = read_file("a");
        ended = kind == Fault::kill ? WIFEXITED(status) : countdown > 0;
        ASSERT_TRUE(bytes == after || (bytes == old && !ended)) << "step " << step;
        EXPECT_EQ(std::filesystem::status("a").permissions(), std::filesystem::perms(0604));
        if (kind == Fault::kill) continue;
        EXPECT_EQ(dir.entries(), entries);
        if (kind == Fault::ask) {
          EXPECT_EQ(status == 0, bytes == after) << "step " << step;
          continue;
        }
        EXPECT_EQ(status, bytes == after ? 0 : status == 5 ? 5 : 7) << "step " << step;
        EXPECT_TRUE(ended || replaces || status != 0) << "step " << step;
        const bool at_end = calls == "p";
        EXPECT_TRUE(!ended || calls.ends_with(replaces ? "wflrf"
                                              : at_end ? "p"
                                                       : "pf"))
            << "one write, and on disk: " << calls;
        EXPECT_EQ(inode("a") != before, bytes == after && replaces) << "step " << step;
      }
    }
  }
}
