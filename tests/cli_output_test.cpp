// `info`, `check`, `extract` and `render`: what leaves a fax file, with libtiff, ImageMagick and poppler as judges.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <nlohmann/json.hpp>
#include <sstream>

#include "helpers/coded_page.h"
#include "helpers/encoded_page.h"
#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"
#include "helpers/places.h"
#include "helpers/plain_picture.h"

using testing::HasSubstr;
using Output = ToolTest;

namespace {

const auto text = [](const std::vector<uint8_t> &bytes) { return std::string(bytes.begin(), bytes.end()); };
// Four white lines in MH, and four of which the third ends early.
const std::string white = text(coded("EOL w1728 w0 EOL w1728 w0 EOL w1728 w0 EOL w1728 w0 0000"));
const std::string short_line = text(coded("EOL w1728 w0 EOL w1728 w0 EOL w960 w40 EOL w1728 w0"));
// The heights of the pictures in a PBM file, each below 10, as one digit after another.
std::string heights(const std::string &bytes) {
  std::string all;
  for (size_t at = 0; at < bytes.size();) {
    const Picture picture = from_pbm(bytes.substr(at));
    all += std::to_string(picture.height);
    at = bytes.find('\n', at + 3) + 1 + (picture.width + 7) / 8 * picture.height;
  }
  return all;
}

}  // namespace

TEST_F(Output, OtherProgramsSeeThePixelsTheCodingAndTheSizeOnPaper) {
  const std::string judge = "tiffinfo a.*; file a.*; identify -format '%x %y %U' a.*; pdfimages -list a.*; pdfinfo a.*";
  const std::string back = "$tool create b.fax a.pdf --resolution normal && $tool extract b.fax - -fpbm";
  const struct {
    std::string resolution, coding, words, told, size, pixels;
  } cases[] = {
      {"fine", "mh", "a.pbm", "Netpbm", "1728 x 2376", "cat a.pbm"},
      {"fine", "mr", "a.tif", "CCITT Group 4", "204, 196 pixels/inch", "convert a.tif pbm:-"},
      {"normal", "mmr", "a.tif --coding=g3", "CCITT Group 3", "204, 98 pixels/inch", "convert a.tif pbm:-"},
      {"normal", "mr", "a.png", "1-bit grayscale", "38.579", "convert a.png pbm:-"},
      {"fine", "mmr", "a.pdf", "5  0   204   196", "609.882 x 872.816 pts", "pdfimages a.pdf i && cat i-000.pbm"},
      {"normal", "mh", "a.pdf", "5  0   204    98", "609.882 x 1745.63 pts", back},
      {"fine", "mh", "a.pdf", "ccitt", "609.882 x 872.816 pts", "pdftoppm -mono -rx 204 -ry 196 a.pdf"},
  };
  const Picture page = random_page(7, 2376);
  for (const auto &row : cases) {
    ASSERT_EQ(run("create in.fax - --coding " + row.coding + " --resolution " + row.resolution, pbm(page)).status, 0);
    complains("extract in.fax " + row.words, 0, "");
    EXPECT_THAT(shell(judge).out, testing::AllOf(HasSubstr(row.told), HasSubstr(row.size)));
    EXPECT_TRUE(from_pbm(shell(row.pixels).out) == page) << row.words << row.pixels;
    std::filesystem::remove(dir.path(row.words.substr(0, 5)));
  }
  for (const char *line : {"extract in.fax in.fax -fpdf", "render in.fax ./in.fax -fpbm"})
    complains(line, 2, "takes pages from it");
}

