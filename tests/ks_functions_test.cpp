#include "support/ks_functions.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include "helpers/temp_dir.h"

using namespace tolvane;
using testing::MatchesRegex;
using namespace testing::internal;

template <typename Call>
static std::string errors_of(Call call) {
  CaptureStderr();
  call();
  return GetCapturedStderr();
}

static std::string report_of(void (*report)()) {
  CaptureStdout();
  report();
  return GetCapturedStdout();
}

static char *block_of(unsigned size, int line = 1) {
  return static_cast<char *>(dmalloc(size, "a_long_source_name.cpp", line));
}

static const std::string WHEN = "[A-Z][a-z][a-z] [ 0-9][0-9] [0-9][0-9]:[0-9][0-9]: ";

TEST(DebugAllocator, LaysBlocksOutBetweenGuardsAndMovesWhatFits) {
  for (const unsigned size : {0u, 1u, 37u}) {
    char *block = block_of(size);
    EXPECT_EQ(std::string(block - 4, size + 8), "zzzz" + std::string(size, '\0') + "zzzz");
    EXPECT_EQ(block[-8], find_block(block));
  }
  EXPECT_EQ(dfree(malloc_array[1]->addr, "a.cpp", 8), 1);
  char *block = block_of(2);
  EXPECT_EQ(find_block(block), 1) << "the lowest empty slot is the next one";
  block[0] = block[1] = 'a';
  for (const auto &[size, layout] : {std::pair(4, std::string("aa\0\0zzzz", 8)), {1, "azzzz"}}) {
    block = static_cast<char *>(drealloc(block, size, "b.cpp", size));
    EXPECT_EQ(std::string(block, layout.size()), layout);
    EXPECT_EQ(malloc_array[find_block(block)]->line_no, size);
  }
  EXPECT_TRUE(!block_of(0x80000000u) && !drealloc(block, -1, "b.cpp", 4));
  EXPECT_EQ(report_of(dmalloc_status) + std::to_string(Total_allocated), "38") << "the old block stays";
}

TEST(DebugAllocator, TellsOverrunsOfOneByteAndReleasesTheBlock) {
  for (const int offset : {-1, -4, 10, 13}) {  // the guards' own bytes, in front of the block and behind it
    char *block = block_of(10, 123);
    block[offset] = 'y';
    EXPECT_THAT(report_of(dmalloc_status),
                MatchesRegex("\aa_long_source_na,   line  123,   " + WHEN + "    10 bytes  CORRUPTED!\n"));
    EXPECT_THAT(errors_of([&] { EXPECT_EQ(dfree(block, "b.cpp", 9), 0); }),
                MatchesRegex("\a\nError in dfree: freed by b.cpp, 9, freeing fname = a_long_source_na, "
                             "line_no = 123, nbytes = 10, time = [0-9]+, indx = 0\n"));
    EXPECT_EQ(Total_allocated + find_block(block), -1);
  }
}

TEST(DebugAllocator, ReportsSortByAgeAndFreesStillFindTheirBlocks) {
  char *blocks[] = {block_of(1, 1), block_of(1, 2), block_of(1, 3)};
  for (int i = 0; i < 3; ++i) malloc_array[i]->time -= i;
  blocks[0][-8] = blocks[2][-8] = 99;  // an index above any slot filled
  EXPECT_EQ(dfree(blocks[1], "a.cpp", 9), 1);
  EXPECT_THAT(report_of(dmalloc_status), MatchesRegex("[^\n]*line    3[^\n]*\n[^\n]*line    1[^\n]*\n"));
  EXPECT_EQ(find_block(blocks[0]), 1);
  EXPECT_EQ(dfree(blocks[0], "a.cpp", 2), 1) << "the index in the block does not decide";
  for (const auto &[pointer, what] : {std::pair<void *, std::string>{blocks[1], "couldn't find pointer to free!"},
                                      {nullptr, "trying to free NULL pointer"}}) {
    const std::string told = "\a\nError in dfree: " + what + " (b.cpp, 5)\n";
    EXPECT_EQ(errors_of([p = pointer] { EXPECT_EQ(dfree(p, "b.cpp", 5), 0); }), told);
    EXPECT_EQ(errors_of([p = pointer] { EXPECT_EQ(dfree(drealloc(p, 4, "b.cpp", 5), "b.cpp", 6), 1); }), told);
  }
}

TEST(DebugAllocator, FullTablesAreToldOnceAndNotOverrun) {
  malloc_record block{};
  open_record file{};
  std::fill(std::begin(malloc_array), std::end(malloc_array), &block);
  std::fill(std::begin(open_array), std::end(open_array), &file);
  const auto fill = [] {
    for (int i = 0; i < 2; ++i) free(block_of(4) - 8), close(dopen("/dev/null", O_RDONLY, 0, "a.cpp", 7));
  };
  EXPECT_EQ(errors_of(fill),
            "\a\nError in dmalloc: all 100000 records are in use, going on without\n"
            "\a\nError in dopen: all 2000 records are in use, going on without\n");
  EXPECT_EQ(Total_allocated, 0);
}

TEST(OpenLedger, KnowsWhatIsOpen) {
  const TempDir dir;
  const std::string path = dir.path("f");
  const int created = dcreat(path.c_str(), 0640, "one.cpp", 1);
  const int opened = dopen(path.c_str(), O_RDONLY, 0, "a_long_source_name.cpp", 2);
  FILE *stream = dfopen(path.c_str(), "r", "three.cpp", 3);
  EXPECT_TRUE(dopen("/no/x", O_RDONLY, 0, "x.cpp", 4) == -1 && !dfopen("/no/x", "r", "x.cpp", 4) && !open_array[3]);
  EXPECT_EQ(open_array[2]->path, path);
  for (int i = 0; i < 3; ++i) open_array[i]->time = 3000 - i;
  open_record boundaries[] = {{"h", 1, nullptr, 9000, 2000}, {"h", 2, nullptr, 9001, 2001}};
  for (open_record &each : boundaries) open_array[Max_open_indx += 1] = &each;
  std::ostringstream address;
  address << stream;
  const auto line = [](const std::string &fname, int number, const std::string &handle) {
    return fname + ",   line    " + std::to_string(number) + ",   " + WHEN + handle + "\n";
  };
  EXPECT_THAT(report_of(dopen_status), MatchesRegex(line("       three.cpp", 3, address.str()) +
                                                    line("a_long_source_na", 2, std::to_string(opened)) +
                                                    line("         one.cpp", 1, std::to_string(created)) +
                                                    line(" {15}h", 1, "2000") + line(" {15}h", 2, "0x7d1")));
  open_array[3] = open_array[4] = nullptr;
  const auto close_all = [&] { return dclose(created, "x", 5) + dclose(opened, "x", 6) + dfclose(stream, "x", 7); };
  EXPECT_EQ(errors_of([&] { EXPECT_EQ(close_all(), 0); }), "");
  EXPECT_EQ(report_of(dopen_status), "");
  // What is not there is told, and closed all the same.
  const int fd = open("/dev/null", O_RDONLY);
  stream = fopen("/dev/null", "r");
  EXPECT_EQ(errors_of([&] { EXPECT_EQ(dclose(fd, "a.cpp", 5) + dfclose(stream, "a.cpp", 6), 0); }),
            "\a\nError in dclose: couldn't find file descriptor to close! (a.cpp, 5)\n"
            "\a\nError in dfclose: couldn't find FILE pointer to close! (a.cpp, 6)\n");
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
}
