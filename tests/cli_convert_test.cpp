// `convert`: pages judged by libtiff, header lines and permission bits held on to, files left alone where it fails.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "helpers/encoded_page.h"
#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"
#include "helpers/temp_dir.h"

using testing::AllOf;
using testing::HasSubstr;

TEST(Convert, SeveralFilesInSeveralProcesses) {
  const TempDir dir;
  const Picture chart = load_chart("itu7");
  std::vector<std::string> words = {"convert", "--jobs", "3", "--to", "mh"};
  for (int i = 0; i < 5; ++i) {
    const std::string file = dir.path(std::to_string(i) + ".fax");
    ASSERT_EQ(fax_tool({"create", "--coding", i % 2 ? "mmr" : "mr", file, "-"}, {}, pbm(chart)).status, 0);
    chmod(file.c_str(), 0600);
    words.push_back(file);
  }
  const ToolRun run = fax_tool(words);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out + run.err, "");
  for (size_t i = 5; i < words.size(); ++i) {
    const FaxParts parts = fax_parts(read_file(words[i]));
    EXPECT_EQ(parts.header, "#PAGES:1\nRESOLUTION:1\nCOMPRESSION:0\n");
    EXPECT_EQ(seen_by_libtiff(parts.records.at(0), "mh", 2376), chart);
    struct stat status;
    EXPECT_EQ(stat(words[i].c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
  }
  EXPECT_EQ(dir.entries(), 5);
}

// The library's converter believes #PAGES and keeps one line of each name.
TEST(Convert, NoPageAndNoHeaderLineIsLost) {
  const TempDir dir;
  const Picture first = random_page(1, 9), second = random_page(2, 5);
  const std::vector<std::string> pages = {encoded_page(first, 3), encoded_page(second, 3)};
  const struct {
    const char *before, *after, *complaint;
  } cases[] = {
      {"#PAGES:2\nSUBJECT:\nRESOLUTION:1\nCOMPRESSION:3\n", "#PAGES:2\nSUBJECT:\nRESOLUTION:1\nCOMPRESSION:0\n", ""},
      {"RESOLUTION:1\nCOMPRESSION:3\n", "RESOLUTION:1\nCOMPRESSION:0\n#PAGES:2\n", "#PAGES is set to 2"},
      {"#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n", "#PAGES:2\nRESOLUTION:1\nCOMPRESSION:0\n", "#PAGES is set to 2"},
      {"COMPRESSION:1\n#PAGES:2\nno colon\nRESOLUTION:1\nSUBJECT:a\nSUBJECT:b\nCOMPRESSION:3\n",
       "COMPRESSION:0\n#PAGES:2\nno colon\nRESOLUTION:1\nSUBJECT:a\nSUBJECT:b\nCOMPRESSION:0\n", ""},
      {"#PAGES:2\nRESOLUTION:1\nCOMPRESSION:3\nINCLUDE:cover.fax 1 1\nINCLUDE:cover.fax 3 1\n",
       "#PAGES:2\nRESOLUTION:1\nCOMPRESSION:0\nINCLUDE:cover.fax 1 1\nINCLUDE:cover.fax 3 1\n", "convert that too"},
  };
  dir.write("cover.fax", fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n", {pages[0]}));
  for (const auto &row : cases) {
    const std::string file = dir.write("file.fax", fax_bytes(row.before, pages));
    const ToolRun run = fax_tool({"convert", "--to", "mh", file});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr(row.complaint));
    const FaxParts parts = fax_parts(read_file(file));
    EXPECT_EQ(parts.header, row.after);
    ASSERT_EQ(parts.records.size(), 2U);
    EXPECT_EQ(seen_by_libtiff(parts.records[0], "mh", 9), first);
    EXPECT_EQ(seen_by_libtiff(parts.records[1], "mh", 5), second);
    EXPECT_EQ(dir.entries(), 2);
  }
}

TEST(Convert, AFileIsConvertedWholeOrNotAtAll) {
  const TempDir dir;
  std::string damaged = encoded_page(random_page(5, 60), 3);
  for (size_t i = damaged.size() / 2; i < damaged.size() / 2 + 8; ++i) damaged[i] = '\x24';
  std::string damaged_mh = encoded_page(random_page(5, 60), 0);
  damaged_mh[damaged_mh.size() / 2] = static_cast<char>(damaged_mh[damaged_mh.size() / 2] ^ 0xFF);
  const std::string good = encoded_page(random_page(6, 9), 3);
  const struct {
    std::string bytes;
    int status;
    std::vector<const char *> complaints;
    bool converted;
  } cases[] = {
      {fax_bytes("#PAGES:2\nRESOLUTION:1\nCOMPRESSION:3\n", {good, damaged}),
       2,
       {"page 2: line ", "not converted"},
       false},
      {fax_bytes("RESOLUTION:1\nCOMPRESSION:3\n", {good, damaged}), 2, {"page 2: line ", "not converted"}, false},
      {fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:0\n", {damaged_mh}), 3, {"page 1: line "}, true},
      {fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n", {good}).substr(0, 60), 2, {"cut short"}, false},
      {fax_bytes("#PAGES:1\nRESOLUTION:3\nCOMPRESSION:3\n", {good}), 2, {"300 lpi"}, false},
      {fax_bytes("#PAGES:1\nCOMPRESSION:3\n", {good}), 2, {"no RESOLUTION"}, false},
      {fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:2\n", {good}), 2, {"UMMR"}, false},
      {fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:1\n", {encoded_page(random_page(6, 9), 1)}), 0, {}, false},
      {"text", 2, {"not a fax file"}, false},
  };
  const std::string other = dir.path("other.fax");
  for (const auto &row : cases) {
    const std::string file = dir.write("file.fax", row.bytes);
    dir.write("other.fax", fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n", {good}));
    const ToolRun run = fax_tool({"convert", "--to", "mr", file, other});
    EXPECT_EQ(run.status, row.status) << run.err;
    EXPECT_EQ(run.out, "");
    for (const char *complaint : row.complaints) EXPECT_THAT(run.err, HasSubstr(complaint));
    EXPECT_EQ(read_file(file) != row.bytes, row.converted) << run.err;
    EXPECT_THAT(fax_parts(read_file(other)).header, HasSubstr("COMPRESSION:1\n"));
    EXPECT_EQ(dir.entries(), 2);
  }
}
