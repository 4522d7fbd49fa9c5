#include "view/small_database.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"
#include "view/view_state.h"

using namespace tolvane;
using namespace std::string_literals;

TEST(SmallDatabase, ReadsHeadersByItsOwnTolerance) {
  const std::string magic = big_endian(0xBADBAD16), text = "#PAGES:2\nRESOLUTION:1\n\x1d";
  std::string full = "#PAGES:7\n";
  for (int i = 1; i < 99; i++) full += "K" + std::to_string(i) + ":v\n";
  const struct {
    std::string bytes;
    uint32_t result;  // 0 also stands for the length of the header text
    int32_t pages;
    std::string resolution;
  } rows[] = {
      {fax_bytes("#PAGES:3\nINCLUDE_PAGES:2\nRESOLUTION: 1\n"), 0, 5, " 1"},
      {fax_bytes("#PAGES:x\nPAGES:4\nINCLUDE_PAGES:2\n"), 0, 2, ""},
      {fax_bytes("RESOLUTION:1:34567890123456789012\n"), 0, 0, "1:34567890123456789"},
      {fax_bytes("#PAGES:999999999999\nINCLUDE_PAGES:999999999999999999\n"), 0, INT32_MAX, ""},
      {fax_bytes("\0\0#PAGES:2\n\0RESOLUTION:1\0x\n"s), 0, 2, "1"},
      {fax_bytes("RESOLUTION:1\n\n#PAGES:2\n"), 0, 0, "1"},               // the line feed begins the next name
      {fax_bytes("TEXT\n#PAGES:2\n:RESOLUTION:1\nPAGES:3\n"), 0, 3, ""},  // names run on; a colon may begin one
      {fax_bytes("#PAGES:2\nSUB\x1dJECT:a\n"), 0, 0, ""},
      {fax_bytes("#PAGES:2\nRESOLUTION:1"), 0, 0, ""},
      {fax_bytes(full), 0, 7, ""},
      {fax_bytes(full + "K99:v\n"), 0, 0, ""},
      {fax_bytes("SUBJECT:" + std::string(70000, 's') + "\n#PAGES:2\n"), 0, 2, ""},
      {magic + big_endian(0xffffffff) + text, 0xffffffff, 2, "1"},  // 4 GB promised
      {magic + big_endian(9) + text, 9, 0, ""},                     // the terminator is not among these
  };
  const TempDir dir;
  const std::string good = dir.write("good", fax_bytes("#PAGES:9\nRESOLUTION:9\n"));
  for (const auto &[bytes, result, pages, resolution] : rows) {
    EXPECT_EQ(tn_extract_header_info(dir.write("fax", bytes).c_str()), result ? result : bytes.size() - 8) << bytes;
    EXPECT_EQ(Total_pages, pages) << bytes;
    EXPECT_EQ(Resolution, resolution) << bytes;
  }
  mkfifo(dir.path("fifo").c_str(), 0600);
  for (const std::string &bytes : {""s, text, magic, magic + big_endian(0) + text}) {
    for (const std::string &path : {dir.write("bad", bytes), dir.path("fifo"), dir.path("absent")}) {
      tn_extract_header_info(good.c_str());
      EXPECT_EQ(tn_extract_header_info(path.c_str()), 0u) << path << bytes;
      EXPECT_EQ(Total_pages + strlen(Resolution), 0u) << path << bytes;
    }
  }
  free_header();
}
