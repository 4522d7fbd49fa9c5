#include "support/file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "helpers/temp_dir.h"
#include "helpers/trace_capture.h"
#include "support/getcwd.h"
#include "support/handle.h"

namespace fs = std::filesystem;
using namespace tolvane;
using testing::EndsWith;

// Each test stands in a directory of its own before the first question for the working directory.
class File : public testing::Test {
 protected:
  File() {
    EXPECT_EQ(chdir(here_.c_str()), 0);
    for (const char *name : {"SORBEXHOME", "SORBEXTMP"}) unsetenv(name);
    umask(022);
  }
  std::string make(const std::string &name, mode_t mode = 0644, const std::string &bytes = "") {
    fs::create_directories(fs::path(dir_.path(name)).parent_path());
    EXPECT_EQ(chmod(dir_.write(name, bytes).c_str(), mode), 0);
    return dir_.path(name);
  }
  // The string that a routine hands over, "(null)" for null.
  static std::string owned(char *text) {
    const Block<char> block(text);
    return text ? text : "(null)";
  }
  TempDir dir_;
  const std::string here_ = dir_.string();
  TraceCapture trace_;
};

TEST_F(File, PathsAndNamesAsTextsOverTheFirstWorkingDirectory) {
  char cwd[PATH_LIMIT + 1];
  testing::internal::CaptureStderr();
  EXPECT_EQ(ks_getcwd(cwd, 2), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ks_getcwd: getcwd: Numerical result out of range\n");
  EXPECT_EQ(ks_getcwd(cwd, sizeof cwd), here_);
  ASSERT_EQ(chdir("/"), 0);
  EXPECT_EQ(ks_getcwd(cwd, 1), here_);
  const std::string longest(PATH_LIMIT - here_.size() - 1, 'x'), limit = "/" + std::string(PATH_LIMIT - 1, 'x');
  const std::string refused = "mkpath: Invalid path: [", invalid = "(null)is_valid_path: Invalid path";
  using Rows = std::vector<std::pair<std::string, std::string>>;  // a text, and the result with what is traced
  const std::pair<std::string (*)(char *), Rows> groups[] = {
      {[](char *path) { return owned(fix_path(path)); },
       {{"x", here_ + "/x"},
        {"./x", here_ + "/x"},
        {".././x", here_ + "/./x"},
        {"/a/../x", "/a/../x"},
        {longest, here_ + "/" + longest},
        {longest + "x", "(null)fix_path: path too large\n"}}},
      {[](char *path) { return owned(mkpath(path)); },
       {{"/a/./b//c/../d/", "/a/b/d"},
        {"/a/..", "/"},
        {"/a/../../b", "(null)" + refused + "/a/../../b].\n"},
        {"", here_},
        {"no/../\xc3\xa9 ", here_ + "/\xc3\xa9"},
        {limit, limit},
        {limit.substr(1), "(null)mkpath: path too large\n"},
        {limit + "x", invalid + " (exceeds MAXPATHLEN of 4096 bytes): [" + limit + "x].\n" + refused + limit + "x].\n"},
        {"/a b", invalid + ": [/a b].\n" + refused + "/a b].\n"},
        {"\x7f", invalid + ": [\x7f].\n" + refused + "\x7f].\n"}}},
      {[](char *path) { return std::string(tolvane::basename(path)); },
       {{"", "."}, {"/", "/"}, {"a/b/", "b"}, {"/a", "a"}, {"a//", ""}}},
      {[](char *path) { return std::string(tolvane::dirname(path)); },
       {{"", "."}, {"/", "/"}, {"a", "."}, {"a/b/", "a/b"}, {"/a", "/"}, {"/a/b", "/a"}}},
      {[](char *text) { return std::string(posix_file_name_filter(std::string(text).c_str(), text)); },
       {{"a Qq-Z_9.fax", "a__q-Z_9.fax"}, {"\xc3\xa9/\\\x7f", "___"}}},
      {[](char *text) { return std::string(int_to_base_26(atoi(text))); },
       {{"0", "aaa"}, {"25", "aaz"}, {"26", "aba"}, {"17576", "baaa"}, {"2147483647", "gytisyx"}}}};
  for (const auto &[operation, rows] : groups)
    for (const auto &[text, result] : rows) {
      std::string buffer = text;
      buffer.resize(PATH_LIMIT + 10);
      const std::string got = operation(buffer.data());
      EXPECT_EQ(got + trace_.take(), result) << text;
    }
  EXPECT_TRUE(is_valid_path("\" \t\"") && is_valid_path(" \"/a\" "));
  EXPECT_EQ(std::string(tolvane::basename(nullptr)) + tolvane::dirname(nullptr), "..");
  EXPECT_TRUE(is_relative_path(nullptr) && is_relative_path("") && is_full_path("/") && !is_full_path("a/"));
}

TEST_F(File, FindsAtHomeThenHereThenOnThePath) {
  const std::string home = make("home/tool", 0755), local = make("tool", 0755), path = make("bin/tool", 0755);
  fs::create_directories("dir/tool");  // no program
  setenv("PATH", (":" + dir_.path("dir") + ":" + dir_.path("bin")).c_str(), 1);
  setenv("SORBEXHOME", dir_.path("home").c_str(), 1);
  for (const std::string &expected : {home, local, path, std::string("(null)")}) {
    EXPECT_EQ(owned(find_executable("tool")), expected);
    EXPECT_EQ(owned(find_file("tool")), expected == path ? "(null)" : expected);
    unlink(expected.c_str());
  }
  EXPECT_EQ(owned(find_file(std::string(PATH_LIMIT + 1, 'x').c_str())), "(null)");
}

TEST_F(File, AccessIsDecidedByOneClass) {
  if (geteuid() != 0) GTEST_SKIP() << "gives files away, which only the super-user can";
  const uid_t asker = 65533;
  // Who asks, owner, group and mode of the file, what is asked for, and the answer.
  const std::tuple<uid_t, uid_t, gid_t, mode_t, const char *, int> cases[] = {
      {0, asker, asker, 0000, "rwx", 1},   {asker, asker, asker, 0500, "rx", 1},
      {asker, asker, asker, 0477, "w", 0}, {asker, asker, asker, 0000, nullptr, 1},  // the owner's bits, no others
      {asker, 0, asker, 0740, "r", 1},     {asker, 0, asker, 0737, "r", 0},
      {asker, 0, 0, 0774, "r", 1},         {asker, 0, 0, 0774, "rx", 0},
      {asker, 0, 0, 0004, "rz", 1}};
  ASSERT_EQ(chmod(here_.c_str(), 0755), 0);
  make("f");
  for (const auto &[user, owner, group, mode, permissions, granted] : cases) {
    ASSERT_EQ(seteuid(0) + chown("f", owner, group) + chmod("f", mode) + setegid(asker) + seteuid(user), 0);
    EXPECT_EQ(check_file_access("f", permissions), granted) << std::oct << mode;
  }
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_EQ(trace_.take(), "check_access: Invalid permission: [z]\n");
  EXPECT_TRUE(check_dir_access(".", "rwx") && !check_dir_access("f", ""));
  EXPECT_FALSE(is_readable_file("missing") || is_executable_file("f/x"));
  EXPECT_EQ(trace_.take(), "check_access: stat(\"f/x\"): Not a directory\n");
}

TEST_F(File, CopyAndMoveLeaveEverythingAsItWasWhenTheyFail) {
  make("source", 0644, std::string(20000, 'x'));
  make("target", 0644, "old");
  make("dir/source", 0644, "inner");
  fs::create_directory("dir2");
  ASSERT_EQ(link("source", "twin") + mkfifo("fifo", 0644), 0);
  signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{10000, 10000};
  setrlimit(RLIMIT_FSIZE, &limit);
  const std::string longest(PATH_LIMIT - 3, 'x'), missing = "failed: No such file or directory.\n",
                                                  large = "failed: File too large.\n";
  const std::tuple<int (*)(const char *, const char *), const char *, const char *, std::string> cases[] = {
      {copy, "missing", "target", "copy: open(\"missing\") " + missing},
      {copy, "dir", "target", "copy: \"dir\" isn't a regular file.\n"},
      {copy, "fifo", "target", "copy: \"fifo\" isn't a regular file.\n"},
      {copy, "source", "no/x", "copy: open(\"no/x\") " + missing},
      {copy, "source", "twin", "copy: \"source\" and \"twin\" are the same file.\n"},
      {copy, "dir/source", "dir", "copy: \"dir/source\" and \"dir/source\" are the same file.\n"},
      {copy, longest.c_str(), "dir", "copy: path too large\n"},
      {ks_move, "missing", "x", "ks_move: stat(\"missing\") " + missing},
      {ks_move, "dir", "x", "ks_move: \"dir\" isn't a regular file.\n"},
      {ks_move, "source", "no/x", "ks_move: rename(\"source\",\"no/x\") " + missing},
      {ks_move, "source", "dir2",
       "copy: write(\"dir2/source\") " + large + "ks_move: copy(\"source\",\"dir2\") " + large}};
  for (const auto &[operation, source, target, trace] : cases) {
    EXPECT_EQ(operation(source, target), 0);
    EXPECT_EQ(trace_.take(), trace);
  }
  EXPECT_EQ(read_file("target") + read_file("dir/source"), "oldinner");
  EXPECT_TRUE(fs::is_empty("dir2") && fs::file_size("source") == 20000);
  EXPECT_EQ(ks_ftruncate(Descriptor(open("source", O_RDONLY)).get(), 5), -1);
  EXPECT_EQ(trace_.take(), "ks_ftruncate:  ftruncate(5), errno=22\n");
}

TEST_F(File, CopyAndMoveKeepBytesAndSettleModes) {
  std::string bytes(3 * 8192 + 77, 'x');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * i >> 5);
  const std::string other = "/dev/shm/tolvane-test-" + std::to_string(getpid());  // another file system
  make("named", 0600);
  make("dir/source", 0600, "old");
  fs::create_directory("dir2");
  const std::tuple<int (*)(const char *, const char *), const char *, const char *, std::string, mode_t> cases[] = {
      {copy, "source", "fresh", "fresh", 0750},
      {copy, "source", "named", "named", 0600},     // named directly: its own mode
      {copy, "source", "dir", "dir/source", 0750},  // found in the directory: the mode of the source
      {copy, "back\\slash", "dir2", "dir2/slash", 0750},
      {ks_move, "source", "named", "named", 0750},
      {ks_move, "./source", "dir2", "dir2/source", 0750},
      {ks_move, "source", other.c_str(), other, 0750}};
  for (const auto &[operation, source, target, file, mode] : cases) {
    make(source, 0750, bytes);
    EXPECT_EQ(operation(source, target), 1) << trace_.take();
    EXPECT_TRUE(read_file(file) == bytes && fs::status(file).permissions() == fs::perms(mode)) << file;
    EXPECT_EQ(fs::exists(source), operation == copy);
  }
  unlink(other.c_str());
}

