// The entry of every test program that needs a display: it starts one before the first test.

#include "x11/display.h"

#include <gmock/gmock.h>

int main(int argc, char **argv) {
  testing::InitGoogleMock(&argc, argv);
  testing::AddGlobalTestEnvironment(new TestDisplay);
  return RUN_ALL_TESTS();
}
