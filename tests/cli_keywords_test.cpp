// `keywords`: only the lines of the name given change, whatever else holds that name.
#include <gmock/gmock.h>

#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"
#include "helpers/temp_dir.h"

using testing::HasSubstr;

namespace {
const std::string header =
    "SENDER_ADDRESS2:b\nINCLUDE_PAGES:0\nSUBJECT:old DATE:\n#PAGES:2\nFOLDERS:a\rb\nDATE:1\nno colon\nDATE:2\n"
    "SENDER_ADDRESS:a\n";
const std::vector<std::string> records = {"first", std::string(70000, 'x')};
}  // namespace

TEST(Keywords, EditsTouchTheLinesOfTheirNameAlone) {
  const TempDir dir;
  dir.write("from.fax", fax_bytes("#PAGES:9\nDATE:new\nSALUTATION:Hi\nDATE:newer\nRESOLUTION:1\n"));
  const struct {
    std::vector<std::string> words;  // behind the file
    const char *line, *replaced_by;  // in the header
  } cases[] = {
      {{"set", "DATE=3"}, "DATE:1\nno colon\nDATE:2\n", "DATE:3\nno colon\n"},
      {{"set", "SENDER_ADDRESS=c"}, "SENDER_ADDRESS:a\n", "SENDER_ADDRESS:c\n"},
      {{"set", "SUBJECT=two\nlines", "SENDER_CITY="}, "SUBJECT:old DATE:\n", "SUBJECT:two\rlines\n"},
      {{"add", "DATE=x=y:z", "DATE="}, nullptr, "DATE:x=y:z\nDATE:\n"},
      {{"add", "INCLUDE=cover.fax 1 2"}, nullptr, "INCLUDE:cover.fax 1 2\n"},
      {{"delete", "DATE"}, "DATE:1\nno colon\nDATE:2\n", "no colon\n"},
      {{"delete", "SENDER_ADDRESS", "FOLDERS"}, "SENDER_ADDRESS:a\n", ""},
      {{"delete", "SALUTATION"}, "", ""},
      {{"copy", "--from", dir.path("from.fax")}, "DATE:1\nno colon\nDATE:2\n", "no colon\n"},
      {{"copy", "--from", dir.path("from.fax"), "SALUTATION"}, nullptr, "SALUTATION:Hi\n"},
  };
  for (const auto &row : cases) {
    std::string expected = header;
    if (row.line) {
      expected.replace(expected.find(row.line), strlen(row.line), row.replaced_by);
    } else {
      expected += row.replaced_by;
    }
    if (row.words.back() == "SENDER_CITY=") expected += "SENDER_CITY:\n";
    if (row.words.back() == "FOLDERS") expected.erase(expected.find("FOLDERS"), 12);
    if (row.words.back() == dir.path("from.fax")) expected += "DATE:new\nSALUTATION:Hi\nDATE:newer\n";
    dir.write("file.fax", fax_bytes(header, records) + "cut");
    std::vector<std::string> words = {"keywords", row.words[0], dir.path("file.fax")};
    words.insert(words.end(), row.words.begin() + 1, row.words.end());
    const ToolRun run = fax_tool(words);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(read_file(dir.path("file.fax")) == fax_bytes(expected, records) + "cut")
        << row.words[0] << row.words[1];
    EXPECT_EQ(dir.entries(), 2);
  }
}

TEST(Keywords, ValuesArePrintedWithTheirLineBreaks) {
  const TempDir dir;
  const std::string file = dir.write("file.fax", fax_bytes(header, records));
  const struct {
    std::vector<std::string> words;
    int status;
    const char *out;
  } cases[] = {
      {{"list", "-"},
       0,
       "SENDER_ADDRESS2:b\nINCLUDE_PAGES:0\nSUBJECT:old DATE:\n#PAGES:2\nFOLDERS:a\n\tb\nDATE:1\nno colon\n"
       "DATE:2\nSENDER_ADDRESS:a\n"},
      {{"get", file, "FOLDERS"}, 0, "a\nb\n"},
      {{"get", file, "DATE", "SENDER_ADDRESS"}, 0, "1\n2\na\n"},
      {{"get", file, "SALUTATION", "#PAGES"}, 2, "2\n"},
      {{"get", file, "INCLUDE"}, 2, ""},
  };
  for (const auto &row : cases) {
    std::vector<std::string> words = {"keywords"};
    words.insert(words.end(), row.words.begin(), row.words.end());
    const ToolRun run = fax_tool(words, {}, read_file(file));
    EXPECT_EQ(run.status, row.status) << run.err;
    EXPECT_EQ(run.out, row.out);
    EXPECT_EQ(run.err.empty(), row.status == 0);
  }
}

TEST(Keywords, WhatReadersCouldNotReadIsRefused) {
  const TempDir dir;
  std::string many;
  for (int i = 0; i < 89; ++i) many += "KEYWORDS:" + std::to_string(i) + "\n";
  const std::string before = fax_bytes(header + "INCLUDE:a.fax 3 1\n" + many, records);
  const std::string file = dir.write("file.fax", before);
  const struct {
    const char *action, *word;
    int status;
    const char *complaint;
  } cases[] = {
      {"set", "PAGES=1", 1, "PAGES"},
      {"set", "date=1", 1, "date"},
      {"set", "DATE", 1, "NAME=VALUE"},
      {"get", "SUBJET", 1, "SUBJET"},
      {"set", "RESOLUTION=2", 1, "RESOLUTION takes"},
      {"set", "COMPRESSION=4", 1, "COMPRESSION takes"},
      {"set", "COMPRESSION= ", 1, "COMPRESSION takes"},
      {"set", "#PAGES=-1", 1, "#PAGES takes"},
      {"set", "INCLUDE=a.fax 1", 1, "INCLUDE takes"},
      {"set", "SUBJECT=see INCLUDE:b.fax 1 1", 2, "INCLUDE:"},
      {"set", "SUBJECT=\x1d", 2, "byte 29"},
      {"add", "DATE=the hundredth line", 2, "99"},
      {"set", nullptr, 2, "10000"},  // a value of 10000 bytes
  };
  for (const auto &row : cases) {
    const std::string word = row.word ? row.word : "SUBJECT=" + std::string(10000, 'x');
    const ToolRun run = fax_tool({"keywords", row.action, file, word});
    EXPECT_EQ(run.status, row.status) << word << run.err;
    EXPECT_THAT(run.err, HasSubstr(row.complaint));
    EXPECT_TRUE(read_file(file) == before);
    EXPECT_EQ(dir.entries(), 1);
  }
}
