// `append`, `insert`, `include`, `merge` and `split`: which records stand where afterwards, and what the header says.
#include <gmock/gmock.h>

#include <thread>

#include "faxfile/fax_lock.h"
#include "faxfile/sorbfile.h"
#include "faxfile/usorbport.h"
#include "helpers/child_process.h"
#include "helpers/encoded_page.h"
#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"
#include "helpers/places.h"

namespace {

const std::string modes = "RESOLUTION:1\nCOMPRESSION:", subject = "SUBJECT:INCLUDE is a word\n";

// The record of a page that is known by its number of lines.
std::string page(uint32_t lines) {
  return encoded_page(random_page(lines, lines), 3);
}

std::string head(size_t pages) {
  return "#PAGES:" + std::to_string(pages) + "\n" + modes + "3\n";
}

std::string fax(const std::string &lines, const std::vector<uint32_t> &pages) {
  std::vector<std::string> records;
  for (const uint32_t number : pages) records.push_back(page(number));
  return fax_bytes(lines, records);
}

class Pages : public ToolTest {
 protected:
  Pages() {
    dir.write("cover.fax", fax(head(2), {1, 2}));
    dir.write("main.fax", before);
    for (const uint32_t lines : {21U, 22U}) dir.write(std::to_string(lines) + ".pbm", pbm(random_page(lines, lines)));
  }
  const std::string before =
      fax(head(3) + "INCLUDE:cover.fax 1 1\n" + subject + "INCLUDE:cover.fax 3 2\nINCLUDE_PAGES:3\n", {11, 12, 13});
};

}  // namespace

TEST_F(Pages, AddingKeepsInclusionsInFrontOfTheirPages) {
  const struct {
    const char *words, *inclusions;  // behind the first inclusion and another line of the header
    std::vector<uint32_t> pages;     // none given: those that were there
  } cases[] = {
      {"append main.fax 21.pbm 22.pbm", "INCLUDE:cover.fax 3 2\nINCLUDE_PAGES:3", {11, 12, 13, 21, 22}},
      {"insert 1 main.fax 21.pbm", "INCLUDE:cover.fax 4 2\nINCLUDE_PAGES:3", {21, 11, 12, 13}},
      {"insert 3 main.fax 21.pbm 22.pbm", "INCLUDE:cover.fax 3 2\nINCLUDE_PAGES:3", {11, 12, 21, 22, 13}},
      {"include cover.fax 2 2 main.fax", "INCLUDE:cover.fax 2 2\nINCLUDE:cover.fax 3 2\nINCLUDE_PAGES:5", {}},
      {"include cover.fax 4 1 main.fax", "INCLUDE:cover.fax 3 2\nINCLUDE_PAGES:4\nINCLUDE:cover.fax 4 1", {}},
      {"include --remove cover.fax --at 3 main.fax", "INCLUDE_PAGES:1", {}},
  };
  for (const auto &row : cases) {
    dir.write("main.fax", before);
    complains(row.words, 0, "");
    const std::vector<uint32_t> pages = row.pages.empty() ? std::vector<uint32_t>{11, 12, 13} : row.pages;
    const std::string lines = head(pages.size()) + "INCLUDE:cover.fax 1 1\n" + subject + row.inclusions + "\n";
    EXPECT_TRUE(bytes("main.fax") == fax(lines, pages)) << row.words;
  }
}

TEST_F(Pages, RemovedInclusionsLeaveTheFileAsItWas) {
  const std::string plain = fax(head(2) + subject, {11, 12});
  dir.write("main.fax", plain);
  ASSERT_EQ(shell("$tool include cover.fax 1 1 main.fax && $tool include cover.fax 3 2 main.fax").err, "");
  complains("include --remove cover.fax main.fax", 0, "");
  EXPECT_TRUE(bytes("main.fax") == plain);
  dir.write("main.fax", fax(head(2) + subject + "INCLUDE:gone.fax 2\n", {11, 12}));
  complains("include --remove gone.fax main.fax", 0, "");
  EXPECT_TRUE(bytes("main.fax") == plain);
}

