// Every module tells its version in what is built of it.
#include <gtest/gtest.h>

#include "helpers/places.h"
#include "helpers/temp_dir.h"

namespace fs = std::filesystem;

TEST(Stamps, EveryModuleHasItsOwnInTheBinary) {
  std::string binaries;
  for (const auto &each : fs::recursive_directory_iterator(in_build(""))) {
    const std::string name = each.path().filename().string();
    if (each.is_regular_file() && (name.ends_with(".a") || name == "tolvane" || name == "tolvane-fax"))
      binaries += read_file(each.path().string());
  }
  for (const auto &each : fs::recursive_directory_iterator(in_checkout("src")))
    if (each.path().extension() == ".cpp") {
      const std::string stamp = "@(#)|" + each.path().stem().string() + "|9|01|";
      EXPECT_NE(binaries.find(stamp), std::string::npos) << stamp << " is not in what was built";
    }
}
