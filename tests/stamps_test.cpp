// Every module tells its version: in its source, and in what is built of it.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <vector>

#include "helpers/temp_dir.h"
#include "support/rev.h"

namespace fs = std::filesystem;

// The libraries and programs as `strings` would look through them.
static std::string built_bytes() {
  std::string bytes;
  for (const auto &each : fs::recursive_directory_iterator(TOLVANE_BUILD_DIR)) {
    const std::string name = each.path().filename().string();
    if (each.is_regular_file() && (each.path().extension() == ".a" || name == "tolvane" || name == "tolvane-fax"))
      bytes += read_file(each.path().string());
  }
  return bytes;
}

TEST(Stamps, EveryModuleHasItsOwnInTheSourceAndInTheBinary) {
  const std::string binaries = built_bytes();
  const std::regex definition(
      R"re(\[\[gnu::used\]\] const char SCCS_ID\[\] = "(@\(#\)\|(\w+)\|9\|01\|\d+\|0\|0\|\d\d/\d\d/\d\d\|\d\d:\d\d:\d\d)";)re");
  int modules = 0;
  for (const auto &each : fs::recursive_directory_iterator(TOLVANE_SOURCE_DIR "/src")) {
    if (each.path().extension() != ".cpp") continue;
    SCOPED_TRACE(each.path().string());
    const std::string source = read_file(each.path().string());
    std::smatch found;
    ASSERT_TRUE(std::regex_search(source, found, definition)) << "no stamp in form";
    const std::string stamp = found[1];
    EXPECT_EQ(found[2], each.path().stem().string());
    EXPECT_STRNE(tolvane::rev_delta_time(stamp.c_str()), nullptr);
    EXPECT_NE(binaries.find(stamp + '\0'), std::string::npos) << stamp << " is not in what was built";
    ++modules;
  }
  EXPECT_GT(modules, 15);
}
