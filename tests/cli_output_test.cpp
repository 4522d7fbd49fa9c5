// `info`, `check`, `extract` and `render`: what leaves a fax file, with libtiff, ImageMagick and poppler as judges.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "helpers/coded_page.h"
#include "helpers/encoded_page.h"
#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"
#include "helpers/plain_picture.h"
#include "helpers/temp_dir.h"

using testing::AllOf;
using testing::HasSubstr;
using Output = ToolTest;

namespace {

std::string text(const std::vector<uint8_t> &bytes) {
  return {bytes.begin(), bytes.end()};
}

/// Four white lines in MH, and four of which the third ends early.
const std::string white = text(coded("EOL w1728 w0 EOL w1728 w0 EOL w1728 w0 EOL w1728 w0 0000"));
const std::string short_line = text(coded("EOL w1728 w0 EOL w1728 w0 EOL w960 w40 EOL w1728 w0"));

/// The heights of the pictures in a PBM file, each below 10, as one digit after another.
std::string heights(const std::string &bytes) {
  std::string all;
  for (size_t at = 0; at < bytes.size();) {
    const Picture picture = from_pbm(bytes.substr(at));
    all += std::to_string(picture.height);
    at = bytes.find('\n', at + 3) + 1 + (picture.width + 7) / 8 * picture.height;
  }
  return all;
}

/// A page with lines of every kind, then one of real life.
Picture pages(const std::string &resolution) {
  Picture all = random_page(7, 60), chart = every_row(load_chart("itu5"), resolution == "fine" ? 1 : 2);
  all.pixels.insert(all.pixels.end(), chart.pixels.begin(), chart.pixels.end());
  all.height += chart.height;
  return all;
}

}  // namespace

TEST_F(Output, PixelsOutArePixelsInInEachCodingAndResolution) {
  for (const std::string coding : {"mh", "mr", "mmr"}) {
    for (const std::string resolution : {"normal", "fine"}) {
      const std::string page = pbm(pages(resolution)), modes = " --coding " + coding + " --resolution " + resolution;
      const ToolRun out = shell("$tool create a.fax -" + modes + " && $tool extract a.fax - --format pbm", page);
      EXPECT_TRUE(out.status == 0 && out.out == page) << modes << out.err;
    }
  }
}

TEST_F(Output, OtherProgramsSeeThePixelsTheCodingAndTheSizeOnPaper) {
  const std::string judge = "tiffinfo a.*; file a.*; identify -format '%x %y %U' a.*; pdfimages -list a.*; pdfinfo a.*";
  const std::string from_pdf = "pdfimages a.pdf i && cat i-000.pbm", drawn = "pdftoppm -mono -rx 204 -ry 196 a.pdf";
  const std::string back = "$tool create b.fax a.pdf --resolution normal && $tool extract b.fax - -fpbm";
  const struct {
    std::string resolution, file, coding, size, pixels, option = {};
  } cases[] = {
      {"fine", "a.tif", "CCITT Group 4", "204, 196 pixels/inch", "convert a.tif pbm:-"},
      {"normal", "a.TIFF", "CCITT Group 4", "204, 98 pixels/inch", "convert a.TIFF pbm:-"},
      {"normal", "a.tif", "CCITT Group 3", "204, 98 pixels/inch", "convert a.tif pbm:-", " --coding=g3"},
      {"fine", "a.png", "1-bit grayscale", "80.31", "convert a.png pbm:-"},
      {"normal", "a.png", "1-bit grayscale", "38.579", "convert a.png pbm:-"},
      {"fine", "a.pdf", "ccitt  no         5  0   204   196", "609.882 x 894.857 pts", from_pdf},
      {"normal", "a.pdf", "ccitt  no         5  0   204    98", "609.882 x 916.898 pts", back},
      {"fine", "a.pdf", "ccitt", "609.882 x 894.857 pts", drawn},
  };
  for (const auto &row : cases) {
    const Picture page = pages(row.resolution);
    ASSERT_EQ(run("create in.fax - --resolution " + row.resolution, pbm(page)).status, 0);
    const ToolRun out = run("extract in.fax " + row.file + row.option);
    EXPECT_TRUE(out.status == 0 && out.out + out.err == "") << row.file << out.err;
    EXPECT_THAT(shell(judge).out, AllOf(HasSubstr(row.coding), HasSubstr(row.size)));
    EXPECT_TRUE(from_pbm(shell(row.pixels).out) == page) << row.file << row.pixels;
    std::filesystem::remove(dir.path(row.file));
  }
}

