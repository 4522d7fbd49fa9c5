#include "support/rev.h"

#include <gtest/gtest.h>

using namespace tolvane;

static const char *const STAMP = "@(#)|t4dec|9|01|3|0|0|07/26/99|14:28:31";

TEST(Rev, AccessorsGiveTheFieldsOfTheLastStamp) {
  const struct {
    const char *(*accessor)(const char *);
    const char *field;
  } cases[] = {{rev_module, "t4dec"}, {rev_release, "9"},  {rev_minor_release, "01"},    {rev_level, "3"},
               {rev_branch, "0"},     {rev_sequence, "0"}, {rev_delta_date, "07/26/99"}, {rev_delta_time, "14:28:31"}};
  for (const auto &each : cases) EXPECT_EQ(each.accessor(nullptr), nullptr);
  for (const auto &each : cases)
    for (const char *stamp : {STAMP, static_cast<const char *>(nullptr), ""})
      EXPECT_STREQ(each.accessor(stamp), each.field);
  // A failed split leaves what it found: an empty field is none, and the later ones move up.
  EXPECT_EQ(rev_release("@(#)|m||01|2|0|0|07/26/99|14:00:00"), nullptr);
  EXPECT_STREQ(rev_module(nullptr), "m");
  EXPECT_STREQ(rev_release(nullptr), "01");
  EXPECT_EQ(rev_delta_time(nullptr), nullptr);
}

TEST(Rev, VersionLine) {
  const struct {
    const char *stamp, *line;
  } cases[] = {{"@(#)|bx_tolvane_main|9|01|2|0|0|07/26/99|14:48:54", "Version  9.2     Release 9.01"},
               {"@(#)|m|10|B1|3|0|0|07/26/99|14:00:00", "Version 10.3     Release 10B1"},
               {"@(#)|m||01|2|0|0|07/26/99|14:00:00", ""},
               {"@(#)", ""}};
  for (const auto &each : cases) {
    char buffer[64] = "";
    EXPECT_EQ(rev_revinfo(each.stamp, buffer), static_cast<int>(strlen(each.line)));
    EXPECT_STREQ(buffer, each.line);
  }
}
