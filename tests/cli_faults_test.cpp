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
using testing::Not;
using testing::StartsWith;

namespace {

const std::string tool = TOLVANE_BUILD_DIR "/tolvane-fax";

std::string pbm_head(uint32_t width, uint32_t height) {
  return "P4 " + std::to_string(width) + " " + std::to_string(height) + "\n";
}

}  // namespace

TEST(Faults, BadPagesAreNamedAndNothingIsMade) {
  const TempDir dir;
  const std::string tiff = read_file(TOLVANE_SOURCE_DIR "/bench/charts/itu4.tif");
  ASSERT_EQ(run_command({"convert", "-size", "300x300", "-strip", "xc:gray", dir.path("a.png")}).status, 0);
  ASSERT_EQ(
      run_command({"convert", "-size", "300x300", "xc:gray", "-depth", "8", "-compress", "None", dir.path("a.tif")})
          .status,
      0);
  const std::string png = read_file(dir.path("a.png")), grey = read_file(dir.path("a.tif"));
  std::filesystem::remove(dir.path("a.png"));
  std::filesystem::remove(dir.path("a.tif"));
  std::string bad_line = tiff;
  bad_line[20000] = static_cast<char>(bad_line[20000] ^ 0x5A);
  const struct {
    std::string bytes;
    int status;
    const char *complaint;
    std::vector<std::string> options;
  } cases[] = {
      {"", 2, "empty", {}},
      {"a text file\n", 2, "not a TIFF, PBM, PNG or PDF", {}},
      {fax_bytes("DATE:1\n"), 2, "merge", {}},
      {tiff.substr(0, 4), 2, "in.page: ", {}},
      {tiff.substr(0, tiff.size() / 2), 2, "in.page: ", {}},
      {grey.substr(0, 8) + std::string(500, '\0'), 2, "in.page: ", {}},
      {bad_line, 3, "in.page: page 1: line ", {}},
      {png.substr(0, png.size() - 30), 2, "in.page: ", {}},
      {png.substr(0, 20), 2, "in.page: ", {}},
      {"%PDF-1.4\nnothing", 2, "not a PDF", {}},
      {pbm_head(20000, 10) + std::string(25000, '\0'), 2, "20000 x 10 pixels", {}},
      {pbm_head(10000, 100000), 2, "10000 x 100000 pixels", {}},
      {pbm_head(10, 60000) + std::string(120000, '\0'), 2, "more than 32767 lines", {}},
      {pbm_head(8, 0), 2, "8 x 0 pixels", {}},
      {pbm_head(4000000000U, 4000000000U), 2, "pixels", {}},
      {pbm_head(1728, 2) + "x", 2, "ends before", {}},
      {pbm(random_page(1, 2)) + "P7", 2, "where page 2 begins", {}},
      {"P1 2 2 1 0 2 0", 2, "ends before", {}},
      {std::string(40, '\0'), 2, "no line", {"--raw", "g3"}},
      {encoded_page(random_page(1, 90), 0).substr(0, 2000) + "\x12\x34\x56\x78", 3, "page 1: line ", {"--raw", "g3"}},
      {pbm(random_page(1, 2)), 1, "--width", {"--width", "1000"}},
      {pbm(random_page(1, 2)), 1, "--coding", {"--coding", "g5"}},
      {pbm(random_page(1, 2)), 1, "--source-dpi", {"--source-dpi", "0x98"}},
      {pbm(random_page(1, 2)), 1, "NAME=VALUE", {"-k", "SUBJECT"}},
      {pbm(random_page(1, 2)), 1, "set by the program itself", {"-k", "#PAGES=3"}},
  };
  for (const auto &row : cases) {
    dir.write("in.page", row.bytes);
    std::vector<std::string> words = {"create", "out.fax", "in.page"};
    words.insert(words.end(), row.options.begin(), row.options.end());
    const ToolRun run = fax_tool(words, dir.string());
    EXPECT_EQ(run.status, row.status) << row.complaint << ": " << run.err;
    EXPECT_THAT(run.err, HasSubstr(row.complaint));
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(dir.entries(), row.status == 3 ? 2 : 1) << row.complaint;
    std::filesystem::remove(dir.path("out.fax"));
  }
}

// A limit on the size of files fails writes as a full disk does, at a size that the test can choose.
TEST(Faults, AFullDiskLosesNothing) {
  const TempDir dir;
  const std::string charts = TOLVANE_SOURCE_DIR "/bench/charts/", fax = dir.path("a.fax");
  ASSERT_EQ(fax_tool({"create", fax, charts + "itu1.tif"}).status, 0);
  const std::string before = read_file(fax);
  const std::string commands[] = {
      "create '" + fax + "' " + charts + "itu4.tif",
      "create '" + dir.path("new.fax") + "' " + charts + "itu4.tif",
      "append '" + fax + "' " + charts + "itu1.tif",
      "insert 1 '" + fax + "' " + charts + "itu4.tif",
      "convert --to mh '" + fax + "'",
      "keywords set '" + fax + "' SUBJECT=x",
      "merge '" + dir.path("new.fax") + "' '" + fax + "' '" + fax + "'",
      "split '" + fax + "' '" + dir.path("%d.fax") + "'",
  };
  for (const std::string &command : commands) {
    const ToolRun run = run_command({"sh", "-c", "ulimit -f 16; exec " + tool + " " + command});
    EXPECT_EQ(run.status, 2) << command << run.err;
    EXPECT_NE(run.err, "") << command;
    EXPECT_TRUE(read_file(fax) == before) << command;
    EXPECT_EQ(dir.entries(), 1) << command;
  }
  EXPECT_EQ(fax_tool({"create", "/dev/full", charts + "itu1.tif"}).status, 2);
  EXPECT_EQ(run_command({"sh", "-c", tool + " keywords list '" + fax + "' >/dev/full"}).status, 2);
}