TEST_F(Output, SquarePixelsRepeatLinesAndLoseNone) {
  const Picture page = random_page(3, 500);
  for (const auto &[resolution, lines] : {std::pair("normal", 98), {"fine", 196}}) {
    ASSERT_EQ(run("create a.fax - --resolution " + std::string(resolution), pbm(page)).status, 0);
    EXPECT_THAT(shell("$tool extract a.fax a.tif --square; tiffinfo a.tif").out, HasSubstr("204, 204 pixels/inch"));
    const Picture square = from_pbm(shell("convert a.tif pbm:-").out);
    EXPECT_EQ(square.height, std::lround(500.0 * 204 / lines));
    Picture single{1728, 0, {}};
    for (uint32_t row = 0; row < square.height; ++row) {
      if (row > 0 && std::equal(square.row(row), square.row(row) + 216, square.row(row - 1))) continue;
      single.pixels.insert(single.pixels.end(), square.row(row), square.row(row) + 216);
      ++single.height;
    }
    EXPECT_TRUE(single == page) << resolution;
  }
}

TEST_F(Output, SelectionsChooseAmongOwnAndIncludedPages) {
  const auto page = [](uint32_t lines) { return encoded_page(random_page(lines, lines), 3); };
  const std::string modes = "RESOLUTION:1\nCOMPRESSION:3\n";
  dir.write("other.fax", fax_bytes("#PAGES:2\n" + modes, {page(2), page(3)}));
  dir.write("a.fax",
            fax_bytes("#PAGES:3\nINCLUDE_PAGES:2\nINCLUDE:other.fax 2 2\n" + modes, {page(1), page(4), page(5)}));
  const std::pair<std::string, std::string> cases[] = {
      {"1-5", "12345"},   {"2", "2"},      {"1-3,5,z", "12355"}, {"z-r3", "543"}, {"r5,1", "11"},
      {":even", "24"},    {":odd", "135"}, {"3-2,4:even", "24"}, {"0", ""},       {"6", ""},
      {"r6", ""},         {"1,", ""},      {",1", ""},           {"2-", ""},      {"1-2-3", ""},
      {"x", ""},          {"1:even", ""},  {"1 2", ""},          {"-1", ""},      {"r", ""},
      {"99999999999", ""}};
  for (const auto &[selection, chosen] : cases) {
    const ToolRun out = run("extract a.fax - -fpbm '--pages=" + selection + "'");
    EXPECT_EQ(out.status, chosen.empty() ? 1 : 0) << selection << out.err;
    EXPECT_EQ(heights(out.out), chosen) << selection;
    EXPECT_EQ(out.err.empty(), out.status == 0) << selection;
  }
  EXPECT_EQ(heights(run("extract a.fax - -fpbm").out), "12345");
  EXPECT_EQ(run("extract a.fax p%03d.pbm --pages 4,2").status, 0);
  EXPECT_EQ(heights(bytes("p002.pbm") + bytes("p004.pbm")), "24");
  EXPECT_EQ(dir.entries(), 4);
  EXPECT_EQ(shell("$tool extract a.fax a.tif; tiffinfo a.tif | grep -c 'Image Length: [1-5]$'").out, "5\n");
  complains("extract a.fax a.png", 1, "%d");
}