TEST_F(Pages, WhatCannotBeDoneLeavesTheFileAlone) {
  dir.write("other.fax", fax_bytes(modes + "0\n", {encoded_page(random_page(5, 5), 0)}));
  dir.write("back.fax", fax(head(1) + "INCLUDE:main.fax 1 2\nINCLUDE_PAGES:2\n", {9}));
  dir.write("cut1.fax", fax(head(2), {9, 8}).substr(0, 100 + page(9).size()));
  dir.write("ummr.fax", fax(modes + "2\n", {9}) + page(8).substr(0, 9));
  dir.write("fall.fax", fax(head(1) + "INCLUDE:cover.fax 2 1\nINCLUDE:cover.fax 1 1\n", {9}));
  dir.write("many.fax", fax(modes + "3\n" + std::string(97, '\n'), {9}));
  const std::string long_header = head(9) + "INCLUDE:cover.fax 1 1\nINCLUDE_PAGES:1\nSUBJECT:";
  const std::string filled = long_header + std::string(9999 - long_header.size() - 101, 'x');
  dir.write("full.fax", fax(filled + std::string(101, '\n'), std::vector<uint32_t>(9, 9)));
  dir.write("long.fax", fax(modes + "3\n" + std::string(33000, '\n'), {9, 8}));
  dir.write("gap.fax", fax(head(1) + "INCLUDE:cover.fax 5 1\nINCLUDE_PAGES:1\n", {9}));
  const struct {
    const char *words, *complaint;
    int status = 2;
  } cases[] = {
      {"append main.fax 21.pbm missing.pbm", "missing.pbm: No such file"},
      {"append cut1.fax 21.pbm", "cut short"},
      {"append fall.fax 21.pbm", "INCLUDE"},
      {"repair ummr.fax new.fax", "pages in UMMR cannot be decoded"},
      {"append full.fax 21.pbm", "full.fax: the header would be longer than 10000 bytes"},
      {"append many.fax 21.pbm", "many.fax: the viewer reads at most 99 header lines"},
      {"split many.fax p%d.fax", "p1.fax: the viewer reads at most 99 header lines"},
      {"split long.fax p%d.fax", "p1.fax: the header would be longer than 32767 bytes"},
      {"include gap.fax 1 2 main.fax", "gap.fax has no page 2 of its own"},
      {"include cover.fax 1 3 main.fax", "has 2 pages, not 3"},
      {"include other.fax 1 1 main.fax", "in MH, Fine"},
      {"include back.fax 1 2 main.fax", "includes main.fax in turn"},
      {"merge --force main.fax cover.fax fall.fax", "INCLUDE"},
      {"merge --inclusions keep ../kept.fax main.fax", "same directory"},
      {"merge --inclusions keep kept.fax other.fax main.fax", "same coding and resolution"},
      {"split cut1.fax cut%d.fax", "not overwritten"},
      {"extract -f pbm cut1.fax cut%d.fax", "not overwritten"},
      {"include cover.fax 1 1", "FILE is required", 1},
      {"include --remove cover.fax", "FILE is required", 1},
      {"include --remove cover.fax --at 2 main.fax", "main.fax does not include cover.fax there"},
      {"include --remove over.fax main.fax", "main.fax does not include over.fax"},
      {"include --remove cover.fax main.fax 3", "--remove takes FILE alone", 1},
      {"include ../main.fax 1 1 sub/main.fax", "page 1 is not available"},
      {"create 21.pbm 22.pbm", "21.pbm exists and is not a fax file"},
      {"merge other.fax main.fax", "other.fax exists and is not among"},
      {"merge cover.fax main.fax --force", "cover.fax: not overwritten"},
      {"merge --inclusions keep cover.fax cover.fax main.fax", "cover.fax: not overwritten"},
      {"extract -f pdf main.fax sub/../link.fax", "link.fax: not overwritten"},
      {"render -f png main.fax link.fax", "not overwritten"},
      {"split --before 2,7 main.fax p%d.fax", "no page 7: main.fax has 6", 1},
      {"split --before 2,010 main.fax p%d.fax", "no page 10: main.fax has 6", 1},
      {"insert 010 main.fax 21.pbm", "no page 10 to insert before: the file has 3"},
      {"insert 0x2 main.fax 21.pbm", "Value 0x2 not in range 1 to 32766", 1},
      {"split --before 4 --inclusions keep main.fax p%d.fax", "no page 4: main.fax has 3", 1},
      {"extract -p '' main.fax p.tif", "no page is selected", 1},
  };
  shell("mkdir sub; cp main.fax sub; ln -s cover.fax link.fax");
  const int entries = dir.entries();
  for (const auto &[words, complaint, status] : cases) {
    complains(words, status, complaint);
    EXPECT_TRUE(bytes("main.fax") == before) << words;
    EXPECT_EQ(dir.entries(), entries) << words;
  }
}