TEST_F(Output, AnyNumberOfThreadsGivesTheSameBytesAndMessages) {
  std::vector<std::string> records;
  for (uint32_t seed = 0; seed < 12; ++seed)
    records.push_back(seed % 4 == 1 ? short_line : encoded_page(random_page(seed, 5 + seed), 0));
  dir.write("in.fax", fax_bytes("#PAGES:12\nRESOLUTION:0\nCOMPRESSION:0\n", records));
  dir.write("in.pbm",
            pbm(load_chart("itu4")) + pbm(random_page(1, 3)) + pbm(load_chart("itu7")) + pbm(random_page(2, 9)));
  for (const std::string command :
       {"extract in.fax - -fpdf", "extract in.fax - -ftiff --coding g3", "check in.fax", "check --json in.fax in.fax",
        "merge --coding mmr --resolution fine - in.fax", "create - in.pbm in.pbm"}) {
    const ToolRun one = run(command + " -j 1");
    EXPECT_EQ(one.status, command.starts_with("create") ? 0 : 3) << command;
    for (const char *threads : {" -j 2", " --jobs=7"}) {
      const ToolRun several = run(command + threads);
      EXPECT_TRUE(several.status == one.status && several.out == one.out && several.err == one.err)
          << command << threads;
    }
  }
}

TEST_F(Output, SquarePixelsRepeatLinesAndLoseNone) {
  const Picture page = random_page(3, 500);
  shell("$tool create a.fax - --resolution normal; $tool extract a.fax a.tif --square", pbm(page));
  const Picture square = from_pbm(shell("convert a.tif pbm:-").out);
  EXPECT_EQ(square.height, std::lround(500.0 * 204 / 98));
  Picture single{1728, 0, {}};
  for (uint32_t row = 0; row < square.height; ++row) {
    if (row > 0 && std::equal(square.row(row), square.row(row) + 216, square.row(row - 1))) continue;
    single.pixels.insert(single.pixels.end(), square.row(row), square.row(row) + 216);
    ++single.height;
  }
  EXPECT_TRUE(single == page);
  EXPECT_EQ(shell("$tool extract a.fax - -f pbm --square --rotate 90 | pnmflip -ccw").out, pbm(square));
  dir.write("b.fax", fax_bytes("#PAGES:1\nRESOLUTION:5\nCOMPRESSION:3\n", {encoded_page(random_page(1, 1), 3)}));
  EXPECT_EQ(heights(run("extract b.fax - -f pbm --square").out), "1");
}

TEST_F(Output, SelectionsChooseAmongOwnAndIncludedPages) {
  const auto page = [](uint32_t lines) { return encoded_page(random_page(lines, lines), 3); };
  const std::string modes = "RESOLUTION:1\nCOMPRESSION:3\n";
  dir.write("other.fax", fax_bytes("#PAGES:2\n" + modes, {page(2), page(3)}));
  dir.write("a.fax",
            fax_bytes("#PAGES:3\nINCLUDE_PAGES:2\nINCLUDE:other.fax 2 2\n" + modes, {page(1), page(4), page(5)}));
  const std::pair<std::string, std::string> cases[] = {
      {"1-5", "12345"}, {"1-3,5,z", "12355"}, {"z-r3", "543"}, {":odd", "135"},    {"3-2,4:even", "24"}, {"0", ""},
      {"6", ""},        {"1,", ""},           {"1-2-3", ""},   {"99999999999", ""}};
  for (const auto &[selection, chosen] : cases) {
    const ToolRun out = run("extract a.fax - -fpbm --pages=" + selection);
    EXPECT_EQ(out.status, chosen.empty() ? 1 : 0) << selection << out.err;
    EXPECT_EQ(heights(out.out), chosen) << selection;
  }
  const std::tuple<const char *, const char *, int> names[] = {
      {"p%03d.pbm", "p002.pbm", 0}, {"q%3d.pbm", "q002.pbm", 0},     {"r%d.pbm", "r2.pbm", 0},
      {"5%.pbm", "5%.pbm", 0},      {"p%d-%d.pbm", "p%d-%d.pbm", 1}, {"p%2222d.pbm", "p%2222d.pbm", 1}};
  for (const auto &[pattern, name, status] : names) {
    for (const std::string command : {"extract a.fax -p2 ", "render a.fax -p2 "}) {
      EXPECT_EQ(run(command + pattern).status, status) << pattern;
      EXPECT_EQ(std::filesystem::remove(dir.path(name)), status == 0) << command << pattern;
    }
  }
}

