#include "support/rev.h"

#include <gtest/gtest.h>

using namespace tolvane;

TEST(Rev, AccessorsGiveTheFieldsOfTheLastStamp) {
  const char *const stamps[] = {"@(#)|t4dec|9|01|3|4|5|07/26/99|14:28:31", nullptr, ""};
  const std::pair<const char *(*)(const char *), std::string> cases[] = {
      {rev_module, "t4dec"}, {rev_release, "9"},  {rev_minor_release, "01"},    {rev_level, "3"},
      {rev_branch, "4"},     {rev_sequence, "5"}, {rev_delta_date, "07/26/99"}, {rev_delta_time, "14:28:31"}};
  for (const auto &[accessor, field] : cases) EXPECT_EQ(accessor(nullptr), nullptr);
  for (const auto &[accessor, field] : cases)
    for (const char *stamp : stamps) EXPECT_EQ(accessor(stamp), field);
  // A failed split leaves what it found: an empty field is none, and the later ones move up.
  EXPECT_EQ(rev_release("@(#)|m||01|2|0|0|07/26/99|14:00:00"), nullptr);
  EXPECT_EQ(rev_module(nullptr) + std::string(rev_release(nullptr)), "m01");
  EXPECT_EQ(rev_delta_time(nullptr), nullptr);
}

TEST(Rev, VersionLine) {
  const std::pair<const char *, std::string> cases[] = {
      {"@(#)|bx_tolvane_main|9|01|2|0|0|07/26/99|14:48:54", "Version  9.2     Release 9.01"},
      {"@(#)|m|10|B1|3|0|0|07/26/99|14:00:00", "Version 10.3     Release 10B1"},
      {"@(#)|m||01|2|0|0|07/26/99|14:00:00", ""},
      {"@(#)", ""}};
  for (const auto &[stamp, line] : cases) {
    char buffer[64] = "";
    EXPECT_EQ(rev_revinfo(stamp, buffer), static_cast<int>(line.size()));
    EXPECT_EQ(buffer, line);
  }
}