TEST(Faults, RightsAndKindsOfFiles) {
  const TempDir dir;
  const std::string page = dir.write("page.pbm", pbm(random_page(1, 3)));
  EXPECT_THAT(fax_tool({"create", dir.path("no/out.fax"), page}).err, HasSubstr("No such file or directory"));
  EXPECT_THAT(fax_tool({"create", dir.string(), page}).err, HasSubstr("Is a directory"));
  EXPECT_THAT(fax_tool({"create", dir.path("x.fax"), dir.string()}).err, HasSubstr("Is a directory"));
  // A link keeps pointing at the file that is replaced.
  const std::string target = dir.write("target.fax", "old"), link = dir.path("link.fax");
  ASSERT_EQ(symlink("target.fax", link.c_str()), 0);
  EXPECT_EQ(fax_tool({"create", link, page}).status, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(fax_parts(read_file(target)).records.size(), 1U);
  // The super-user may read and write everything, so somebody else has to try.
  std::filesystem::copy_file(tool, dir.path("tool"));
  std::vector<std::string> somebody = {dir.path("tool")};
  if (geteuid() == 0) somebody = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", dir.path("tool")};
  chmod(dir.string().c_str(), 0777);
  chmod(page.c_str(), 0);
  chmod(target.c_str(), 0444);
  for (const std::vector<std::string> &words :
       {std::vector<std::string>{"create", "y.fax", page}, {"keywords", "set", target, "DATE=1"}}) {
    std::vector<std::string> command = somebody;
    command.insert(command.end(), words.begin(), words.end());
    const ToolRun run = run_command(command, {}, {}, dir.string());
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("Permission denied"));
  }
  EXPECT_FALSE(std::filesystem::exists(dir.path("y.fax")));
}

TEST(Faults, ASignalLeavesNoHalfMadeFile) {
  const TempDir dir;
  ChildProcess child({tool, "create", "out.fax", "-"}, {}, dir.string());
  child.write(pbm_head(1728, 30000));
  for (int i = 0; i < 200 && dir.entries() == 0; ++i) usleep(10000);
  EXPECT_EQ(dir.entries(), 1);
  child.kill(SIGTERM);
  EXPECT_EQ(child.wait(), 128 + SIGTERM);
  EXPECT_EQ(dir.entries(), 0);
}

TEST(Faults, UsageHelpAndVersion) {
  const struct {
    std::vector<std::string> words;
    int status;
    const char *out, *err;
  } cases[] = {
      {{}, 1, "", "subcommand is required"},
      {{"frobnicate"}, 1, "", "subcommand is required"},
      {{"create"}, 1, "", "OUT is required"},
      {{"create", "--nonsense", "x", "y"}, 1, "", "nonsense"},
      {{"convert", "x.fax"}, 1, "", "--to is required"},
      {{"--help"}, 0, "Exit status: 0 done, 1 usage, 2 failed, 3 done with damage found.", ""},
      {{"merge", "--help"}, 0, "--inclusions resolve|keep", ""},
      {{"--version"}, 0, "tolvane-fax 9.", ""},
  };
  for (const auto &row : cases) {
    const ToolRun run = fax_tool(row.words);
    EXPECT_EQ(run.status, row.status) << run.err;
    EXPECT_THAT(run.out, HasSubstr(row.out));
    EXPECT_THAT(run.err, HasSubstr(row.err));
    EXPECT_EQ(run.out.empty(), row.status != 0);
  }
}

// On a terminal, which `script` gives: colour unless NO_COLOR is set, and progress of long work unless it is quiet.
TEST(Faults, TerminalsGetColourAndProgress) {
  const TempDir dir;
  const auto on_terminal = [&](const std::string &command, const std::vector<std::string> &environment = {}) {
    return run_command({"script", "-qec", command, "/dev/null"}, "", environment).out;
  };
  const std::string bad = tool + " keywords list /dev/null";
  EXPECT_THAT(on_terminal(bad), StartsWith("\033[1;31mtolvane-fax:\033[0m /dev/null"));
  EXPECT_THAT(on_terminal(bad, {"NO_COLOR=1"}), StartsWith("tolvane-fax: /dev/null"));
  const std::string page = dir.path("page.fax"), out = " '" + dir.path("out.fax") + "' ";
  ASSERT_EQ(fax_tool({"create", page, TOLVANE_SOURCE_DIR "/bench/charts/itu7.tif"}).status, 0);
  const std::string merge = " merge --coding mr" + out + "$(yes '" + page + "' | head -300)";
  EXPECT_THAT(on_terminal(tool + merge), HasSubstr(" of 300 pages, "));
  EXPECT_EQ(on_terminal(tool + " --quiet" + merge), "");
}
