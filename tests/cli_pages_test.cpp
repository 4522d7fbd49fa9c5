// `append`, `insert`, `include`, `merge` and `split`: which records stand where afterwards, and what the header says.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "helpers/encoded_page.h"
#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"
#include "helpers/temp_dir.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const std::string modes = "RESOLUTION:1\nCOMPRESSION:3\n";

/// The record in fine MMR of a page that is known by its number of lines.
std::string page(uint32_t lines) {
  return encoded_page(random_page(lines, lines), 3);
}

/// The header line that says how many pages there are, and the coding.
std::string head(int pages) {
  return "#PAGES:" + std::to_string(pages) + "\n" + modes;
}

class Pages : public testing::Test {
 protected:
  Pages() {
    dir.write("cover.fax", fax_bytes(head(2), {page(1), page(2)}));
    dir.write("main.fax",
              fax_bytes(head(3) + "INCLUDE:cover.fax 1 1\nSUBJECT:INCLUDE is a word\nINCLUDE:cover.fax 3 2\n"
                                  "INCLUDE_PAGES:3\n",
                        {page(11), page(12), page(13)}));
    for (const uint32_t lines : {21U, 22U}) dir.write(std::to_string(lines) + ".pbm", pbm(random_page(lines, lines)));
    dir.write("text.txt", "no pages\n");
  }
  ToolRun run(const std::vector<std::string> &words) { return fax_tool(words, dir.string()); }
  FaxParts parts(const std::string &name) { return fax_parts(read_file(dir.path(name))); }

  TempDir dir;
};

}  // namespace