// Commands, and the library in this process, change one file at the same time, or two files one from the other.
// `timeout` ends those that wait for each other: status 124. Repairs may find a damage that they state in their status.
TEST_F(Pages, EditsAtTheSameTimeLoseNothingAndDoNotBlockEachOther) {
  dir.write("b.fax", fax(head(1), {12}));
  const auto times = [](int count, const std::string &line) {
    std::string lines;
    const std::string least = line.starts_with("repair") ? "124" : "1";
    for (int i = 0; i < count; ++i)
      lines += "timeout 50 $tool " + line + " || { s=$?; [ $s -lt " + least + " ] || echo $s >>failed; } & ";
    return lines;
  };
  constexpr int LIBRARY_EDITS = 20;
  const std::tuple<std::string, size_t, size_t> cases[] = {
      // pages and DATE lines of a.fax afterwards
      {times(6, "append a.fax 21.pbm") + times(8, "keywords add a.fax DATE=d"), 7, 8},
      {times(3, "append a.fax 21.pbm") + times(3, "merge a.fax a.fax b.fax") + times(4, "keywords add a.fax DATE=d"), 7,
       4},
      {times(2, "convert --to mh a.fax") + times(3, "insert 1 a.fax 21.pbm") + times(2, "convert --to mr a.fax"), 4, 0},
      {times(5, "include cover.fax 1 1 a.fax") + times(3, "append a.fax 22.pbm"), 4, 0},
      {times(4, "repair --in-place a.fax") + times(4, "repair b.fax a.fax") + times(4, "repair a.fax b.fax"), 1, 0},
      {times(4, "keywords copy --from a.fax b.fax") + times(4, "keywords copy --from b.fax a.fax"), 1, 0},
  };
  for (const auto &[commands, pages, dates] : cases) {
    const bool with_library = commands.find("repair") + commands.find("copy") == 2 * std::string::npos;
    const std::string path = dir.write("a.fax", fax(head(1), {11}));
    std::thread library([&] {
      int32_t fd = -1;
      for (int i = 0; with_library && i < LIBRARY_EDITS; ++i) {
        ASSERT_EQ(tolvane::FaxFileOpen(path.c_str(), &fd), 0);
        EXPECT_EQ(tolvane::FaxFileAddKeyword(fd, tolvane::FAXFILE_SENDER_CITY, std::to_string(i).c_str()), 0);
        EXPECT_EQ(tolvane::FaxFileClose(fd), 0);
      }
    });
    const ToolRun done = shell(commands + "wait");
    library.join();
    EXPECT_EQ(bytes("failed") + done.err.substr(0, 400), "") << commands;
    const FaxParts after = parts("a.fax");
    EXPECT_EQ(after.records.size(), pages) << commands;
    const auto count = [&](const std::string &line) {
      size_t found = 0;
      for (size_t at = 0; (at = after.header.find(line, at)) != std::string::npos; ++at) ++found;
      return found;
    };
    EXPECT_EQ(count("DATE:d\n"), dates) << after.header;
    EXPECT_EQ(count("SENDER_CITY:"), with_library ? LIBRARY_EDITS : 0U) << after.header;
    EXPECT_EQ(run("check a.fax b.fax").err, "") << commands;
  }
}

TEST_F(Pages, WhoWaitsForAnotherEditorSaysSoOnATerminal) {
  int32_t fd = -1;
  ASSERT_EQ(tolvane::FaxFileOpen(dir.path("main.fax").c_str(), &fd), 0);
  tolvane::FaxEditLock lock;
  ASSERT_TRUE(lock.take(fd));
  const std::string tool = in_build("tolvane-fax");
  ChildProcess waiting({"script", "-qec", tool + " keywords set main.fax DATE=d", "typescript"}, {}, dir.string());
  ChildProcess silent({tool, "keywords", "add", "main.fax", "FAX_ID=i"}, {}, dir.string());
  const std::string line = waiting.read_line().value_or("");
  EXPECT_NE(line.find("main.fax: waiting for another program that changes it"), std::string::npos) << line;
  EXPECT_TRUE(bytes("main.fax") == before);
  lock.release();
  EXPECT_EQ(waiting.wait() + silent.wait(), 0);
  EXPECT_EQ(silent.errors(), "");
  const std::string header = parts("main.fax").header;
  EXPECT_TRUE(header.find("DATE:d\n") != std::string::npos && header.find("FAX_ID:i\n") != std::string::npos) << header;
  EXPECT_EQ(tolvane::FaxFileClose(fd), 0);
}

