// Every module tells its version: in its source, and in what is built of it.
#include <gmock/gmock.h>

#include <filesystem>

#include "helpers/temp_dir.h"

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
  const std::string binaries = built_bytes(), definition = "[[gnu::used]] const char SCCS_ID[] = \"";
  int modules = 0;
  for (const auto &each : fs::recursive_directory_iterator(TOLVANE_SOURCE_DIR "/src")) {
    if (each.path().extension() != ".cpp") continue;
    SCOPED_TRACE(each.path().string());
    const std::string source = read_file(each.path().string());
    const size_t begin = source.find(definition);
    ASSERT_NE(begin, source.npos) << "no stamp";
    const std::string stamp =
        source.substr(begin + definition.size(), source.find("\";", begin) - begin - definition.size());
    EXPECT_THAT(stamp, testing::MatchesRegex("@\\(#\\)\\|" + each.path().stem().string() +
                                             R"(\|9\|01\|[0-9]+\|0\|0)"
                                             R"(\|[01][0-9]/[0-3][0-9]/[0-9]{2}\|[0-2][0-9]:[0-5][0-9]:[0-5][0-9])"));
    EXPECT_NE(binaries.find(stamp + '\0'), std::string::npos) << stamp << " is not in what was built";
    ++modules;
  }
  EXPECT_GT(modules, 50);
}
