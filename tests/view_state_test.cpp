#include "view/view_state.h"

#include <gtest/gtest.h>

using namespace tolvane;

TEST(ViewState, SizesFollowFromTheDivisor) {
  EXPECT_EQ(scale_sizes(1).Ysize, 2325);
  EXPECT_EQ(scale_sizes(2).Ysize8, 218);
  EXPECT_EQ(scale_sizes(7).Xsize, 864);
}