TEST_F(Output, CheckNamesEveryFault) {
  const std::string mmr = encoded_page(random_page(1, 5), 3), modes = "RESOLUTION:1\n";
  std::string many = "#PAGES:1\n" + modes;
  for (int line = 0; line < 98; ++line) many += "DATE:" + std::to_string(line) + "\n";
  dir.write("mmr.fax", fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n", {mmr}));
  dir.write("loop.fax", fax_bytes("#PAGES:0\nINCLUDE:a.fax 1 9\n"));
  const struct {
    std::string header, faults;  // on standard error, "a.fax: " taken off; empty: a good file
    std::string tail = {};
    std::vector<std::string> pages = {white};
  } cases[] = {
      {"#PAGES:2\n" + modes, "", "", {white, white}},
      {modes, "", "", {}},
      {"#PAGES:2\n" + modes, "page 2: line 3: ends before 1728 pixels\n", "", {white, short_line}},
      {"#PAGES:3\n" + modes, "#PAGES is 3, and the file has 1\n"},
      {modes, "#PAGES is missing, and the file has 1\n"},
      {"#PAGES:1\n", "RESOLUTION is missing or no resolution\n"},
      {"#PAGES:1\nCOMPRESSION:2\n" + modes,
       "COMPRESSION names no coding that can be decoded\npage 1: pages in UMMR cannot be decoded\n"},
      {"#PAGES:1\n" + modes, "the last 7 bytes are a page that is cut short\n", big_endian(99) + "abc"},
      {"#PAGES:1\n" + modes, "the last 3 bytes are a page that is cut short\n", "abc"},
      {"#PAGES:1\nINCLUDE_PAGES:1\nINCLUDE:gone.fax 1 1\n" + modes,
       "./gone.fax: No such file or directory\npage 1 cannot be had\n"},
      {"#PAGES:1\nINCLUDE_PAGES:3\nINCLUDE:mmr.fax 3 1\n" + modes,
       "INCLUDE_PAGES is 3, and the file has 1\nthe pages of mmr.fax stand in front of page 3, and the file has 1\n"
       "page 2 cannot be read from a.fax\n"},
      {"#PAGES:1\nINCLUDE_PAGES:1\nINCLUDE:mmr.fax 1 1\n" + modes,
       "page 1: ./mmr.fax has pages in MMR, and will be read as MH\n"},
      {"#PAGES:1\nINCLUDE_PAGES:1\nINCLUDE:loop.fax 1 1\n" + modes, "page 1: inclusions without end\n"},
      {"#PAGES:1\nINCLUDE:mmr.fax one\n" + modes, "its INCLUDE lines cannot be read\n"},
      {many, "more than 99 header lines cannot be viewed\n"},
  };
  for (const auto &row : cases) {
    dir.write("a.fax", fax_bytes(row.header, row.pages) + row.tail);
    const ToolRun out = run("check a.fax");
    EXPECT_EQ(out.status, row.faults.empty() ? 0 : 3) << row.faults;
    EXPECT_THAT(out.out, HasSubstr(row.faults.empty() ? "a.fax: good, " : "a.fax: damaged, "));
    std::string faults = out.err;
    for (const std::string front : {"tolvane-fax: ", "a.fax: "}) {
      for (size_t at = 0; (at = faults.find(front, at)) != faults.npos; at = faults.find('\n', at))
        faults.erase(at, front.size());
    }
    EXPECT_EQ(faults, row.faults);
  }
}

TEST_F(Output, DamageIsNamedAndTheRestIsGivenAllTheSame) {
  dir.write("a.fax", fax_bytes("#PAGES:2\nINCLUDE_PAGES:1\nINCLUDE:gone.fax 3 1\nRESOLUTION:0\n", {white, short_line}));
  const std::tuple<std::string, std::string, bool> cases[] = {// heights of what is given, whether page 3 is missed
                                                              {"info a.fax", "", true},
                                                              {"check a.fax", "", true},
                                                              {"extract a.fax a.pbm", "44", true},
                                                              {"extract a.fax a.pbm -p2", "4", false},
                                                              {"render a.fax a.pbm --page 2", "4", false}};
  for (const auto &[line, given, gone] : cases) {
    const ToolRun out = run(line);
    EXPECT_EQ(out.status, 3);
    EXPECT_THAT(out.err, HasSubstr("a.fax: page 2: line 3: ends before 1728 pixels\n"));
    EXPECT_EQ(out.err.find("gone.fax: No such file") != out.err.npos, gone) << line;
    EXPECT_EQ(given.empty() ? "" : heights(bytes("a.pbm")), given) << line;
  }
  std::filesystem::remove(dir.path("a.pbm"));
  EXPECT_EQ(run("extract a.fax p%d.pbm").status, 3);
  EXPECT_EQ(dir.entries(), 3);
  // Ten places are named.
  std::string lines;
  for (int line = 0; line < 13; ++line) lines += "EOL w64 w0 ";
  dir.write("a.fax", fax_bytes("#PAGES:1\nRESOLUTION:0\n", {text(coded(lines))}));
  EXPECT_THAT(run("check a.fax").err, AllOf(HasSubstr("line 10: "), HasSubstr("page 1: 3 more places\n")));
}

TEST_F(Output, InfoTellsTheSameToPeopleAndPrograms) {
  dir.write("b.fax", fax_bytes("#PAGES:1\nRESOLUTION:1\n", {white + white}));
  dir.write("a.fax", fax_bytes("#PAGES:2\nSUBJECT:one:\rtwo \xFF\nodd\nINCLUDE_PAGES:2\nINCLUDE:b.fax 2 1\n"
                               "INCLUDE:gone.fax 2 1\nRESOLUTION:0\n",
                               {white, short_line}) +
                         "tail.");
  const std::string expected = R"({"schema": 1, "file": "a.fax", "size": 152, "coding": "MH", "lines_per_inch": 98,
    "own_pages": 2, "lost_bytes": 5, "header": [{"name": "#PAGES", "value": "2"},
    {"name": "SUBJECT", "value": "one:\rtwo \ufffd"}, {"name": "odd", "value": null},
    {"name": "INCLUDE_PAGES", "value": "2"}, {"name": "INCLUDE", "value": "b.fax 2 1"},
    {"name": "INCLUDE", "value": "gone.fax 2 1"}, {"name": "RESOLUTION", "value": "0"}], "pages": [
    {"page": 1, "readable": true, "file": "a.fax", "record": 1, "coding": "MH", "bytes": 15, "lines": 4,
     "damaged_lines": 0, "damage": []},
    {"page": 2, "readable": true, "file": "./b.fax", "record": 1, "coding": "MH", "bytes": 30, "lines": 8,
     "damaged_lines": 0, "damage": []},
    {"page": 3, "readable": false, "file": "./gone.fax", "record": 1},
    {"page": 4, "readable": true, "file": "a.fax", "record": 2, "coding": "MH", "bytes": 15, "lines": 4,
     "damaged_lines": 1, "damage": [{"line": 3, "what": "ends before 1728 pixels"}]}]})";
  EXPECT_EQ(nlohmann::json::parse(run("info a.fax --json").out), nlohmann::json::parse(expected));
  EXPECT_EQ(run("info --csv a.fax b.fax").out,
            "file,page,source,record,coding,bytes,lines,damaged_lines\na.fax,1,a.fax,1,MH,15,4,0\n"
            "a.fax,2,./b.fax,1,MH,30,8,0\na.fax,3,./gone.fax,1,,,,\na.fax,4,a.fax,2,MH,15,4,1\n"
            "b.fax,1,b.fax,1,MH,30,8,0\n");
  const std::string shown = run("info a.fax").out;
  for (const char *part : {"size:        152 bytes\n", "Normal (98 lpi)\n", "4, 2 of its own and 2 from other files\n",
                           "  SUBJECT:one:\\ntwo \xFF\n  odd\n", "    3  cannot be had\n"})
    EXPECT_THAT(shown, HasSubstr(part));
  dir.write("a,\"b.fax", fax_bytes("RESOLUTION:1\n", {white}));
  EXPECT_THAT(run("info --csv 'a,\"b.fax'").out, HasSubstr("\n\"a,\"\"b.fax\",1,\"a,\"\"b.fax\",1,MH,"));
  const ToolRun both = run("info --json gone.fax - <b.fax");
  EXPECT_EQ(both.status, 2);
  EXPECT_EQ(nlohmann::json::parse(both.out)["file"], "standard input");
}