TEST_F(File, UniqueNamesCountUp) {
  EXPECT_STREQ(get_temp_dir(), "/tmp");
  setenv("SORBEXTMP", here_.c_str(), 1);
  char stem[16];
  const time_t now = time(nullptr);
  strftime(stem, sizeof stem, "%b%d", localtime(&now));
  stem[0] |= 0x20;
  // What the counter file holds, path and extension given, directory and rest of the name got, what is stored.
  const std::tuple<const char *, const char *, const char *, std::string, std::string, std::string> cases[] = {
      {nullptr, "spool/x", nullptr, "spool/", "aaa.fax", "1\n"},
      {"17572\n", "a\\b", "", "a\\", "zzw", "17573\n"},
      {"17573\n", "x", nullptr, "", "aaa.fax", "1\n"},
      {"-4\n", "x", nullptr, "", "aaa.fax", "1\n"},
      {"7\n9999", "x", nullptr, "", "aah.fax", "8\n"},
      {"30", "spool/taken", ".t", "spool/", "abg.t", "33\n"}};  // abe and abf are there
  for (const char *taken : {"abe.t", "abf.t"}) make(std::string("spool/") + stem + taken);
  char path[64];
  for (const auto &[counter, in, extension, directory, rest, stored] : cases) {
    unlink("i_d_order");
    if (counter) make("i_d_order", 0644, counter);
    EXPECT_EQ(build_unique_DOS_name(strcpy(path, in), extension), directory + stem + rest);
    EXPECT_EQ(read_file("i_d_order"), stored);
  }
  unlink("i_d_order");
  fs::create_directory("i_d_order");
  const std::string open = "open(\"" + here_ + "/i_d_order\") failed: ";
  EXPECT_THAT(build_unique_DOS_name(path, nullptr), EndsWith("aaa.fax"));
  EXPECT_EQ(trace_.take(), open + "Is a directory. Setting extension back to 0.\n" + open + "Is a directory.\n");
  setenv("SORBEXTMP", std::string(40, 'y').c_str(), 1);  // one byte too many for the counter file's path
  EXPECT_THAT(build_unique_DOS_name(path, nullptr), EndsWith("aaa.fax"));
  EXPECT_THAT(trace_.take(), EndsWith("failed: File name too long.\n"));
}
