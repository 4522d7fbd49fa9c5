#include "view/small_database.h"

#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"
#include "view/view_state.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace tolvane;

namespace {

std::string lines(int count) {
  std::string text;
  for (int i = 1; i < count; i++) text += "K" + std::to_string(i) + ":v\n";
  return text + "#PAGES:7\n";
}

}  // namespace

TEST(SmallDatabase, CountsPagesAndCutsValuesByItsOwnTolerance) {
  using std::string_literals::operator""s;
  struct Row {
    const char *what;
    std::string lines;
    int32_t pages;
    std::string resolution;
  };
  const Row rows[] = {
      {"both counts", "#PAGES:3\nINCLUDE_PAGES:2\nRESOLUTION: 1\n", 5, " 1"},
      {"PAGES stands in", "PAGES:4\n", 4, ""},
      {"an empty count is none", "#PAGES:\nPAGES:4\n", 4, ""},
      {"text counts 0 and is not empty", "#PAGES:x\nPAGES:4\nINCLUDE_PAGES:2\n", 2, ""},
      {"the first line of a name counts", "#PAGES:1\n#PAGES:2\nRESOLUTION:0\nRESOLUTION:1\n", 1, "0"},
      {"case differs", "#pages:3\nResolution:1\n", 0, ""},
      {"colons in a value", "RESOLUTION:1:2\n#PAGES:2\n", 2, "1:2"},
      {"a long value is cut", "RESOLUTION:1234567890123456789012\n", 0, "1234567890123456789"},
      {"counts beyond their range", "#PAGES:999999999999\nINCLUDE_PAGES:999999999999999999\n", INT32_MAX, ""},
      {"zero bytes between lines", "\0\0#PAGES:2\n\0RESOLUTION:1\n\0"s, 2, "1"},
      {"zero byte in a value", "RESOLUTION:1\0x\n#PAGES:2\n"s, 2, "1"},
      {"an empty line spoils the next name", "RESOLUTION:1\n\n#PAGES:2\n", 0, "1"},
      {"a line without colon runs on", "TEXT\n#PAGES:2\nPAGES:3\n", 3, ""},
      {"a colon first is a letter of the name", ":#PAGES:2\nPAGES:3\n", 3, ""},
      {"no line at all", "", 0, ""},
      {"29 in a value loses all", "#PAGES:2\nSUBJECT:a\x1d"s + "b\n", 0, ""},
      {"29 in a name loses all", "#PAGES:2\nSUB\x1dJECT:a\n", 0, ""},
      {"29 first ends the text", "#PAGES:2\n\x1dRESOLUTION:1\n", 2, ""},
      {"a last line left open loses all", "#PAGES:2\nRESOLUTION:1", 0, ""},
      {"a last name left open loses all", "#PAGES:2\nRESOLUTION", 0, ""},
      {"99 lines", lines(99), 7, ""},
      {"100 lines", lines(100), 0, ""},
      {"no limit of length", "SUBJECT:" + std::string(70000, 's') + "\n#PAGES:2\n", 2, ""},
  };
  const TempDir dir;
  for (const Row &row : rows) {
    const std::string path = dir.write("fax", fax_bytes(row.lines));
    EXPECT_EQ(tn_extract_header_info(path.c_str()), row.lines.size() + 1) << row.what;
    EXPECT_EQ(Total_pages, row.pages) << row.what;
    EXPECT_EQ(Resolution, row.resolution) << row.what;
  }
  free_header();
  EXPECT_STREQ(find_keyword("#PAGES"), "");
}

TEST(SmallDatabase, BadFilesLeaveItEmptyAndCostNothing) {
  // Far below the 4 GB that some of the headers promise, and a FIFO that nobody writes to must not block.
  const rlimit memory{rlim_t{1} << 31, rlim_t{1} << 31};
#if !defined(__SANITIZE_ADDRESS__)
  ASSERT_EQ(setrlimit(RLIMIT_AS, &memory), 0);
#endif
  const std::string good = fax_bytes("#PAGES:2\nRESOLUTION:1\n");
  const std::string magic = good.substr(0, 4);
  struct Row {
    const char *what;
    std::string bytes;
    uint32_t result;
    int32_t pages;
  };
  const Row rows[] = {
      {"empty", "", 0, 0},
      {"three bytes", "\xba\xdb\xad", 0, 0},
      {"text", "#PAGES:2\n", 0, 0},
      {"other magic", "\xba\xdb\xad\x17" + good.substr(4), 0, 0},
      {"no length", magic, 0, 0},
      {"half a length", good.substr(0, 6), 0, 0},
      {"length 0", magic + big_endian(0) + good.substr(8), 0, 0},
      {"no text", good.substr(0, 8), 0, 0},
      {"4 GB of which little is there", magic + big_endian(0xffffffff) + good.substr(8), 0xffffffff, 2},
      {"cut before the terminator", good.substr(0, good.size() - 1), 23, 0},
      {"terminator before the stated end", magic + big_endian(40) + good.substr(8) + std::string(40, 'x'), 40, 2},
      {"terminator behind the stated end", magic + big_endian(9) + good.substr(8), 9, 0},
  };
  const TempDir dir;
  const std::string good_path = dir.write("good", good), fifo = dir.path("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (const Row &row : rows) {
    ASSERT_EQ(tn_extract_header_info(good_path.c_str()), 23u);
    EXPECT_EQ(tn_extract_header_info(dir.write("bad", row.bytes).c_str()), row.result) << row.what;
    EXPECT_EQ(Total_pages, row.pages) << row.what;
    EXPECT_STREQ(Resolution, row.pages ? "1" : "") << row.what;
  }
  for (const std::string &path : {fifo, dir.string(), dir.path("absent")}) {
    ASSERT_EQ(tn_extract_header_info(good_path.c_str()), 23u);
    EXPECT_EQ(tn_extract_header_info(path.c_str()), 0u) << path;
    EXPECT_EQ(Total_pages, 0) << path;
    EXPECT_STREQ(find_keyword("RESOLUTION"), "") << path;
  }
}