TEST_F(Pages, MergeBringsPagesToOneCodingAndResolution) {
  const Picture normal = random_page(4, 6), fine = random_page(5, 8);
  dir.write("normal.fax", fax_bytes("RESOLUTION:0\nCOMPRESSION:0\n", {encoded_page(normal, 0)}));
  dir.write("fine.fax", fax_bytes(modes + "3\n", {encoded_page(fine, 3)}));
  ASSERT_EQ(run("merge --coding mh --resolution fine all.fax normal.fax fine.fax").status, 0);
  const FaxParts all = parts("all.fax");
  EXPECT_EQ(all.header, "#PAGES:2\nRESOLUTION:1\nCOMPRESSION:0\n");
  EXPECT_EQ(mh_lines(all.records.at(0)), 12U);
  const Picture doubled = seen_by_libtiff(all.records[0], "mh", 12);
  EXPECT_TRUE(every_row(doubled, 2) == normal && every_row(rows_of(doubled, 1, 11), 2) == normal);
  EXPECT_EQ(seen_by_libtiff(all.records.at(1), "mh", 8), fine);
}

TEST_F(Pages, MergeResolvesOrKeepsInclusions) {
  ASSERT_EQ(run("merge all.fax main.fax cover.fax").status, 0);
  EXPECT_TRUE(bytes("all.fax") == fax(head(8) + subject, {1, 11, 12, 1, 2, 13, 1, 2}));
  ASSERT_EQ(run("merge --inclusions keep kept.fax cover.fax main.fax").status, 0);
  const std::string kept = "INCLUDE:cover.fax 3 1\nINCLUDE:cover.fax 5 2\nINCLUDE_PAGES:3\n";
  EXPECT_TRUE(bytes("kept.fax") == fax(head(5) + kept, {1, 2, 11, 12, 13}));
  const std::string self = "INCLUDE:self.fax 2 1\nINCLUDE_PAGES:1\n";
  dir.write("self.fax", fax(head(2) + self, {1, 2}));
  ASSERT_EQ(shell("$tool merge --inclusions keep kept.fax ./self.fax --force && "
                  "$tool split ./self.fax --inclusions keep --every 2 split-%d.fax")
                .err,
            "");
  for (const char *made : {"kept.fax", "split-1.fax"}) EXPECT_TRUE(bytes(made) == bytes("self.fax")) << made;
}

TEST_F(Pages, SplitCutsWhereItIsTold) {
  const std::string first = "INCLUDE:cover.fax 1 1\nINCLUDE_PAGES:1\n",
                    second = "INCLUDE:cover.fax 1 2\nINCLUDE_PAGES:2\n";
  using File = std::pair<std::string, std::vector<uint32_t>>;
  const std::pair<std::string, std::vector<File>> cases[] = {
      {"", {{"", {1}}, {"", {11}}, {"", {12}}, {"", {1}}, {"", {2}}, {"", {13}}}},
      {"--every 4", {{"", {1, 11, 12, 1}}, {"", {2, 13}}}},
      {"--before 3,2", {{"", {1}}, {"", {11}}, {"", {12, 1, 2, 13}}}},
      {"--inclusions keep --every 2", {{first, {11, 12}}, {second, {13}}}},
  };
  const int entries = dir.entries();
  for (const auto &[options, files] : cases) {
    ASSERT_EQ(run("split main.fax part-%02d.fax " + options).status, 0);
    for (size_t i = 0; i < files.size(); ++i) {
      const auto &[inclusions, pages] = files[i];
      const std::string name = "part-0" + std::to_string(i + 1) + ".fax";
      EXPECT_TRUE(bytes(name) == fax(head(pages.size()) + subject + inclusions, pages)) << options << name;
      std::filesystem::remove(dir.path(name));
    }
    EXPECT_EQ(dir.entries(), entries);
  }
  // More files than are written at a time, up to the first that cannot be.
  ASSERT_EQ(shell("$tool merge many.fax $(yes main.fax | head -20)").status, 0);
  std::filesystem::create_directory(dir.path("part-100.fax"));
  complains("-j 3 split many.fax part-%d.fax", 2, "part-100.fax: cannot be written: Is a directory");
  constexpr uint32_t PAGES[] = {1, 11, 12, 1, 2, 13};
  for (size_t i = 0; i < 99; ++i)
    EXPECT_TRUE(bytes("part-" + std::to_string(i + 1) + ".fax") == fax(head(1) + subject, {PAGES[i % 6]})) << i;
  EXPECT_EQ(dir.entries(), entries + 1 + 100);
}

