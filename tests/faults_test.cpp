// Every system call and every allocation of every command that writes fails in turn, or the command is killed there:
// what it was to replace is the whole old or the whole new file, and the status says which. The same holds for the
// edits of the library. The suite tries a sample. With TOLVANE_FAULTS in the environment the rows of the table in
// docs/robustness.md are printed: its value is how many calls are passed over between two faults, so that 1 tries each
// call. script/faults does this.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

#include "helpers/child_process.h"
#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"
#include "helpers/places.h"

namespace {

using Files = std::map<std::string, std::string>;

Files files_in(const std::string &directory) {
  Files files;
  for (const auto &entry : std::filesystem::directory_iterator(directory))
    files[entry.path().filename()] = read_file(entry.path());
  return files;
}

struct Row {
  int faults = 0, old = 0, fresh = 0, damaged = 0, left_over = 0, wrong_status = 0;
};

constexpr int UNAVAILABLE = 99;    // the kernel takes no filter
constexpr int NO_VARIABLES = 127;  // the dynamic linker ends a program that has no memory for those of a thread
constexpr const char *FIRST = "create new.fax page.pbm";

// Whether this is an edit of the library, and not a command.
bool is_of_library(const std::string &command) {
  return command.starts_with("FaxFile") || command.starts_with("t4dec") || command.starts_with("tolvane_");
}

}  // namespace

class FaultsOf : public ToolTest, public testing::WithParamInterface<const char *> {
 protected:
  FaultsOf() {
    std::filesystem::create_directory(dir.path("work"));
    shell("cd work; for f in cover letter report plan; do cp " + in_checkout("examples") +
          "/$f.fax .; done; $tool extract letter.fax page.pbm; $tool extract letter.fax page.tif; "
          "$tool extract letter.fax page.png; $tool extract letter.fax page.pdf; head -c 5000 report.fax >cut.fax; cp "
          "letter.fax second.fax");
    before_ = files_in(dir.path("work"));
  }

  // Runs a command on the files as they were, with the fault; says whether it was reached.
  bool run_with(const std::string &kind, long at, const std::string &command, int &status) {
    std::filesystem::remove_all(dir.path("work"));
    for (const char *mark : {"mark", "mark-count"}) std::filesystem::remove(dir.path(mark));
    std::filesystem::create_directory(dir.path("work"));
    for (const auto &[name, bytes] : before_) dir.write("work/" + name, bytes);
    std::vector<std::string> words{is_of_library(command) ? in_build("tests/library_edits") : in_build("tolvane-fax")};
    std::istringstream text(command);
    for (std::string word; text >> word;) words.push_back(word);
    ChildProcess child(words,
                       {"FAULT=" + kind + ' ' + std::to_string(at) + ' ' + dir.path("mark"),
                        "LD_PRELOAD=" + in_build("tests/libfault_injection.so")},
                       dir.path("work"));
    child.close_input();
    status = child.wait(Milliseconds(60000));
    return std::filesystem::exists(dir.path("mark"));
  }

  // How many calls there are to fail.
  long count_calls(const std::string &kind, const std::string &command, int &status) {
    run_with(kind, 1000000, command, status);
    return atol(read_file(dir.path("mark-count")).c_str());
  }

  void judge(const std::string &fault, bool ended, int status, const Files &after, Row &row) {
    const Files found = files_in(dir.path("work"));
    ++row.faults;
    bool is_new = true, whole = true;
    for (const auto &[name, bytes] : after) {
      const auto old = before_.find(name);
      const auto now = found.find(name);
      const bool same = now == found.end() ? old == before_.end() : old != before_.end() && now->second == old->second;
      const bool fresh = now != found.end() && now->second == bytes;
      whole = whole && (same || fresh);
      is_new = is_new && fresh;
    }
    const auto left_over =
        std::count_if(found.begin(), found.end(), [&](const auto &file) { return !after.contains(file.first); });
    row.left_over += left_over > 0;
    row.old += whole && !is_new;
    row.fresh += whole && is_new;
    row.damaged += !whole;
    const bool wrong = status == 0 || status == 3 ? !is_new : !ended && is_new;
    row.wrong_status += wrong;
    EXPECT_TRUE(whole) << GetParam() << ": " << fault;
    EXPECT_FALSE(wrong) << GetParam() << ": " << fault << ": status " << status;
    // The library catches no signal. Its converter keeps a new file that could not take the name.
    const std::string command = GetParam();
    const bool may_stay =
        fault.starts_with("kill") || (ended && is_of_library(command)) || command.starts_with("t4dec_change_format");
    EXPECT_TRUE(left_over == 0 || may_stay) << GetParam() << ": " << fault;
  }

