// Files replaced whole: what the path names, what is kept of the old file, and what is left over.
#include "support/replace_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdarg>

#include "helpers/temp_dir.h"

using namespace tolvane;
namespace fs = std::filesystem;

namespace {
bool nameless_files;     // whether the file system allows them
bool may_give = true;    // whether files may be given to others
std::string names_seen;  // + a name, - a name
}  // namespace

// This stands before the C library's.
extern "C" int open(const char *path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const int mode = va_arg(arguments, int);
  va_end(arguments);
  if (!nameless_files && (flags & O_TMPFILE) == O_TMPFILE) {
    errno = EOPNOTSUPP;
    return -1;
  }
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

extern "C" int fchown(int fd, uid_t owner, gid_t group) noexcept {
  errno = EPERM;
  return may_give ? static_cast<int>(syscall(SYS_fchown, fd, owner, group)) : -1;
}

namespace {
void note(char change, const char *path) {
  names_seen += change + fs::path(path).filename().string().substr(0, 9) + ' ';
}

bool add_name(const char *path, const std::function<bool()> &make) {
  EXPECT_FALSE(fs::exists(path));
  const bool made = make();
  EXPECT_EQ(fs::exists(path), made);
  if (made) note('+', path);
  return made;
}

void remove_name(const char *path) {
  EXPECT_FALSE(fs::exists(path));
  note('-', path);
}

constexpr WorkingNames NAMES = {add_name, remove_name};

class ReplaceFile : public testing::TestWithParam<bool> {
 protected:
  ReplaceFile() {
    fs::current_path(dir.string());
    nameless_files = GetParam();
    umask(027);
  }
  ~ReplaceFile() override {
    nameless_files = true;
    unsetenv("TMPDIR");  // one of its own, where a test sets it
    unsetenv("SORBEXTMP");
  }

  const TempDir dir;
  const std::string name_seen = "+.tolvane- -.tolvane- ";
};
INSTANTIATE_TEST_SUITE_P(Nameless, ReplaceFile, testing::Bool());
}  // namespace

TEST_P(ReplaceFile, GivesTheNameInOneStepAndKeepsModesLinksAndNothingElse) {
  dir.write("old", "old");
  fs::create_directory("other");
  dir.write("other/old", "old");
  chmod("old", 04751);
  dir.write("told", "a file of another program");
  fs::create_hard_link("told", "other/told");
  fs::create_symlink("other/old", "link");
  fs::create_symlink("other/../other/fresh", "dangling");
  // The path, the options, the file that is made or replaced, its mode, and the names that the incomplete file had.
  const std::tuple<const char *, ReplacementOptions, const char *, mode_t, std::string> cases[] = {
      {"fresh", {}, "fresh", 0640, GetParam() ? "" : name_seen},
      {"old", {}, "old", 04751, name_seen},
      {"link", {}, "other/old", 0640, name_seen},
      {"dangling", {}, "other/fresh", 0640, GetParam() ? "" : name_seen},
      {"old", {.needs_name = true}, "old", 04751, name_seen},
      {"secret", {.mode = 0604}, "secret", 0604, GetParam() ? "" : name_seen},
      {"old", {.mode = 0604}, "old", 0604, name_seen},
      {"old", {.mode = 04751}, "old", 04751, name_seen},
      {"old", {.working_name = "told"}, "old", 04751, "+told -told "}};
  for (auto [path, options, file, mode, names] : cases) {
    for (const bool commits : {false, true}) {
      const std::string before = fs::exists(file) ? read_file(file) : "none";
      const int entries = dir.entries() - (options.working_name && !commits);
      names_seen.clear();
      options.names = &NAMES;
      {
        Replacement replacement;
        ASSERT_TRUE(replacement.begin(path, options)) << path << ": " << strerror(errno);
        EXPECT_EQ(write_fully(replacement.fd(), "new", 3), 1);
        struct stat status;
        ASSERT_EQ(fstat(replacement.fd(), &status), 0);
        EXPECT_TRUE(!options.mode || (status.st_mode & 077) == 0) << "others read what they may not";
        EXPECT_EQ(options.needs_name || options.working_name || !GetParam(), *replacement.working_path() != '\0');
        EXPECT_EQ(fs::exists(file) ? read_file(file) : "none", before) << path;
        EXPECT_TRUE(!commits || replacement.commit()) << path << ": " << strerror(errno);
      }
      EXPECT_EQ(dir.entries(), entries + (commits && before == "none" && fs::path(file).parent_path().empty())) << path;
      EXPECT_TRUE(commits ? names_seen == names : names == name_seen || names_seen == names) << path << names_seen;
    }
    EXPECT_EQ(read_file(file), "new") << path;
    EXPECT_EQ(static_cast<mode_t>(fs::status(file).permissions()), mode) << path;
  }
  EXPECT_TRUE(fs::is_symlink("link") && fs::is_symlink("dangling"));
  EXPECT_EQ(read_file("other/told"), "a file of another program") << "not written through a hard link";
}

TEST_P(ReplaceFile, AnotherGroupHasNoMoreRightsThanAllOthers) {
  if (geteuid() != 0) GTEST_SKIP() << "cannot give files away";
  for (const auto &[before, after] : {std::pair(0640, 0600), {0664, 0644}, {0604, 0600}, {06751, 0711}}) {
    dir.write("old", "old");
    ASSERT_EQ(chown("old", 0, 65534) + chmod("old", static_cast<mode_t>(before)), 0);
    Replacement replacement;
    ASSERT_TRUE(replacement.begin("old"));
    may_give = false;
    EXPECT_TRUE(replacement.commit());
    may_give = true;
    EXPECT_EQ(static_cast<int>(fs::status("old").permissions()), after);
    fs::remove("old");
  }
}

TEST_P(ReplaceFile, RefusesWhatCannotBeReplaced) {
  fs::create_directory("dir");
  ASSERT_EQ(mkfifo("fifo", 0600), 0);
  fs::create_symlink("loop", "loop");
  for (const auto &[path, error] : {std::pair("dir", EISDIR), {"fifo", EINVAL}, {"no/file", ENOENT}}) {
    EXPECT_FALSE(Replacement().begin(path));
    EXPECT_EQ(errno, error) << path;
  }
  Replacement replacement;
  ASSERT_TRUE(replacement.begin("late"));
  fs::create_directory("late");
  EXPECT_FALSE(replacement.commit());
  replacement.discard();
  EXPECT_EQ(dir.entries(), 4);
}

TEST_P(ReplaceFile, ManyFilesGetTheirNamesUpToTheFirstThatCannot) {
  dir.write("f1", "old");
  const std::string names[] = {"f0", "f1", "f2", "taken", "f4"};
  for (const size_t bad : {std::size(names), size_t{3}}) {
    std::array<Replacement, std::size(names)> files;
    std::array<Replacement *, std::size(names)> all;
    for (size_t i = 0; i < std::size(names); ++i) {
      ASSERT_TRUE(files[i].begin(names[i].c_str()));
      EXPECT_EQ(write_fully(files[i].fd(), names[i].data(), 2), 1);
      all[i] = &files[i];
    }
    if (bad < std::size(names)) fs::remove("taken"), fs::remove("f4"), fs::create_directory("taken");
    EXPECT_EQ(Replacement::commit_all(all), bad);
    for (Replacement &file : files) file.discard();
    for (const size_t i : {0, 1, 2}) EXPECT_EQ(read_file(names[i]), names[i]);
    EXPECT_EQ(fs::exists("f4"), bad > 4);
    EXPECT_EQ(dir.entries(), bad > 4 ? 5 : 4);
  }
}

TEST_P(ReplaceFile, KeepsAFileThatIsToBeKept) {
  dir.write("old", "old");
  EXPECT_FALSE(Replacement().begin("old", {.keeps_existing = true}));
  EXPECT_EQ(errno, EEXIST);
  for (const bool comes_late : {true, false}) {
    Replacement replacement;
    ASSERT_TRUE(replacement.begin("late", {.keeps_existing = true}));
    EXPECT_EQ(write_fully(replacement.fd(), "new", 3), 1);
    if (comes_late) dir.write("late", "old");
    EXPECT_EQ(replacement.commit(), !comes_late);
    EXPECT_EQ(read_file("late"), comes_late ? "old" : "new");
    replacement.discard();
    EXPECT_EQ(dir.entries(), 2);
    if (comes_late) fs::remove("late");
  }
}

TEST_P(ReplaceFile, SpoolsLieBesideTheirFileOrInTheFirstTemporaryDirectoryThatIsSet) {
  fs::create_directory("beside");
  dir.write("beside/fax", "");
  const std::string here = fs::canonical(dir.string()).string();
  const Descriptor fax(open("beside/fax", O_RDONLY, 0));
  setenv("TMPDIR", here.c_str(), 1);
  setenv("SORBEXTMP", "", 1);
  const auto place = [](const Descriptor &spool) {
    struct stat status = {};
    EXPECT_TRUE(spool && fstat(spool.get(), &status) == 0 && status.st_nlink == 0) << strerror(errno);
    return fs::read_symlink("/proc/self/fd/" + std::to_string(spool.get())).parent_path().string();
  };
  EXPECT_EQ(place(open_spool("beside/fax")), here + "/beside");
  EXPECT_EQ(place(open_spool(fax.get())), here + "/beside");
  EXPECT_EQ(place(open_spool("no/fax")), here);
  setenv("SORBEXTMP", (here + "/beside").c_str(), 1);
  EXPECT_EQ(place(open_spool(nullptr)), here + "/beside");
  setenv("SORBEXTMP", (here + "/none").c_str(), 1);
  EXPECT_FALSE(open_spool(nullptr));
  EXPECT_EQ(dir.entries(), 1);
  const int input = dup(0);
  close(0);
  const Descriptor spool = open_spool("beside/fax");
  Replacement replacement;
  EXPECT_TRUE(replacement.begin("fresh"));
  EXPECT_GT(std::min(spool.get(), replacement.fd()), 2) << "standard input is closed";
  dup2(input, 0);
  close(input);
}