TEST_F(Pages, ForeignRecordsKeepTheirLines) {
  const Picture picture = random_page(3, 7);
  const std::string in_mh = encoded_page(picture, 0), six_eols = blank_page(8).substr(0, 9);
  for (const std::string &record : {in_mh, in_mh + six_eols, std::string()}) {
    dir.write("page.fax", fax_bytes(modes + "0\n", {record}));
    complains("merge --force --coding mr mr.fax page.fax", 0, "");
    complains("merge --force --coding mh mh.fax mr.fax", 0, "");
    const std::string got = parts("mh.fax").records.at(0);
    EXPECT_EQ(mh_lines(got), record.empty() ? 0U : 7U);
    EXPECT_TRUE(record.empty() || seen_by_libtiff(got, "mh", 7) == picture);
  }
}

TEST_F(Pages, DamageIsNamedAndWhatCanBeReadIsPassedOn) {
  const std::string good = encoded_page(random_page(1, 2), 0), bad = spoilt(encoded_page(random_page(30, 40), 0), 1);
  dir.write("damaged.fax", fax_bytes(modes + "0\n", {good, bad}) + std::string("\0\0\1\0x", 5));
  for (const char *complaint : {"page 2: line ", "the last 5 bytes are a page that is cut short"})
    complains("merge --force --coding mmr all.fax damaged.fax", 3, "damaged.fax: " + std::string(complaint));
  EXPECT_EQ(parts("all.fax").records.size(), 2U);
}

// Lines that are only counted are as many as lines that are kept for a checksum.
TEST_F(Pages, LinesOfPagesThatAreCutAreCounted) {
  for (const int coding : {0, 1, 3}) {
    const std::string record = encoded_page(random_page(7, 12), coding);
    for (size_t size = 0; size < 30; ++size)
      dir.write("cut" + std::to_string(size),
                fax_bytes(modes + std::to_string(coding) + "\n", {record.substr(0, record.size() * size / 29)}));
    const std::string counted = shell("$tool info --csv cut*").out;
    EXPECT_EQ(counted, shell("$tool info --csv --checksum cut* | cut -d, -f1-8").out);
    EXPECT_EQ(std::count(counted.begin(), counted.end(), '\n'), 31);
  }
}

TEST_F(Pages, RepairSaysWhatItDoesAndDoesIt) {
  const std::string good = fax(head(1), {40}), mmr = "COMPRESSION:3\n";
  const struct {
    std::string before, done, after;
  } cases[] = {
      {good, "nothing to repair", good},
      {fax(head(9), {40}), "#PAGES set to 1", good},
      {fax("#PAGES:1\n" + mmr, {40}), "RESOLUTION set to Normal", fax("#PAGES:1\n" + mmr + "RESOLUTION:0\n", {40})},
      {fax("#PAGES:1\nRESOLUTION:1\n", {40}), "COMPRESSION set to MMR", fax(head(1), {40})},
      {fax("#PAGES:1\nRESOLUTION:1\n" + mmr + "COMPRESSION:x\n", {40}), "COMPRESSION set to MMR",
       fax(head(1) + mmr, {40})},
      {good + std::string(403, '\0'), "removed 403 trailing bytes", good},
      {good + "tail.", "removed 5 trailing bytes", good},
  };
  for (const auto &row : cases) {
    dir.write("a.fax", row.before);
    const ToolRun dry = run("repair --dry-run a.fax");
    EXPECT_TRUE(dry.status == 0 && bytes("a.fax") == row.before) << row.done << dry.err;
    EXPECT_EQ(dry.out.rfind("a.fax: " + row.done, 0), 0U) << dry.out;
    EXPECT_TRUE(run("repair a.fax -").out == row.after) << row.done;
    EXPECT_EQ(run("repair --in-place a.fax").out, dry.out);
    EXPECT_TRUE(bytes("a.fax") == row.after) << row.done;
  }
}