TEST_F(Output, RenderShowsWhatThePlainRulesSay) {
  const Picture chart = every_row(load_chart("itu1"), 2);
  for (int setting = 0; setting < 24; ++setting) {
    PlainPicture plain{setting % 3, setting / 3 % 4 * 90, setting / 12 == 1};
    const int32_t coding = std::array{0, 1, 3}[static_cast<size_t>(setting / 4) % 3];
    const std::string page = encoded_page(chart, coding);
    dir.write("a.fax",
              fax_bytes("RESOLUTION:" + std::to_string(plain.fine) + "\nCOMPRESSION:" + std::to_string(coding) + "\n",
                        {white, page}));
    const ToolRun out = run("render - - -fpbm -p2 --scale " + std::to_string(100 - 25 * plain.reduced) +
                            " --orientation " + std::to_string(plain.orientation) + " <a.fax");
    const Picture shown = from_pbm(out.out);
    const int32_t lines = plain.paint_page(page, coding);
    ASSERT_EQ(shown.width, static_cast<uint32_t>(plain.width(lines))) << setting << out.err;
    ASSERT_EQ(shown.height, static_cast<uint32_t>(plain.height(lines))) << setting;
    int64_t wrong = 0;
    const uint32_t stride = (shown.width + 7) / 8;
    for (uint32_t y = 0; y < shown.height; ++y) {
      for (uint32_t x = 0; x < shown.width; ++x)
        wrong += plain.black(lines, static_cast<int32_t>(y), static_cast<int32_t>(x)) !=
                 ((shown.pixels[y * stride + x / 8] & 0x80 >> x % 8) != 0);
    }
    EXPECT_EQ(wrong, 0) << setting;
  }
  EXPECT_THAT(shell("$tool render a.fax a.tif -p2 --scale 50 --orientation 90; tiffinfo a.tif").out,
              HasSubstr("Resolution: 49, 51 pixels/inch"));
}

