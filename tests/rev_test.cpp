#include "support/rev.h"

#include <gtest/gtest.h>

using namespace tolvane;

TEST(Rev, VersionLine) {
  const std::pair<const char *, std::string> cases[] = {
      {"@(#)|bx_tolvane_main|9|01|2|0|0|07/26/99|14:48:54", "Version  9.2     Release 9.01"},
      {"@(#)|m|10|B1|3|0|0|07/26/99|14:00:00", "Version 10.3     Release 10B1"},
      {"@(#)", ""}};
  for (const auto &[stamp, line] : cases) {
    char buffer[64] = "";
    EXPECT_EQ(rev_revinfo(stamp, buffer), static_cast<int>(line.size()));
    EXPECT_EQ(buffer, line);
  }
}