TEST_F(Pages, RepairKeepsTheWholeLinesOfAPageThatIsCutShort) {
  const Picture picture = random_page(3, 60);
  const std::string cut = fax_bytes(head(1), {page(40), "", page(2000)});
  dir.write("a.fax", cut.substr(0, cut.size() - 9));
  EXPECT_THAT(run("repair --dry-run a.fax").out, testing::StartsWith("a.fax: page 3 is cut short: kept its first 199"));
  for (const int32_t coding : {0, 1, 3}) {
    const std::string all =
        fax_bytes("#PAGES:1\n" + modes + std::to_string(coding) + "\n", {encoded_page(picture, coding)});
    dir.write("a.fax", all.substr(0, all.size() * 2 / 3));
    const ToolRun out = run("repair a.fax --in-place");
    EXPECT_EQ(out.status, 3) << out.err;
    uint32_t lines = 0;
    ASSERT_EQ(sscanf(out.out.c_str(), "a.fax: page 1 is cut short: kept its first %u lines", &lines), 1) << out.out;
    EXPECT_GT(lines, 30U);
    EXPECT_EQ(run("check a.fax").status, 0);
    ASSERT_EQ(run("merge --coding mh --force b.fax a.fax").status, 0);
    EXPECT_EQ(seen_by_libtiff(parts("b.fax").records.at(0), "mh", lines), rows_of(picture, 0, lines)) << coding;
  }
}

TEST_F(Pages, UnreadablePagesAreSkippedOnlyIfThatIsWanted) {
  shell("tiffcp $charts/itu1.tif $charts/itu4.tif $charts/itu5.tif 3.tif; head -c -100 3.tif >cut.tif");
  // Of these pages the first is too wide, which its reader says, and the second is in no code.
  shell(
      "tiffset -d 0 -s 256 20000 3.tif; tiffset -d 1 -s 259 5 3.tif; cp $charts/itu1.tif no.tif; tiffset -s 259 5 "
      "no.tif");
  shell(
      "echo Title t >text; tifftopnm $charts/itu1.tif | pnmtopng -text=text | head -c -100 "
      ">picture-with-text-that-is-cut.png");
  dir.write("part.fax", fax(head(1) + "INCLUDE:gone.fax 1 2\nINCLUDE_PAGES:2\n", {9}));
  dir.write("hides.fax", fax(head(1) + "SUBJECT:INCLUDE:gone 1 1\n", {9}));
  EXPECT_EQ(run("check part.fax").out, "part.fax: damaged, 3 pages, 9 lines\n");
  const std::tuple<std::string, size_t, std::string> cases[] = {
      {"create a.fax cut.tif missing.tif 21.pbm", 3, "cut.tif: after page 2: "},
      {"create a.fax picture-with-text-that-is-cut.png 21.pbm", 1,
       "fax: picture-with-text-that-is-cut.png: read beyond"},
      {"create -v a.fax 3.tif", 1, "3.tif: page 3: 1728 x 2376 pixels"},
      {"merge a.fax cover.fax part.fax missing.fax", 3, "missing.fax"},
      {"merge a.fax cover.fax hides.fax", 3, "hides.fax"}};
  for (const auto &[line, pages, message] : cases) {
    EXPECT_EQ(run(line).status, 2) << line;
    const ToolRun out = run(line + " --keep-going");
    EXPECT_EQ(out.status, 3) << line << out.err;
    EXPECT_NE(out.err.find(message), std::string::npos) << out.err;
    EXPECT_EQ(parts("a.fax").records.size(), pages) << out.err;
    EXPECT_TRUE(parts("a.fax").header.starts_with("#PAGES:" + std::to_string(pages) + "\n")) << line;
    std::filesystem::remove(dir.path("a.fax"));
  }
  complains("create --keep-going a.fax no.tif", 2, "a.fax: no page in no.tif\n");
}
