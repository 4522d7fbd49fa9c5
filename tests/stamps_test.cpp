// Every module tells its version: in its source, and in what is built of it.
#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

#include "helpers/temp_dir.h"

namespace fs = std::filesystem;

TEST(Stamps, EveryModuleHasItsOwnInTheSourceAndInTheBinary) {
  std::string binaries;
  for (const auto &each : fs::recursive_directory_iterator(TOLVANE_BUILD_DIR)) {
    const std::string name = each.path().filename().string();
    if (each.is_regular_file() && (each.path().extension() == ".a" || name == "tolvane" || name == "tolvane-fax"))
      binaries += read_file(each.path().string());
  }
  int modules = 0;
  for (const auto &each : fs::recursive_directory_iterator(TOLVANE_SOURCE_DIR "/src")) {
    if (each.path().extension() != ".cpp") continue;
    const std::string source = read_file(each.path().string());
    const std::regex definition(R"x(\[\[gnu::used\]\] const char SCCS_ID\[\] = "(@\(#\)\|)x" +
                                each.path().stem().string() +
                                R"x(\|9\|01\|\d+\|0\|0\|[01]\d/[0-3]\d/\d\d\|[0-2]\d:[0-5]\d:[0-5]\d)";)x");
    std::smatch stamp;
    ASSERT_TRUE(std::regex_search(source, stamp, definition)) << each << " has no stamp, or not its own";
    EXPECT_NE(binaries.find(stamp.str(1) + '\0'), std::string::npos) << stamp.str(1) << " is not in what was built";
    ++modules;
  }
  EXPECT_GT(modules, 50);
}
