// Every system call and every allocation of every command that writes fails in turn, or the command is killed there:
// what it was to replace is the whole old or the whole new file, and the status says which. The suite tries a sample.
// With TOLVANE_FAULTS in the environment the rows of the table in docs/robustness.md are printed: its value is how many
// calls are passed over between two faults, so that 1 tries each call.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

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

constexpr int UNAVAILABLE = 99;  // the kernel takes no filter

}  // namespace

class FaultsOf : public ToolTest, public testing::WithParamInterface<const char *> {
 protected:
  FaultsOf() {
    std::filesystem::create_directory(dir.path("work"));
    shell("cd work; for f in cover letter report plan; do cp " + in_checkout("examples") +
          "/$f.fax .; done; $tool extract letter.fax page.pbm");
    before_ = files_in(dir.path("work"));
  }

  // Runs the command on the files as they were, with the fault; says whether it was reached.
  bool run_with(const std::string &kind, long at, int &status) {
    shell("rm -rf work mark; mkdir work");
    for (const auto &[name, bytes] : before_) dir.write("work/" + name, bytes);
    const std::string fault = kind + ' ' + std::to_string(at) + ' ' + dir.path("mark");
    status = shell("cd work; FAULT='" + fault + "' LD_PRELOAD=" + in_build("tests/libfault_injection.so") +
                   " exec $tool " + GetParam())
                 .status;
    return std::filesystem::exists(dir.path("mark"));
  }

  // How many calls there are to fail.
  long count_calls(const std::string &kind) {
    int status;
    long below = 0, above = 1;
    while (run_with(kind, above - 1, status)) above *= 2;
    while (above - below > 1) {
      const long middle = (below + above) / 2;
      (run_with(kind, middle - 1, status) ? below : above) = middle;
    }
    return below;
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
    const bool wrong = status == 0 ? !is_new : !ended && is_new;
    row.wrong_status += wrong;
    EXPECT_TRUE(whole) << GetParam() << ": " << fault;
    EXPECT_FALSE(wrong) << GetParam() << ": " << fault << ": status " << status;
    EXPECT_TRUE(left_over == 0 || fault.starts_with("kill")) << GetParam() << ": " << fault;
  }

  Files before_;
};

TEST_P(FaultsOf, LeaveTheOldOrTheNewFile) {
  const char *wanted = getenv("TOLVANE_FAULTS");
  int status;
  run_with("5", 1000000, status);
  if (status == UNAVAILABLE) GTEST_SKIP() << "no system calls can be caught here";
  ASSERT_EQ(status, 0);
  const Files after = files_in(dir.path("work"));
  const std::set<std::string> kinds = {"5", "28", "short", "null", "kill", "term"};
  const long calls = count_calls("5"), allocations = count_calls("null");
  Row row;
  for (const std::string &kind : kinds) {
    const long count = kind == "null" ? allocations : calls;
    const long step = wanted ? std::max(1L, atol(wanted)) : 1 + count / 4;
    for (long at = count - 1; at >= 0; at -= step) {
      if (!run_with(kind, at, status)) continue;
      judge(kind + " at " + std::to_string(at), kind == "kill" || kind == "term", status, after, row);
    }
  }
  if (wanted)
    printf("| `%s` | %d | %d | %d | %d | %d | %d |\n", GetParam(), row.faults, row.old, row.fresh, row.damaged,
           row.left_over, row.wrong_status);
}

INSTANTIATE_TEST_SUITE_P(Commands, FaultsOf,
                         testing::Values("create new.fax page.pbm", "create plan.fax page.pbm",
                                         "append letter.fax page.pbm", "insert 1 report.fax page.pbm",
                                         "include cover.fax 1 1 report.fax", "keywords set letter.fax DATE=x",
                                         "merge new.fax letter.fax plan.fax", "split report.fax %d.fax",
                                         "convert --to mmr letter.fax plan.fax", "extract letter.fax new.tif",
                                         "render letter.fax new.png"));
