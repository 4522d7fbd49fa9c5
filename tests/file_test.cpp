#include "support/file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "helpers/temp_dir.h"
#include "helpers/trace_capture.h"
#include "support/getcwd.h"
#include "support/handle.h"
#include "support/unique_name.h"

namespace fs = std::filesystem;
using namespace tolvane;

// The library keeps the first working directory that it is asked for: all tests have the same one, empty at first.
class File : public testing::Test {
 protected:
  File() {
    for (const auto &old : fs::directory_iterator(here_)) fs::remove_all(old);
    EXPECT_EQ(chdir(here_.c_str()), 0);
    for (const char *name : {"SORBEXHOME", "SORBEXTMP"}) unsetenv(name);
    umask(022);
  }
  std::string make(const std::string &name, mode_t mode, const std::string &bytes = "") {
    fs::create_directories(fs::path(dir_.path(name)).parent_path());
    EXPECT_EQ(chmod(dir_.write(name, bytes).c_str(), mode), 0);
    return dir_.path(name);
  }
  // The string that a routine hands over, "(null)" for null.
  static std::string owned(char *text) {
    const Block<char> block(text);
    return text ? text : "(null)";
  }
  // A name in a directory of another file system; empty if there is none.
  std::string elsewhere() const {
    struct stat here, there;
    EXPECT_EQ(stat(here_.c_str(), &here), 0);
    for (const std::string directory : {"/dev/shm", "/tmp", "/var/tmp"})
      if (stat(directory.c_str(), &there) == 0 && there.st_dev != here.st_dev)
        return directory + "/tolvane-test-" + std::to_string(getpid());
    return "";
  }
  static const TempDir &directory() {
    static const TempDir all;
    return all;
  }
  const TempDir &dir_ = directory();
  const std::string here_ = dir_.string();
  TraceCapture trace_;
};

TEST_F(File, PathsAndNamesAsTextsOverTheFirstWorkingDirectory) {
  char cwd[PATH_LIMIT + 1];
  EXPECT_EQ(ks_getcwd(cwd, sizeof cwd), here_);
  ASSERT_EQ(chdir("/"), 0);
  const std::string longest(PATH_LIMIT - here_.size() - 1, 'x'), limit = "/" + std::string(PATH_LIMIT - 1, 'x');
  const std::string refused = "mkpath: Invalid path: [", invalid = "(null)is_valid_path: Invalid path";
  using Rows = std::vector<std::pair<std::string, std::string>>;  // a text, and the result with what is traced
  const std::pair<std::string (*)(char *), Rows> groups[] = {
      {[](char *path) { return owned(fix_path(path)); },
       {{"x", here_ + "/x"}, {longest, here_ + "/" + longest}, {longest + "x", "(null)fix_path: path too large\n"}}},
      {[](char *path) { return owned(mkpath(path)); },
       {{"/a/./b//c/../d/", "/a/b/d"},
        {"/a/../../b", "(null)" + refused + "/a/../../b].\n"},
        {"", here_},
        {"no/../\xc3\xa9 ", here_ + "/\xc3\xa9"},
        {limit + "x", invalid + " (exceeds MAXPATHLEN of 4096 bytes): [" + limit + "x].\n" + refused + limit + "x].\n"},
        {"/a b", invalid + ": [/a b].\n" + refused + "/a b].\n"}}},
      {[](char *path) { return std::string(tolvane::basename(path)); }, {{"", "."}, {"/", "/"}, {"a/b/", "b"}}},
      {[](char *path) { return std::string(tolvane::dirname(path)); }, {{"a", "."}, {"/a", "/"}, {"/a/b", "/a"}}},
      {[](char *text) { return std::string(posix_file_name_filter(std::string(text).c_str(), text)); },
       {{"a Qq-Z_9.fax", "a__q-Z_9.fax"}, {"\xc3\xa9/\\\x7f", "___"}}}};
  for (const auto &[operation, rows] : groups)
    for (const auto &[text, result] : rows) {
      std::string buffer = text;
      buffer.resize(PATH_LIMIT + 10);
      buffer = operation(buffer.data());
      EXPECT_EQ(buffer + trace_.take(), result) << text;
    }
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
  make("bin/tool", 0755);
  make("tool", 0757);  // anybody could have written it
  EXPECT_EQ(owned(find_executable("tool")), path);
  chmod("tool", 0755);
  EXPECT_EQ(owned(find_executable("tool")), local);
  rename("tool", "real");
  fs::create_symlink("real", "tool");
  if (geteuid() != 0) return;
  EXPECT_EQ(owned(find_executable("tool")), local);
  for (int (*const change_owner)(const char *, uid_t, gid_t) noexcept : {lchown, chown}) {
    EXPECT_EQ(change_owner("tool", 65534, 65534), 0);
    EXPECT_EQ(owned(find_executable("tool")), path);
    EXPECT_EQ(lchown("tool", 0, 0), 0);
  }
}