TEST_F(Output, CheckNamesEveryFault) {
  const std::string modes = "RESOLUTION:1\n", including = "#PAGES:1\nINCLUDE_PAGES:1\n" + modes + "INCLUDE:";
  dir.write("mmr.fax", fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n", {encoded_page(random_page(1, 5), 3)}));
  dir.write("loop.fax", fax_bytes("#PAGES:0\nINCLUDE:a.fax 1 9\n"));
  const struct {
    std::string header, fault;
    std::vector<std::string> pages = {white};
    std::string tail = {};
  } cases[] = {
      {"#PAGES:2\n" + modes, "", {white, white}},
      {"#PAGES:2\n" + modes, "page 2: line 3: ends before 1728 pixels", {white, short_line}},
      {"#PAGES:1\n" + modes, "page 1: line 1: lost: no EOL before it", {"\x55" + white}},
      {"#PAGES:3\n" + modes, "#PAGES is 3, but the file has 1"},
      {"#PAGES:1\n", "RESOLUTION is missing or invalid"},
      {"#PAGES:1\nCOMPRESSION:2\n" + modes, "page 1: pages in UMMR cannot be decoded"},
      {"#PAGES:1\nCOMPRESSION:0\nCOMPRESSION: \n" + modes, "COMPRESSION is not a coding that can be decoded"},
      {"#PAGES:1\n" + modes, "the last 7 bytes are a page that is cut short", {white}, big_endian(99) + "abc"},
      {including + "gone.fax 1 1\n", "page 1 is not available: ./gone.fax: No such file"},
      {including + "mmr.fax 3 1\n", "the pages of mmr.fax are included before page 3, but the file has 1"},
      {including + "mmr.fax 1 1\n", "page 1: ./mmr.fax has pages in MMR, which viewers decode as MH"},
      {including + "loop.fax 1 1\n", "page 1 is not available: endless inclusions"},
  };
  for (const auto &row : cases) {
    dir.write("a.fax", fax_bytes(row.header, row.pages) + row.tail);
    const ToolRun out = run("check a.fax");
    EXPECT_EQ(out.status, row.fault.empty() ? 0 : 3) << row.fault;
    EXPECT_THAT(out.out, HasSubstr(row.fault.empty() ? "a.fax: good, " : "a.fax: damaged, "));
    EXPECT_EQ(out.err.empty(), row.fault.empty()) << out.err;
    EXPECT_THAT(out.err, HasSubstr(row.fault));
    const nlohmann::json json = nlohmann::json::parse(run("check --json -v a.fax").out);
    const nlohmann::json &faults = json["faults"];
    EXPECT_EQ(json["good"], row.fault.empty()) << json;
    EXPECT_THAT(faults.dump(), row.fault.empty() ? testing::Matcher<std::string>("[]") : HasSubstr('"' + row.fault));
  }
}

TEST_F(Output, DamageIsToldAndTheRestIsGivenAllTheSame) {
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
  dir.write("u.fax", fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:2\n", {white}));
  EXPECT_FALSE(nlohmann::json::parse(run("info u.fax --json").out)["pages"][0].contains("damage"));
  EXPECT_THAT(run("info --csv a.fax b.fax").out,
              HasSubstr("\na.fax,3,./gone.fax,1,,,,\na.fax,4,a.fax,2,MH,15,4,1\nb.fax,1,b.fax,1,MH,30,8,0\n"));
  for (const auto &[line, given] : {std::pair("info a.fax", ""),
                                    {"extract a.fax a.pbm", "484"},
                                    {"extract a.fax a.pbm -p4", "4"},
                                    {"render a.fax a.pbm --page 4", "4"}}) {
    const ToolRun out = run(line);
    EXPECT_EQ(out.status, 3) << line;
    EXPECT_THAT(out.err, HasSubstr("a.fax: page 4: line 3: ends before 1728 pixels\n"));
    EXPECT_EQ(heights(bytes("a.pbm")), given);
    std::filesystem::remove(dir.path("a.pbm"));
  }
  EXPECT_THAT(run("extract a.fax a.pbm -p :even").err, Not(HasSubstr("page 3")));
  dir.write("fall.fax", fax_bytes("#PAGES:1\nINCLUDE:b.fax 2 1\nINCLUDE:b.fax 1 1\nRESOLUTION:1\n", {white}));
  for (const char *line : {"info fall.fax >f", "check fall.fax >f", "extract fall.fax f.pbm", "render fall.fax f.pbm",
                           "compare fall.fax fall.fax"})
    complains(line, 3, "fall.fax: \"INCLUDE:b.fax 1 1\" is out of order");
  const std::pair<std::string, int> last_lines[] = {{"a note\n", 3}, {"\n", 3}, {":x\n", 3}, {std::string(9, '\0'), 0}};
  for (const auto &[line, status] : last_lines) {
    dir.write("last.fax", fax_bytes("#PAGES:1\nRESOLUTION:1\n" + line, {white}));
    complains("check last.fax >f", status, status == 0 ? "" : "which has no name and colon");
  }
  dir.write("p.pbm", pbm(random_page(1, 4)));
  for (const std::string line :
       {"info f.fax >f", "extract f.fax f.pbm", "merge --force m.fax f.fax", "split f.fax s%d.fax",
        "append f.fax p.pbm", "insert 1 f.fax p.pbm", "include b.fax 1 1 f.fax"}) {
    dir.write("f.fax", fax_bytes("#PAGES:4\nRESOLUTION:1\n", {white}));
    complains(line, 3, "f.fax: 3 of 4 pages that #PAGES promises are missing");
  }
}

TEST_F(Output, RenderShowsWhatThePlainRulesSay) {
  const Picture chart = every_row(load_chart("itu1"), 2);
  for (int setting = 0; setting < 24; ++setting) {
    PlainPicture plain{setting % 3, setting / 3 % 4 * 90, setting / 12 == 1};
    const int32_t coding = std::array{0, 1, 3}[static_cast<size_t>(setting / 4) % 3];
    const std::string page = encoded_page(chart, coding);
    const std::string modes = "RESOLUTION:" + std::to_string(plain.fine) + "\nCOMPRESSION:" + std::to_string(coding);
    dir.write("a.fax", fax_bytes(modes + "\n", {white, page}));
    const std::string scale = std::array{"100", "75", "50"}[static_cast<size_t>(plain.reduced)];
    const ToolRun out =
        run("render a.fax - -fpbm -p2 --scale " + scale + " --orientation " + std::to_string(plain.orientation));
    const int32_t lines = plain.paint_page(page, coding);
    const auto width = static_cast<uint32_t>(plain.width(lines)), height = static_cast<uint32_t>(plain.height(lines));
    Picture expected = drawn((width + 7) / 8 * 8, height, [&](uint32_t x, uint32_t y) {
      return x < width && plain.black(lines, static_cast<int32_t>(y), static_cast<int32_t>(x));
    });
    expected.width = width;
    EXPECT_TRUE(from_pbm(out.out) == expected) << setting << out.err;
  }
}

TEST_F(Output, ThumbnailsAreTheAverageOfThePage) {
  dir.write("1.pbm", pbm(load_chart("itu1")));
  ASSERT_EQ(shell("$tool create a.fax 1.pbm; $tool create --resolution normal b.fax 1.pbm --source-dpi 204x98").status,
            0);
  // The files, the size wanted, and the width and height that 8.47 x 12.12 inches, or twice as many down, come to.
  const std::tuple<const char *, int, size_t, size_t> cases[] = {
      {"a", 256, 179, 256}, {"a", 77, 54, 77}, {"b", 512, 179, 512}, {"a", 1, 1, 1}};
  for (const auto &[file, size, width, height] : cases) {
    const std::string side = std::to_string(width) + " -height " + std::to_string(height);
    const std::string name = file;
    complains("render --size " + std::to_string(size) + " " + name + ".fax t.png", 0, "");
    const std::string made = shell("pngtopnm t.png").out;
    const std::string right = shell("ppmtopgm 1.pbm | pamscale -linear -width " + side).out;
    const size_t pixels = width * height;
    ASSERT_TRUE(made.starts_with("P5") && made.size() > pixels && right.size() == made.size()) << size;
    int worst = 0;
    for (size_t i = made.size() - pixels; i < made.size(); ++i)
      worst = std::max(worst, std::abs(static_cast<uint8_t>(made[i]) - static_cast<uint8_t>(right[i])));
    EXPECT_LE(worst, 3) << size;
  }
  complains("render --size 64 a.fax t.pdf", 1, "PNG");
}

TEST_F(Output, ChecksumsAndComparisonsSeeThePixelsAlone) {
  dir.write("1.pbm", pbm(load_chart("itu1")));
  dir.write("5.pbm", pbm(load_chart("itu5")));
  ASSERT_EQ(shell("$tool create a.fax 1.pbm 5.pbm && $tool create --coding mh b.fax 1.pbm 5.pbm").status, 0);
  ASSERT_EQ(shell("$tool create --coding mr c.fax 1.pbm 1.pbm 5.pbm").status, 0);
  const std::string sums = shell("sha256sum 1.pbm 5.pbm | cut -c1-64").out;
  for (const char *file : {"a.fax", "b.fax"})
    EXPECT_EQ(shell(std::string("$tool info --checksum --csv ") + file + " | sed 1d | cut -d, -f9").out, sums) << file;
  complains("compare a.fax b.fax", 0, "");
  const ToolRun out = run("compare a.fax c.fax --difference d%d.pbm");
  const Picture one = load_chart("itu1"), five = load_chart("itu5");
  Picture difference = one;
  std::transform(five.pixels.begin(), five.pixels.end(), difference.pixels.begin(), difference.pixels.begin(),
                 std::bit_xor<uint8_t>());
  int64_t pixels = 0;
  for (const uint8_t byte : difference.pixels) pixels += __builtin_popcount(byte);
  EXPECT_EQ(out.status, 3) << out.err;
  EXPECT_EQ(out.out, "page 2: " + std::to_string(pixels) + " pixels differ\na.fax has 2 pages, c.fax 3\n");
  EXPECT_TRUE(from_pbm(bytes("d2.pbm")) == difference);

  ASSERT_EQ(run("compare b.fax c.fax --difference d%d.tif").status, 3);
  EXPECT_TRUE(from_pbm(shell("convert d2.tif pbm:-").out) == difference);
  ASSERT_EQ(shell("tiffcp -c lzw $charts/itu1.tif $charts/itu5.tif a.tif; $tool extract b.fax a.pdf").status, 0);
  const std::string counts = R"("page_counts":[2,3],"pages":[{"page":2,"readable":true,"pixels":)";
  dir.write("cut.pbm", "P4 10 10\n");
  const std::tuple<const char *, int, std::string> cases[] = {
      {"compare b.fax a.tif", 0, ""},
      {"compare a.pdf a.tif", 0, ""},
      {"compare 1.pbm - <a.fax", 3, "1.pbm has 1 pages, standard input 2\n"},
      {"compare a.pdf b.fax --json", 0,
       R"({"schema":1,"files":["a.pdf","b.fax"],"equal":true,"page_counts":[2,2],"pages":[]})"
       "\n"},
      {"compare --json a.tif c.fax", 3,
       R"({"schema":1,"files":["a.tif","c.fax"],"equal":false,)" + counts + std::to_string(pixels) +
           R"(,"lines":[2376,2376]}]})"
           "\n"},
      {"compare --json a.tif gone.fax", 2,
       R"({"schema":1,"files":["a.tif","gone.fax"],"error":"gone.fax: No such file or directory"})"
       "\n"},
      {"compare --json a.tif cut.pbm", 2,
       R"({"schema":1,"files":["a.tif","cut.pbm"],"error":"cut.pbm: page 1: the file ends before the picture does"})"
       "\n"},
      {"compare --difference %d.pbm 1.pbm 5.pbm", 2, "page 1: " + std::to_string(pixels) + " pixels differ\n"},
  };
  for (const auto &[line, status, printed] : cases) {
    const ToolRun done = run(line);
    EXPECT_TRUE(done.status == status && done.out == printed) << line << ": " << done.status << done.out << done.err;
  }
  EXPECT_TRUE(from_pbm(bytes("1.pbm")) == one);
}

TEST_F(Output, HeadersAreReadWithoutThePages) {
  dir.write("a.fax", fax_bytes("#PAGES:2\nRESOLUTION:1\n", {short_line, short_line}));
  const ToolRun csv = run("info --no-decode --csv a.fax");
  EXPECT_TRUE(csv.status == 0 && csv.err.empty()) << csv.err;
  EXPECT_THAT(csv.out, HasSubstr("\na.fax,1,a.fax,1,MH,15,,\na.fax,2,a.fax,2,MH,15,,\n"));
  dir.write("b c.fax", bytes("a.fax"));
  for (const char *list : {"ls -1 *.fax | $tool check --files-from -",
                           "printf 'a.fax\\0b c.fax\\0' >list; $tool check -0 --files-from list"})
    EXPECT_EQ(shell(list).out, run("check a.fax 'b c.fax'").out) << list;
  for (const char *line : {": | $tool check --files-from -", "echo | $tool extract --files-from - {name}.pbm"})
    EXPECT_TRUE(shell(line).status == 0 && shell(line).err.empty()) << shell(line).err;
  EXPECT_EQ(run("check").status, 1);
  const ToolRun json = run("info --json gone.fax");
  EXPECT_EQ(json.status, 2);
  EXPECT_EQ(nlohmann::json::parse(json.out)["error"], "gone.fax: No such file or directory");
}

TEST_F(Output, PagesArePutOnPaperWhole) {
  const auto page = [](uint32_t height, uint32_t first, uint32_t end) {
    return drawn(1728, height,
                 [=](uint32_t x, uint32_t y) { return x >= first && x < end && (x / 9 + y / 9) % 5 == 0; });
  };
  // The lines of the page and where it is black, the paper, the lines after that, the size of a PDF page, a message.
  const std::tuple<Picture, std::string, uint32_t, std::string, std::string> cases[] = {
      {page(1000, 21, 1707), "a4", 2291, "595.276 x 841.89 pts (A4)", ""},
      {page(1000, 20, 1700), "a4", 2291, "609.882 x 841.89 pts", "a.fax: page 1 is 8.5 inches wide, a4 paper 8.3"},
      {page(1000, 30, 1708), "a4 --rotate 90", 2291, "841.89 x 609.882 pts", "page 1 is 8.5 inches wide"},
      {page(10, 30, 1700), "a4 --rotate 270", 2291, "841.89 x 595.276 pts (A4)", ""},
      {page(2156, 0, 1728), "letter", 2156, "612 x 792 pts (letter)", ""},
      {page(2744, 0, 1728), "Legal", 2744, "612 x 1008 pts", ""},
      {page(2170, 0, 1728), "letter", 2170, "612 x 797.143 pts", "page 1 is 11.1 inches long, letter paper 11.0"},
  };
  for (const auto &[picture, paper, height, size, message] : cases) {
    ASSERT_EQ(run("create a.fax -", pbm(picture)).status, 0);
    Picture whole = picture;
    whole.height = height;
    whole.pixels.resize(size_t{height} * 216);
    const ToolRun out = run("extract a.fax a.pdf --paper " + paper);
    EXPECT_THAT(out.err, message.empty() ? testing::Matcher<std::string>("") : HasSubstr(message)) << paper;
    EXPECT_THAT(shell("pdfinfo a.pdf").out, HasSubstr("Page size:       " + size + "\n"));
    if (paper.find("rotate") != std::string::npos) continue;
    EXPECT_TRUE(from_pbm(shell("pdfimages a.pdf i && cat i-000.pbm").out) == whole) << paper;
    EXPECT_TRUE(from_pbm(run("extract a.fax - -fpbm --paper " + paper).out) == whole) << paper;
    // Shown, it has the same pixels at whole places: what is left without margins is equal.
    EXPECT_EQ(shell("pdftoppm -mono -rx 204 -ry 196 a.pdf | pnmcrop -white | sha1sum").out,
              shell("pnmcrop -white i-000.pbm | sha1sum").out)
        << paper;
  }
}

TEST_F(Output, SeveralFilesGiveWhatEachOfThemGives) {
  const std::string modes[] = {"RESOLUTION:1\n", "", "RESOLUTION:0\nCOMPRESSION:3\n"};
  for (size_t i = 0; i < 6; ++i) {
    const auto page = [&](uint32_t lines) { return encoded_page(random_page(lines, lines), i % 3 == 2 ? 3 : 0); };
    dir.write("a" + std::to_string(i) + ".fax",
              fax_bytes(modes[i % 3], {page(9), i % 3 == 1 ? short_line : page(8), page(7)}));
  }
  ASSERT_EQ(shell("mkdir b one all; cp a0.fax b; ls a[1-5].fax >list; printf '%s\\0' a?.fax >null").status, 0);
  const std::pair<const char *, std::string> cases[] = {
      {"extract a?.fax 'all/{name}.pdf'", "extract $f.fax one/$f.pdf"},
      {"extract a0.fax -fpbm --files-from list 'all/{name}-{page}'", "extract $f.fax -fpbm one/$f-%d"},
      {"extract -0 --files-from null '{dir}/all/{name}-%02d.png'", "extract $f.fax one/$f-%02d.png"},
      {"extract -j1 a?.fax 'all/{name}.tif'", "extract $f.fax one/$f.tif"},
      {"extract -p1,1 a?.fax 'all/{name}-%d.tif'", "extract -p1,1 $f.fax one/$f-%d.tif"},
      {"render a?.fax 'all/{name}.png'", "render $f.fax one/$f.png"},
  };
  for (const auto &[several, single] : cases) {
    const ToolRun all = run(several), one = shell("for f in a0 a1 a2 a3 a4 a5; do $tool " + single + "; done");
    EXPECT_EQ(all.err, one.err) << several;
    EXPECT_EQ(all.status, one.err.empty() ? 0 : 3) << several;
    EXPECT_EQ(shell("ls all | grep -c a5; diff -r all one; rm -rf all/* one/*").out.size(), 2U) << several;
  }
  ASSERT_EQ(shell("$tool merge a.fax a0.fax a0.fax a0.fax a0.fax; ln -s b l; ln -s p2.fax p1.fax").err, "");
  const std::tuple<const char *, int, const char *> faults[] = {
      {"extract a0.fax b/a0.fax 'all/{name}.pdf'", 1, "a0.fax and b/a0.fax would both be written to all/a0.pdf"},
      {"extract b/a0.fax l/a0.old '{dir}/{name}.pdf'", 1, "l/a0.old would both be written to l/a0.pdf"},
      {"extract -f pbm a.fax p%d.fax", 2, "a.fax: pages 1 and 2 would both be written to p2.fax"},
      {"split a.fax p%d.fax", 2, "p1.fax and p2.fax are one file"},
      {"extract a0.fax a1.fax all/x.pdf", 1, "needs {name}"},
      {"extract a0.fax a1.fax -fpdf ./{name}.fax", 1, "a0.fax would be written to ./a0.fax, which is to be read"},
      {"extract a0.fax", 1, "OUT is required"},
      {"extract gone.fax a0.fax all/{name}.pbm -p1", 2, "gone.fax: No such file"},
      {"extract a0.fax a1.fax all/{name}.pbm -p4", 2, "a0.fax: \"4\" is not a selection of pages 1 to 3"},
      {"render a0.fax a2.fax all/{name}.pbm -p4", 2, "a2.fax: no page 4"},
      {"extract -j2 a2.fax a3.fax a4.fax a5.fax a.fax a1.fax 'b/{name}%d.png'", 2, "a1.fax: page 1: b/a11.png is that"},
  };
  for (const auto &[line, status, complaint] : faults) complains(line, status, complaint);
  EXPECT_EQ(shell("echo all/* p?.fax").out, "all/a0.pbm p1.fax\n");
}

TEST_F(Output, NoClobberKeepsEveryFile) {
  ASSERT_EQ(run("create a.fax -", pbm(random_page(1, 9))).status, 0);
  dir.write("old1.pbm", "old");
  dir.write("old1.fax", bytes("a.fax"));
  const std::string before = bytes("old1.fax");
  for (const char *line :
       {"create old1.fax old1.pbm", "extract a.fax old1.pbm", "extract a.fax old%d.pbm", "render a.fax old1.pbm",
        "merge old1.fax a.fax", "split a.fax old%d.fax", "repair a.fax old1.fax"}) {
    complains(std::string(line) + " --no-clobber", 2, " exists");
    EXPECT_TRUE(bytes("old1.pbm") == "old" && bytes("old1.fax") == before) << line;
  }
  complains("extract a.fax new%d.pbm --no-clobber", 0, "");
  EXPECT_EQ(run("create --force --no-clobber old1.fax old1.pbm").status, 1);
}

TEST_F(Output, APathThatNamesADescriptorIsWrittenWhereThatIs) {
  const std::string examples = in_checkout("examples/");
  shell("cp " + examples + "letter.fax .; $tool keywords set letter.fax DATE=x; head -c 5000 " + examples +
        "report.fax >cut.fax; cp " + examples + "cover.fax .");
  const std::string page = shell("$tool extract -f pbm letter.fax -").out;
  EXPECT_EQ(shell("{ echo old; $tool extract -f pbm letter.fax /dev/stdout; echo new; } >all; cat all").out,
            "old\n" + page + "new\n");
  EXPECT_EQ(shell("$tool repair cut.fax /dev/stdout >mended.fax; $tool check mended.fax").status, 0);
  // What is open for reading too is a file to be replaced.
  EXPECT_EQ(shell("$tool keywords delete /dev/fd/3 DATE 3<>letter.fax && $tool check letter.fax").status, 0);
}

TEST_F(Output, EveryOptionIsInTheManPageAndOperandsAreFiles) {
  const std::string manual = read_file(in_checkout("docs/tolvane-fax.1.scd"));
  std::istringstream table(run("completion-table").out);
  int options = 0;
  for (std::string command, names, takes, rest; std::getline(table, command, '|');) {
    std::getline(table, names, '|');
    std::getline(table, takes, '|');
    std::getline(table, rest);
    std::istringstream all(names);
    for (std::string name; all >> name;) {
      if (!name.starts_with("-")) continue;
      ++options;
      EXPECT_THAT(manual, HasSubstr('*' + name + '*')) << command;
    }
    const bool is_file = names == "FILE" || names == "OUT" || names == "--files-from";
    EXPECT_EQ(is_file ? takes : "FILE", "FILE") << command << names;
  }
  EXPECT_GT(options, 100);
}

TEST_F(Output, VerboseSaysWhatIsReadAndWritten) {
  ASSERT_EQ(run("create b.fax -", pbm(random_page(1, 9))).err, "");
  EXPECT_EQ(run("create -v a.fax -", pbm(random_page(1, 9))).err,
            "tolvane-fax: standard input: read as PBM\n"
            "tolvane-fax: standard input: page 1: 1728 x 9 pixels, black and white, no resolution\n"
            "tolvane-fax: a.fax: written\n");
  ASSERT_EQ(run("include b.fax 2 1 a.fax").err, "");
  const std::string size = std::to_string(parts("b.fax").records[0].size());
  EXPECT_EQ(run("extract --verbose -p 2 a.fax a.tif").err, "tolvane-fax: a.fax: page 2: " + size +
                                                               " bytes in MMR, page 1 of ./b.fax\n"
                                                               "tolvane-fax: a.tif: written\n");
}
