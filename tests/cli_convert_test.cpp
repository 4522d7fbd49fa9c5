// `convert`: pages judged by libtiff, header lines and rights held on to, files left alone where it fails.
#include <gmock/gmock.h>

#include "helpers/encoded_page.h"
#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"

using testing::HasSubstr;
using Convert = ToolTest;

TEST_F(Convert, SeveralFilesAtATime) {
  const std::string copies = "chmod 600 0; chown 7:7 0; cp -p 0 1; cp -p 0 '[2]'; ln -s 0 link; stat -c %a:%u:%g 0";
  const std::string rights = shell("$tool create --coding mr 0 $charts/itu7.tif; " + copies).out;
  complains("convert --jobs 2 --to mh link 1 '[2]'", 0, "");
  for (const std::string file : {"0", "1", "[2]"}) {
    EXPECT_EQ(parts(file).header, "#PAGES:1\nRESOLUTION:1\nCOMPRESSION:0\n");
    EXPECT_EQ(seen_by_libtiff(parts(file).records.at(0), "mh", 2376), load_chart("itu7"));
    EXPECT_EQ(shell("stat -c %a:%u:%g '" + file + "'").out, rights);
  }
  EXPECT_TRUE(std::filesystem::is_symlink(dir.path("link"))) << "it is its target that is converted";
  EXPECT_EQ(dir.entries(), 4);
}

TEST_F(Convert, NoPageAndNoHeaderLineIsLost) {
  const Picture pictures[] = {random_page(1, 9), random_page(2, 5)};
  const std::vector<std::string> pages = {encoded_page(pictures[0], 3), encoded_page(pictures[1], 3)};
  const std::string counted = "#PAGES:2\nRESOLUTION:1\nCOMPRESSION:";
  const std::string odd = "\n#PAGES:2\nno colon\nRESOLUTION:1\nSUBJECT:a\nSUBJECT:b\nCOMPRESSION:";
  const std::string inclusions = "\nINCLUDE:cover.fax 1 1\nINCLUDE:cover.fax 3 1\n";
  const std::tuple<std::string, std::string, const char *> cases[] = {
      {"RESOLUTION:1\nCOMPRESSION:3\n", "RESOLUTION:1\nCOMPRESSION:0\n#PAGES:2\n", "#PAGES corrected to 2"},
      {"#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n", counted + "0\n", "#PAGES corrected to 2"},
      {"COMPRESSION:1" + odd + "3\n", "COMPRESSION:0" + odd + "0\n", ""},
      {"#PAGES:3\nRESOLUTION:1\nCOMPRESSION:3\n", counted + "0\n", "1 of 3 pages that #PAGES promises are missing"},
      {counted + "3" + inclusions, counted + "0" + inclusions, "convert that too"},
  };
  dir.write("cover.fax", fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n", {pages[0]}));
  for (const auto &[before, after, complaint] : cases) {
    dir.write("file.fax", fax_bytes(before, pages));
    complains("convert --to mh file.fax", *complaint == 0 || *complaint == '#' ? 0 : 3, complaint);
    const FaxParts made = parts("file.fax");
    EXPECT_EQ(made.header, after);
    ASSERT_EQ(made.records.size(), 2U);
    for (size_t i = 0; i < 2; ++i) EXPECT_EQ(seen_by_libtiff(made.records[i], "mh", pictures[i].height), pictures[i]);
    EXPECT_EQ(dir.entries(), 2);
  }
}

TEST_F(Convert, AFileIsConvertedWholeOrNotAtAll) {
  const std::string good = encoded_page(random_page(6, 9), 3), bad = spoilt(encoded_page(random_page(5, 60), 3), 8);
  const std::string bad_mh = spoilt(encoded_page(random_page(5, 60), 0), 1);
  const std::string modes = "RESOLUTION:1\nCOMPRESSION:", one = "#PAGES:1\n", two = "#PAGES:2\n";
  const std::tuple<std::string, int, const char *> cases[] = {
      {fax_bytes(two + modes + "3\n", {good, bad}), 2, "page 2: line "},
      {fax_bytes(one + modes + "0\n", {bad_mh}), 3, "page 1: line "},
      {fax_bytes(one + modes + "3\n", {good}).substr(0, 60), 2, "cut short"},
      {fax_bytes(one + "RESOLUTION:3\nCOMPRESSION:3\n", {good}), 2, "300 lpi"},
      {fax_bytes(one + modes + "2\n", {good}), 2, "UMMR"},
      {fax_bytes(modes + "3\n" + std::string(97, '\n'), {good}), 2, "at most 99 header lines"},
      {"text", 2, "not a fax file"},
  };
  // Neither output nor files depend on the number of threads; a file among many is worked on with others.
  for (const std::string work : {"check", "info --json", "info --csv --checksum", "convert --to mr"}) {
    ToolRun runs[2];
    std::string made[2];
    for (int i = 0; i < 2; ++i) {
      dir.write("missing_pages", fax_bytes(two + modes + "3\nINCLUDE:nothing.fax 2 3\n", {good, good}));
      for (size_t row = 0; row < std::size(cases); ++row)
        dir.write("case" + std::to_string(row), std::get<0>(cases[row]));
      for (int copy = 0; copy < 9; ++copy)
        dir.write("copy" + std::to_string(copy), fax_bytes(two + modes + "3\n", {good, good}));
      runs[i] = run((i ? "-j 5 " : "-j 1 ") + work + " copy? case? absent missing_pages copy3");
      made[i] = shell("cat copy? case? missing_pages && rm copy? case? missing_pages").out;
    }
    EXPECT_EQ(runs[0].status, 2);
    EXPECT_EQ(runs[0].status, runs[1].status);
    EXPECT_EQ(runs[0].out, runs[1].out);
    EXPECT_EQ(runs[0].err, runs[1].err);
    EXPECT_THAT(runs[1].err, testing::AllOf(HasSubstr("case0: page 2: line "), HasSubstr("absent: No such file")));
    EXPECT_TRUE(made[0] == made[1]) << work;
  }
  for (const auto &[before, status, complaint] : cases) {
    dir.write("file.fax", before);
    dir.write("other.fax", fax_bytes(one + modes + "3\n", {good}));
    complains("convert --to mr file.fax other.fax", status, complaint);
    EXPECT_EQ(bytes("file.fax") != before, status == 3) << complaint;
    EXPECT_THAT(bytes("other.fax"), HasSubstr("COMPRESSION:1\n"));
    EXPECT_EQ(dir.entries(), 2);
  }
}
