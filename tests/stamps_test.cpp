// Every module carries its version into the binaries, in the one form that tools can take apart.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "helpers/places.h"
#include "helpers/temp_dir.h"

namespace fs = std::filesystem;

TEST(Stamps, EveryModuleHasItsOwnInTheBinary) {
  std::string binaries;
  for (const auto &each : fs::recursive_directory_iterator(in_build(""))) {
    const std::string name = each.path().filename().string();
    if (each.is_regular_file() &&
        (name.ends_with(".a") || name == "tolvane" || name == "tolvane-fax" || name == "tolvane-pdf.so"))
      binaries += read_file(each.path().string());
  }
  const std::regex form(R"(@\(#\)\|(\w+)\|9\|01\|\d+\|0\|0\|\d\d/\d\d/\d\d\|\d\d:\d\d:\d\d)");
  std::set<std::string> stamped;
  for (std::sregex_iterator stamp(binaries.begin(), binaries.end(), form), end; stamp != end; ++stamp)
    stamped.insert((*stamp)[1]);
  for (const auto &each : fs::recursive_directory_iterator(in_checkout("src"))) {
    if (each.path().extension() != ".cpp") continue;
    EXPECT_TRUE(stamped.contains(each.path().stem().string())) << each.path() << " has no stamp in what was built";
  }
}