TEST_F(Pages, AddingKeepsInclusionsInFrontOfTheirPages) {
  const std::string subject = "SUBJECT:INCLUDE is a word\n";
  const struct {
    std::vector<std::string> words;
    std::string header;
    std::vector<uint32_t> pages;
  } cases[] = {
      {{"append", "main.fax", "21.pbm", "22.pbm"},
       head(5) + "INCLUDE:cover.fax 1 1\n" + subject + "INCLUDE:cover.fax 3 2\nINCLUDE_PAGES:3\n",
       {11, 12, 13, 21, 22}},
      {{"insert", "1", "main.fax", "21.pbm"},
       head(4) + "INCLUDE:cover.fax 1 1\n" + subject + "INCLUDE:cover.fax 4 2\nINCLUDE_PAGES:3\n",
       {21, 11, 12, 13}},
      {{"insert", "3", "main.fax", "21.pbm", "22.pbm"},
       head(5) + "INCLUDE:cover.fax 1 1\n" + subject + "INCLUDE:cover.fax 3 2\nINCLUDE_PAGES:3\n",
       {11, 12, 21, 22, 13}},
      {{"insert", "4", "main.fax", "21.pbm"},
       head(4) + "INCLUDE:cover.fax 1 1\n" + subject + "INCLUDE:cover.fax 3 2\nINCLUDE_PAGES:3\n",
       {11, 12, 13, 21}},
      {{"include", "cover.fax", "2", "2", "main.fax"},
       head(3) + "INCLUDE:cover.fax 1 1\n" + subject +
           "INCLUDE:cover.fax 2 2\nINCLUDE:cover.fax 3 2\nINCLUDE_PAGES:5\n",
       {11, 12, 13}},
      {{"include", "cover.fax", "1", "2", "main.fax"},
       head(3) + "INCLUDE:cover.fax 1 1\n" + subject +
           "INCLUDE:cover.fax 1 2\nINCLUDE:cover.fax 3 2\nINCLUDE_PAGES:5\n",
       {11, 12, 13}},
      {{"include", "cover.fax", "4", "1", "main.fax"},
       head(3) + "INCLUDE:cover.fax 1 1\n" + subject +
           "INCLUDE:cover.fax 3 2\nINCLUDE_PAGES:4\nINCLUDE:cover.fax 4 1\n",
       {11, 12, 13}},
  };
  const std::string before = read_file(dir.path("main.fax"));
  for (const auto &row : cases) {
    dir.write("main.fax", before);
    chmod(dir.path("main.fax").c_str(), 0640);
    const ToolRun done = run(row.words);
    EXPECT_EQ(done.status, 0) << done.err;
    FaxParts expected = {row.header, {}};
    for (const uint32_t lines : row.pages) expected.records.push_back(page(lines));
    EXPECT_EQ(parts("main.fax").header, expected.header);
    EXPECT_TRUE(parts("main.fax") == expected) << row.words[0] << " " << row.words[1];
    struct stat status;
    EXPECT_EQ(stat(dir.path("main.fax").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
  }
}

// Pages are coded as the file is; a record in MR has a word of zeros more than the encoder gives.
TEST_F(Pages, AppendFollowsTheCodingOfTheFile) {
  const Picture added = random_page(21, 21);
  const std::pair<char, std::string> codings[] = {{'0', encoded_page(added, 0)},
                                                  {'1', encoded_page(added, 1) + std::string(2, '\0')},
                                                  {'3', encoded_page(added, 3)}};
  for (const auto &[character, record] : codings) {
    dir.write("new.fax", fax_bytes(std::string("COMPRESSION:") + character + "\nRESOLUTION:1\n"));
    EXPECT_EQ(run({"append", "new.fax", "21.pbm"}).status, 0);
    EXPECT_TRUE(parts("new.fax").records.at(0) == record) << character;
    EXPECT_THAT(parts("new.fax").header, HasSubstr("#PAGES:1\n"));
  }
}

TEST_F(Pages, WhatCannotBeDoneLeavesTheFileAlone) {
  dir.write("other.fax", fax_bytes("RESOLUTION:1\nCOMPRESSION:0\n", {encoded_page(random_page(5, 5), 0)}));
  dir.write("back.fax", fax_bytes(head(1) + "INCLUDE:main.fax 1 2\nINCLUDE_PAGES:2\n", {page(9)}));
  dir.write("loop.fax", fax_bytes(head(1) + "INCLUDE:loop.fax 1 1\nINCLUDE_PAGES:1\n", {page(9)}));
  dir.write("cut.fax", fax_bytes(head(2), {page(9), page(8)}).substr(0, 100 + page(9).size()));
  dir.write("ummr.fax", fax_bytes("RESOLUTION:1\nCOMPRESSION:2\n", {page(9)}));
  dir.write("300.fax", fax_bytes("RESOLUTION:3\nCOMPRESSION:3\n", {page(9)}));
  dir.write("fall.fax", fax_bytes(head(1) + "INCLUDE:cover.fax 2 1\nINCLUDE:cover.fax 1 1\n", {page(9)}));
  const struct {
    std::vector<std::string> words;
    int status;
    const char *complaint;
  } cases[] = {
      {{"append", "main.fax", "text.txt"}, 2, "text.txt: not a TIFF"},
      {{"append", "main.fax", "21.pbm", "missing.pbm"}, 2, "missing.pbm: No such file"},
      {{"append", "main.fax", "cover.fax"}, 2, "merge"},
      {{"append", "text.txt", "21.pbm"}, 2, "text.txt: not a fax file"},
      {{"append", "cut.fax", "21.pbm"}, 2, "cut short"},
      {{"append", "ummr.fax", "21.pbm"}, 2, "UMMR"},
      {{"append", "300.fax", "21.pbm"}, 2, "300 lpi"},
      {{"append", "fall.fax", "21.pbm"}, 2, "INCLUDE"},
      {{"insert", "5", "main.fax", "21.pbm"}, 2, "no place 5"},
      {{"insert", "0", "main.fax", "21.pbm"}, 1, "not in range"},
      {{"include", "missing.fax", "1", "1", "main.fax"}, 2, "missing.fax: No such file"},
      {{"include", "cover.fax", "5", "1", "main.fax"}, 2, "no place 5"},
      {{"include", "cover.fax", "1", "3", "main.fax"}, 2, "has 2 pages, not 3"},
      {{"include", "other.fax", "1", "1", "main.fax"}, 2, "convert one of them first"},
      {{"include", "main.fax", "1", "1", "main.fax"}, 2, "leads back"},
      {{"include", "back.fax", "1", "2", "main.fax"}, 2, "leads back"},
      {{"include", "loop.fax", "1", "1", "main.fax"}, 2, "leads back"},
      {{"include", "a b.fax", "1", "1", "main.fax"}, 2, "blanks"},
      {{"merge", "main.fax", "cover.fax", "loop.fax"}, 2, "loop.fax: page 1"},
      {{"merge", "main.fax", "cover.fax", "ummr.fax"}, 2, "UMMR"},
      {{"merge", "main.fax", "cover.fax", "fall.fax"}, 2, "INCLUDE"},
      {{"split", "fall.fax", "main.fax%d"}, 2, "INCLUDE"},
      {{"split", "main.fax", "part.fax"}, 1, "%d"},
      {{"split", "main.fax", "%d-%d.fax"}, 1, "%d"},
  };
  const std::string before = read_file(dir.path("main.fax"));
  const int entries = dir.entries();
  for (const auto &row : cases) {
    const ToolRun done = run(row.words);
    EXPECT_EQ(done.status, row.status) << done.err;
    EXPECT_THAT(done.err, HasSubstr(row.complaint));
    EXPECT_EQ(done.out, "");
    EXPECT_TRUE(read_file(dir.path("main.fax")) == before) << row.complaint;
    EXPECT_EQ(dir.entries(), entries) << row.complaint;
  }
}

TEST_F(Pages, MergeResolvesOrKeepsInclusions) {
  ASSERT_EQ(run({"merge", "all.fax", "main.fax", "cover.fax"}).status, 0);
  EXPECT_EQ(parts("all.fax").header, head(8) + "SUBJECT:INCLUDE is a word\n");
  EXPECT_THAT(parts("all.fax").records,
              ElementsAre(page(1), page(11), page(12), page(1), page(2), page(13), page(1), page(2)));
  ASSERT_EQ(run({"merge", "--inclusions", "keep", "kept.fax", "cover.fax", "main.fax"}).status, 0);
  EXPECT_EQ(parts("kept.fax").header, head(5) + "INCLUDE:cover.fax 3 1\nINCLUDE:cover.fax 5 2\nINCLUDE_PAGES:3\n");
  EXPECT_THAT(parts("kept.fax").records, ElementsAre(page(1), page(2), page(11), page(12), page(13)));
  const TempDir elsewhere;
  const ToolRun refused = run({"merge", "--inclusions", "keep", elsewhere.path("kept.fax"), "main.fax"});
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.err, HasSubstr("same directory"));
  EXPECT_EQ(elsewhere.entries(), 0);
}

TEST_F(Pages, MergeBringsPagesToOneCodingAndResolution) {
  const Picture normal = random_page(4, 6), fine = random_page(5, 8);
  dir.write("normal.fax", fax_bytes("RESOLUTION:0\nCOMPRESSION:1\n", {encoded_page(normal, 1) + std::string(2, '\0')}));
  dir.write("fine.fax", fax_bytes("RESOLUTION:1\nCOMPRESSION:3\n", {encoded_page(fine, 3)}));
  ASSERT_EQ(run({"merge", "--coding", "mh", "--resolution", "fine", "all.fax", "normal.fax", "fine.fax"}).status, 0);
  EXPECT_EQ(parts("all.fax").header, "#PAGES:2\nRESOLUTION:1\nCOMPRESSION:0\n");
  const Picture doubled = seen_by_libtiff(parts("all.fax").records.at(0), "mh", 12);
  EXPECT_EQ(mh_lines(parts("all.fax").records.at(0)), 12U);
  EXPECT_EQ(every_row(doubled, 2), normal);
  EXPECT_EQ(every_row(rows_of(doubled, 1, 11), 2), normal);
  EXPECT_EQ(seen_by_libtiff(parts("all.fax").records.at(1), "mh", 8), fine);
}

TEST_F(Pages, SplitCutsWhereItIsTold) {
  const struct {
    std::vector<std::string> options;
    std::vector<std::vector<uint32_t>> files;
  } cases[] = {
      {{}, {{1}, {11}, {12}, {1}, {2}, {13}}},
      {{"--every", "4"}, {{1, 11, 12, 1}, {2, 13}}},
      {{"--before", "3,2,99"}, {{1}, {11}, {12, 1, 2, 13}}},
      {{"--inclusions", "keep", "--every", "2"}, {{11, 12}, {13}}},
  };
  for (const auto &row : cases) {
    std::vector<std::string> words = {"split", "main.fax", "part-%02d.fax"};
    words.insert(words.end(), row.options.begin(), row.options.end());
    ASSERT_EQ(run(words).status, 0);
    for (size_t i = 0; i < row.files.size(); ++i) {
      FaxParts part = parts("part-0" + std::to_string(i + 1) + ".fax");
      EXPECT_THAT(part.header, HasSubstr(head(static_cast<int>(row.files[i].size())) + "SUBJECT:INCLUDE is a word\n"));
      EXPECT_EQ(part.records.size(), row.files[i].size());
      for (size_t n = 0; n < part.records.size(); ++n)
        EXPECT_TRUE(part.records[n] == page(row.files[i][n])) << i << " " << n;
      if (row.options.size() == 4) {
        EXPECT_THAT(part.header, HasSubstr(i == 0 ? "word\nINCLUDE:cover.fax 1 1\nINCLUDE_PAGES:1\n"
                                                  : "word\nINCLUDE:cover.fax 1 2\nINCLUDE_PAGES:2\n"));
      }
      std::filesystem::remove(dir.path("part-0" + std::to_string(i + 1) + ".fax"));
    }
    EXPECT_EQ(dir.entries(), 5);
  }
}

// A page of MH with an RTC and one without, a white page, and one of no lines.
TEST_F(Pages, ForeignRecordsKeepTheirLines) {
  const Picture picture = random_page(3, 7);
  std::string with_rtc = encoded_page(picture, 0);
  with_rtc += blank_page(8).substr(0, 9);  // six EOLs
  const struct {
    char compression;
    std::string record;
    uint32_t lines;
  } cases[] = {
      {'0', encoded_page(picture, 0), 7},
      {'0', with_rtc, 7},
      {'0', "", 0},
      {'1', encoded_page(picture, 1), 7},
      {'3', encoded_page(picture, 3), 7},
      {'3', "", 0},
      {'3', encoded_page(Picture{1728, 4, std::vector<uint8_t>(864)}, 3), 4},
  };
  for (const auto &row : cases) {
    dir.write("page.fax", fax_bytes(std::string("RESOLUTION:1\nCOMPRESSION:") + row.compression + "\n", {row.record}));
    const ToolRun to_mr = run({"merge", "--coding", "mr", "mr.fax", "page.fax"});
    EXPECT_EQ(to_mr.status, 0) << to_mr.err;
    ASSERT_EQ(run({"merge", "--coding", "mh", "mh.fax", "mr.fax"}).status, 0);
    EXPECT_EQ(mh_lines(parts("mh.fax").records.at(0)), row.lines) << row.compression;
    if (row.lines != 7) continue;
    EXPECT_EQ(seen_by_libtiff(parts("mh.fax").records.at(0), "mh", 7), picture) << row.compression;
  }
}

TEST_F(Pages, DamageIsNamedAndWhatCanBeReadIsPassedOn) {
  std::string record = encoded_page(random_page(30, 40), 0);
  record[record.size() / 2] = static_cast<char>(record[record.size() / 2] ^ 0xFF);
  dir.write("damaged.fax", fax_bytes("RESOLUTION:1\nCOMPRESSION:0\n", {encoded_page(random_page(1, 2), 0), record}) +
                               std::string("\0\0\1\0x", 5));
  const ToolRun done = run({"merge", "--coding", "mmr", "all.fax", "damaged.fax"});
  EXPECT_EQ(done.status, 3);
  EXPECT_THAT(done.err, HasSubstr("damaged.fax: page 2: line "));
  EXPECT_THAT(done.err, HasSubstr("damaged.fax: the last 5 bytes are a page that is cut short"));
  EXPECT_EQ(parts("all.fax").records.size(), 2U);
}
