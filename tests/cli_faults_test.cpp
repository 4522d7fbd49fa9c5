// The frame of the tool: bad input, full disks, rights, signals, and what goes to which channel.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "helpers/child_process.h"
#include "helpers/encoded_page.h"
#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"
#include "helpers/temp_dir.h"

using testing::HasSubstr;
using testing::StartsWith;
using Faults = ToolTest;

namespace {

const std::string tool = TOLVANE_BUILD_DIR "/tolvane-fax";

std::string pbm_head(uint32_t width, uint32_t height) {
  return "P4 " + std::to_string(width) + " " + std::to_string(height) + "\n";
}

}  // namespace

TEST_F(Faults, BadPagesAreNamedAndNothingIsMade) {
  const TempDir made;
  const std::string convert = "convert -size 300x300 -strip xc:gray -depth 8 -compress ", names = "Zip a.png; ";
  run_command({"sh", "-c", convert + names + convert + "None a.tif"}, {}, {}, made.string());
  const std::string png = read_file(made.path("a.png")), grey = read_file(made.path("a.tif"));
  const std::string tiff = read_file(TOLVANE_SOURCE_DIR "/bench/charts/itu4.tif"), page = pbm(random_page(1, 2));
  const struct {
    std::string bytes;
    int status;
    const char *complaint, *options = "";
  } cases[] = {
      {"", 2, "empty"},
      {"a text file\n", 2, "not a TIFF, PBM, PNG or PDF"},
      {fax_bytes("DATE:1\n"), 2, "merge"},
      {tiff.substr(0, 4), 2, "in.page: "},
      {tiff.substr(0, tiff.size() / 2), 2, "in.page: "},
      {grey.substr(0, 8) + std::string(500, '\0'), 2, "in.page: "},
      {spoilt(tiff, 1), 3, "in.page: page 1: line "},
      {png.substr(0, png.size() - 30), 2, "in.page: "},
      {png.substr(0, 20), 2, "in.page: "},
      {"%PDF-1.4\nnothing", 2, "not a PDF"},
      {pbm_head(20000, 10) + std::string(25000, '\0'), 2, "20000 x 10 pixels"},
      {pbm_head(10000, 100000), 2, "10000 x 100000 pixels"},
      {pbm_head(10, 60000) + std::string(120000, '\0'), 2, "more than 32767 lines"},
      {pbm_head(8, 0), 2, "8 x 0 pixels"},
      {pbm_head(4000000000U, 4000000000U), 2, "pixels"},
      {pbm_head(1728, 2) + "x", 2, "ends before"},
      {page + "P7", 2, "where page 2 begins"},
      {"P1 2 2 1 0 2 0", 2, "ends before"},
      {std::string(40, '\0'), 2, "no line", "--raw g3"},
      {encoded_page(random_page(1, 90), 0).substr(0, 2000) + "\x12\x34\x56\x78", 3, "page 1: line ", "--raw g3"},
      {page, 1, "--width", "--width 1000"},
      {page, 1, "--coding", "--coding g5"},
      {page, 1, "--source-dpi", "--source-dpi 0x98"},
      {page, 1, "NAME=VALUE", "-k SUBJECT"},
      {page, 1, "set by the program itself", "-k '#PAGES=3'"},
  };
  for (const auto &row : cases) {
    dir.write("in.page", row.bytes);
    complains("create out.fax in.page " + std::string(row.options), row.status, row.complaint);
    EXPECT_EQ(dir.entries(), row.status == 3 ? 2 : 1) << row.complaint;
    std::filesystem::remove(dir.path("out.fax"));
  }
}

// A limit on the size of files fails writes as a full disk does, at a size that the test can choose.
TEST_F(Faults, AFullDiskLosesNothing) {
  ASSERT_EQ(run("create a.fax $charts/itu1.tif").status, 0);
  const std::string before = bytes("a.fax");
  for (const std::string line :
       {"create a.fax $charts/itu4.tif", "create new.fax $charts/itu4.tif", "append a.fax $charts/itu1.tif",
        "insert 1 a.fax $charts/itu4.tif", "convert --to mh a.fax", "keywords set a.fax SUBJECT=x",
        "merge new.fax a.fax a.fax", "split a.fax %d.fax"}) {
    const ToolRun done = shell("ulimit -f 16; exec $tool " + line);
    EXPECT_EQ(done.status, 2) << line << done.err;
    EXPECT_NE(done.err, "") << line;
    EXPECT_TRUE(bytes("a.fax") == before) << line;
    EXPECT_EQ(dir.entries(), 1) << line;
  }
  EXPECT_EQ(run("create /dev/full $charts/itu1.tif").status, 2);
  for (const char *channel : {"/dev/full", "&-"})
    EXPECT_EQ(run("keywords list a.fax >" + std::string(channel)).status, 2) << channel;
}