TEST_F(Output, BadFilesAndFullDisksFailWithAMessageAndLeaveNothing) {
  dir.write("good.fax", fax_bytes("RESOLUTION:1\nCOMPRESSION:3\n", {coded_chart("itu5", 1)}));
  dir.write("empty", "");
  dir.write("text", "no fax at all\n");
  dir.write("none.fax", fax_bytes("RESOLUTION:1\n"));
  dir.write("blank.fax", fax_bytes("RESOLUTION:1\n", {""}));
  const int before = dir.entries();
  std::vector<std::string> lines = {"extract none.fax a.tif", "extract blank.fax a.tif",   "extract blank.fax %d.tif",
                                    "render blank.fax a.tif", "render good.fax a.tif -p2", "extract good.fax no/a.tif"};
  for (const std::string file : {"empty", "text", "gone", "."})
    lines.insert(lines.end(),
                 {"info " + file, "check " + file, "extract " + file + " a.pdf", "render " + file + " a.png"});
  for (const std::string format : {"tiff", "pdf", "png", "pbm"}) {
    for (const std::string command : {"extract", "render"}) {
      for (const std::string out : {"/dev/full", "a.out"})
        lines.push_back(command + " good.fax " + out + " -f" + format);
    }
  }
  for (const std::string &line : lines) {
    const ToolRun out = shell("ulimit -f 8; exec $tool " + line);
    EXPECT_EQ(out.status, 2) << line << out.err;
    EXPECT_THAT(out.err, HasSubstr("tolvane-fax: ")) << line;
    EXPECT_EQ(dir.entries(), before) << line;
  }
}
