#include "support/ks_functions.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <functional>

#include "helpers/temp_dir.h"

using namespace tolvane;
using testing::MatchesRegex;
using namespace testing::internal;

static std::string errors_of(const std::function<void()> &call) {
  CaptureStderr();
  call();
  return GetCapturedStderr();
}

static std::string report_of(void (*report)()) {
  CaptureStdout();
  report();
  return GetCapturedStdout();
}

static char *block_of(unsigned size) {
  return static_cast<char *>(dmalloc(size, "a_long_source_name.cpp", 123));
}

static const std::string WHEN = "[A-Z][a-z][a-z] [ 0-9][0-9] [0-9][0-9]:[0-9][0-9]: ";

TEST(DebugAllocator, LaysBlocksOutBetweenGuardsAndMovesWhatFits) {
  for (const unsigned size : {0u, 1u, 37u}) {
    char *block = block_of(size);
    EXPECT_EQ(std::string(block - 4, size + 8), "zzzz" + std::string(size, '\0') + "zzzz");
    EXPECT_EQ(block[-8], find_block(block));
  }
  char *block = block_of(2);
  block[0] = block[1] = 'a';
  for (const auto &[size, layout] : {std::pair(4, std::string("aa\0\0zzzz", 8)), {1, "azzzz"}}) {
    block = static_cast<char *>(drealloc(block, size, "b.cpp", size));
    EXPECT_EQ(std::string(block, layout.size()), layout);
    EXPECT_EQ(malloc_array[find_block(block)]->line_no, size);
  }
}

TEST(DebugAllocator, TellsOverrunsOfOneByteAndReleasesTheBlock) {
  for (const int offset : {-1, -4, 10, 13}) {  // the guards' own bytes, in front of the block and behind it
    char *block = block_of(10);
    block[offset] = 'y';
    EXPECT_THAT(report_of(dmalloc_status),
                MatchesRegex("\aa_long_source_na,   line  123,   " + WHEN + "    10 bytes  CORRUPTED!\n"));
    EXPECT_THAT(errors_of([&] { EXPECT_EQ(dfree(block, "b.cpp", 9), 0); }),
                MatchesRegex("\a\nError in dfree: freed by b.cpp, 9, freeing fname = a_long_source_na, "
                             "line_no = 123, nbytes = 10, time = [0-9]+, indx = 0\n"));
    EXPECT_EQ(errors_of([&] { EXPECT_EQ(dfree(block, "b.cpp", 5), 0); }),
              "\a\nError in dfree: couldn't find pointer to free! (b.cpp, 5)\n");
  }
}

TEST(OpenLedger, KnowsWhatIsOpen) {
  const TempDir dir;
  const std::string path = dir.path("f");
  const int created = dcreat(path.c_str(), 0640, "one.cpp", 1);
  const int opened = dopen(path.c_str(), O_RDONLY, 0, "a_long_source_name.cpp", 2);
  FILE *stream = dfopen(path.c_str(), "r", "three.cpp", 3);
  EXPECT_THAT(report_of(dopen_status),
              MatchesRegex("         one.cpp,   line    1,   " + WHEN + std::to_string(created) +
                           "\na_long_source_na,   line    2,   " + WHEN + std::to_string(opened) +
                           "\n       three.cpp,   line    3,   " + WHEN + "0x[0-9a-f]+\n"));
  EXPECT_EQ(dclose(created, "x", 5) + dclose(opened, "x", 6) + dfclose(stream, "x", 7), 0);
  EXPECT_EQ(report_of(dopen_status), "");
}