// A file of the tool's own would take the place of a channel that is closed.
TEST_F(Faults, ClosedStandardChannelsStayOutOfTheFiles) {
  dir.write("bad.tif", spoilt(read_file(TOLVANE_SOURCE_DIR "/bench/charts/itu4.tif"), 1));
  EXPECT_EQ(run("create bad.fax bad.tif 2>&-").status, 3);
  EXPECT_THAT(run("check bad.fax <&-").out, StartsWith("bad.fax: good, "));
}

TEST_F(Faults, RightsAndKindsOfFiles) {
  const std::string page = dir.write("page.pbm", pbm(random_page(1, 3))), target = dir.write("target.fax", "old");
  for (const auto &[line, complaint] : {std::pair("create no/out.fax page.pbm", "No such file or directory"),
                                        {"create . page.pbm", "Is a directory"},
                                        {"create x.fax .", "Is a directory"}})
    EXPECT_THAT(run(line).err, HasSubstr(complaint));
  std::filesystem::create_symlink("target.fax", dir.path("link.fax"));
  EXPECT_EQ(run("create link.fax page.pbm").status, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(dir.path("link.fax"))) << "it keeps pointing at the file that is replaced";
  EXPECT_EQ(fax_parts(read_file(target)).records.size(), 1U);
  // The super-user may read and write everything, so somebody else has to try.
  std::filesystem::copy_file(tool, dir.path("tool"));
  const std::string somebody = geteuid() ? "" : "setpriv --reuid=65534 --regid=65534 --clear-groups ";
  chmod(dir.string().c_str(), 0777);
  chmod(page.c_str(), 0);
  chmod(target.c_str(), 0444);
  for (const char *line : {"create y.fax page.pbm", "keywords set target.fax DATE=1"}) {
    const ToolRun done = shell(somebody + "./tool " + line);
    EXPECT_EQ(done.status, 2);
    EXPECT_THAT(done.err, HasSubstr("Permission denied"));
  }
  EXPECT_FALSE(std::filesystem::exists(dir.path("y.fax")));
}

TEST_F(Faults, ASignalLeavesNoHalfMadeFile) {
  ChildProcess child({tool, "create", "out.fax", "-"}, {}, dir.string());
  child.write(pbm_head(1728, 30000));
  for (int i = 0; i < 200 && dir.entries() == 0; ++i) usleep(10000);
  EXPECT_EQ(dir.entries(), 1);
  child.kill(SIGTERM);
  EXPECT_EQ(child.wait(), 128 + SIGTERM);
  EXPECT_EQ(dir.entries(), 0);
}

TEST_F(Faults, UsageHelpAndVersion) {
  const std::tuple<const char *, int, const char *> cases[] = {
      {"", 1, "subcommand is required"},
      {"frobnicate", 1, "subcommand is required"},
      {"create", 1, "OUT is required"},
      {"create --nonsense x y", 1, "nonsense"},
      {"convert x.fax", 1, "--to is required"},
      {"--help", 0, "Exit status: 0 done, 1 usage, 2 failed, 3 done with damage found."},
      {"merge --help", 0, "--inclusions resolve|keep"},
      {"--version", 0, "tolvane-fax 9."},
  };
  for (const auto &[line, status, text] : cases) {
    const ToolRun done = run(line);
    EXPECT_EQ(done.status, status) << done.err;
    EXPECT_THAT(status ? done.err : done.out, HasSubstr(text));
    EXPECT_EQ(status ? done.out : done.err, "");
  }
}

// On a terminal, which `script` gives: colour unless NO_COLOR is set, and progress of long work unless it is quiet.
TEST_F(Faults, TerminalsGetColourAndProgress) {
  const auto on_terminal = [&](const std::string &line, const std::string &environment = "") {
    return shell(environment + "script -qec \"$tool " + line + "\" /dev/null").out;
  };
  EXPECT_THAT(on_terminal("keywords list /dev/null"), StartsWith("\033[1;31mtolvane-fax:\033[0m /dev/null"));
  EXPECT_THAT(on_terminal("keywords list /dev/null", "NO_COLOR=1 "), StartsWith("tolvane-fax: /dev/null"));
  ASSERT_EQ(run("create page.fax $charts/itu7.tif").status, 0);
  const std::string merge = "merge --coding mr out.fax \\$(yes page.fax | head -300)";
  EXPECT_THAT(on_terminal(merge), HasSubstr(" of 300 pages, "));
  EXPECT_EQ(on_terminal("--quiet " + merge), "");
}