  Files before_;
  int done_ = 0;  // the status without a fault
};

TEST_P(FaultsOf, LeaveTheOldOrTheNewFile) {
  const std::string command = GetParam();
  const char *wanted = getenv("TOLVANE_FAULTS");
  const long calls = count_calls("5", command, done_);
  if (done_ == UNAVAILABLE) GTEST_SKIP() << "no system calls can be caught here";
  ASSERT_TRUE(done_ == 0 || done_ == 3) << done_;
  ASSERT_GT(calls, 0) << "the library that lets calls fail counts none";
  const Files after = files_in(dir.path("work"));
  ASSERT_NE(after, before_);
  // Setting up the command line takes thousands of allocations: the first row alone tries these.
  int status;
  const long setup =
      is_of_library(command) || (command == FIRST && wanted) ? 0 : count_calls("null", "--version", status) - 50;
  const long allocations = count_calls("null", command, status), threads = count_calls("thread", command, status);
  Row row;
  for (const std::string kind : {"5", "28", "4", "short", "kill", "term", "null", "thread"}) {
    const long first = kind == "null" ? setup : 0;
    const long end = kind == "null" ? allocations : kind == "thread" ? threads : calls;
    const long step = wanted ? std::max(1L, atol(wanted)) : 1 + (end - first) / 4;
    for (long at = end - 1; at >= first; at -= step) {
      if (!run_with(kind, at, command, status)) continue;
      const bool ended = kind == "kill" || kind == "term" || status == NO_VARIABLES;
      judge(kind + " at " + std::to_string(at), ended, status, after, row);
    }
  }
  EXPECT_GT(row.faults, 0);
  if (wanted)
    printf("| `%s` | %d | %d | %d | %d | %d | %d |\n", GetParam(), row.faults, row.old, row.fresh, row.damaged,
           row.left_over, row.wrong_status);
}

INSTANTIATE_TEST_SUITE_P(
    Commands, FaultsOf,
    testing::Values(FIRST, "create plan.fax page.pbm", "create --no-metadata new.fax page.tif page.png",
                    "create --no-metadata new.fax page.pdf", "append letter.fax page.pbm",
                    "insert 1 report.fax page.pbm", "include cover.fax 1 1 report.fax",
                    "include --remove cover.fax report.fax", "keywords set letter.fax DATE=x",
                    "keywords delete letter.fax DATE", "keywords copy letter.fax --from plan.fax",
                    "merge new.fax letter.fax plan.fax", "split report.fax %d.fax",
                    "convert --to mr letter.fax second.fax cover.fax report.fax", "repair cut.fax new.fax",
                    "repair --in-place cut.fax", "compare --difference d%d.png letter.fax report.fax",
                    "extract letter.fax new.tif", "extract letter.fax new.pdf", "extract letter.fax new.png",
                    "extract letter.fax new.pbm", "render letter.fax new.png"));

INSTANTIATE_TEST_SUITE_P(Library, FaultsOf,
                         testing::Values("FaxFileAddKeyword letter.fax", "FaxFileChangeKeyword letter.fax",
                                         "FaxFileModifyKeyword letter.fax", "FaxFileDeleteKeyword letter.fax",
                                         "FaxFileAppendEncodedPage letter.fax", "FaxFileEndPage letter.fax",
                                         "t4dec_change_format letter.fax", "tolvane_convert letter.fax",
                                         "tolvane_set_value letter.fax"));