TEST_F(File, CopyAndMoveLeaveEverythingAsItWasWhenTheyFail) {
  const std::string other = elsewhere();
  if (other.empty()) GTEST_SKIP() << "there is no second file system";
  make("source", 0644, std::string(20000, 'x'));
  make("target", 0644, "old");
  make("dir/source", 0644, "inner");
  fs::create_directory("dir2");
  ASSERT_EQ(link("source", "twin") + mkfifo("fifo", 0644), 0);
  signal(SIGXFSZ, SIG_IGN);
  rlimit usual;
  getrlimit(RLIMIT_FSIZE, &usual);
  const rlimit limit{10000, usual.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  const std::string longest(PATH_LIMIT - 3, 'x'), large = "failed: File too large.\n";
  std::ofstream(other) << "old";
  const std::tuple<int (*)(const char *, const char *), const char *, const char *, std::string> cases[] = {
      {copy, "source", "fifo", "copy: open(\"fifo\") failed: No such device or address.\n"},  // it has no reader
      {ks_move, "source", other.c_str(),
       "copy: write(\"" + other + "\") " + large + "ks_move: copy(\"source\",\"" + other + "\") " + large},
      {copy, "fifo", "target", "copy: \"fifo\" isn't a regular file.\n"},
      {copy, "source", "twin", "copy: \"source\" and \"twin\" are the same file.\n"},
      {copy, longest.c_str(), "dir", "copy: path too large\n"},
      {ks_move, "source", "no/x", "ks_move: rename(\"source\",\"no/x\") failed: No such file or directory.\n"},
      {ks_move, "source", "dir2",
       "copy: write(\"dir2/source\") " + large + "ks_move: copy(\"source\",\"dir2\") " + large}};
  for (const auto &[operation, source, target, trace] : cases) {
    EXPECT_EQ(operation(source, target), 0);
    EXPECT_EQ(trace_.take(), trace);
  }
  EXPECT_EQ(read_file("target") + read_file("dir/source") + read_file(other), "oldinnerold");
  EXPECT_EQ(copy("source", "target"), 0);
  EXPECT_EQ(fs::file_size("target"), 10000) << "a target that was there is not removed";
  setrlimit(RLIMIT_FSIZE, &usual);
  unlink(other.c_str());
  EXPECT_TRUE(fs::is_empty("dir2") && fs::file_size("source") == 20000);
}

TEST_F(File, CopyAndMoveKeepBytesAndSettleModes) {
  std::string bytes(3 * 8192 + 77, 'x');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * i >> 5);
  const std::string other = elsewhere();
  if (other.empty()) GTEST_SKIP() << "there is no second file system";
  make("named", 0600);
  make("dir/source", 0600, "old");
  const std::tuple<int (*)(const char *, const char *), const char *, const char *, std::string, mode_t> cases[] = {
      {copy, "source", "fresh", "fresh", 0750},
      {copy, "source", "named", "named", 0600},     // named directly: its own mode
      {copy, "source", "dir", "dir/source", 0750},  // found in the directory: the mode of the source
      {ks_move, "source", "named", "named", 0750},
      {ks_move, "source", other.c_str(), other, 0750}};
  for (const auto &[operation, source, target, file, mode] : cases) {
    make(source, 0750, bytes);
    EXPECT_EQ(operation(source, target), 1) << trace_.take();
    EXPECT_TRUE(read_file(file) == bytes && fs::status(file).permissions() == fs::perms(mode)) << file;
    EXPECT_EQ(fs::exists(source), operation == copy);
  }
  make("source", 0644, bytes);
  ASSERT_EQ(link("source", "twin") + link("source", "dir/twin"), 0);
  for (const auto &[source, is_left] : {std::pair("./twin", true), {"source", false}, {"dir/twin", false}}) {
    EXPECT_EQ(ks_move(source, "twin"), 1);
    EXPECT_TRUE(fs::exists(source) == is_left && read_file("twin") == bytes) << source;
  }
  unlink(other.c_str());
}

TEST_F(File, UniqueNamesCountUp) {
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
      {"30", "spool/taken", ".t", "spool/", "abg.t", "33\n"}};  // abe and abf are there
  for (const char *taken : {"abe.t", "abf.t"}) make(std::string("spool/") + stem + taken, 0644);
  char path[64];
  for (const auto &[counter, in, extension, directory, rest, stored] : cases) {
    unlink("i_d_order");
    if (counter) make("i_d_order", 0644, counter);
    EXPECT_EQ(build_unique_DOS_name(strcpy(path, in), extension), directory + stem + rest);
    EXPECT_EQ(read_file("i_d_order"), stored);
  }
}
