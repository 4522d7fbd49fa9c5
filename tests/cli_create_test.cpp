// `create` on real pages: what comes in comes out, judged by libtiff, ImageMagick and poppler's own renderer.
#include <gmock/gmock.h>

#include "helpers/encoded_page.h"
#include "helpers/fax_tool.h"
#include "helpers/temp_dir.h"

using testing::HasSubstr;

namespace {

struct Mode {
  const char *coding, *resolution, *header;
};
constexpr Mode modes[] = {
    {"mh", "normal", "#PAGES:2\nRESOLUTION:0\nCOMPRESSION:0\n"},
    {"mh", "fine", "#PAGES:2\nRESOLUTION:1\nCOMPRESSION:0\n"},
    {"mr", "normal", "#PAGES:2\nRESOLUTION:0\nCOMPRESSION:1\n"},
    {"mr", "fine", "#PAGES:2\nRESOLUTION:1\nCOMPRESSION:1\n"},
    {"mmr", "normal", "#PAGES:2\nRESOLUTION:0\nCOMPRESSION:3\n"},
    {"mmr", "fine", "#PAGES:2\nRESOLUTION:1\nCOMPRESSION:3\n"},
};

/// Converts the PBM of a picture with ImageMagick and gives the path of the result.
std::string by_imagemagick(const TempDir &dir, const Picture &picture, std::vector<std::string> options,
                           const std::string &name) {
  options.insert(options.begin(), {"convert", dir.write("source.pbm", pbm(picture))});
  options.push_back(dir.path(name));
  EXPECT_EQ(run_command(options).status, 0) << name;
  return dir.path(name);
}

/// The first page of a fax, however many lines it has. It is judged in MH: libtiff reads lines of MMR that start black
/// under a line that starts white in another way.
Picture first_page(const std::string &fax) {
  const ToolRun in_mh = fax_tool({"merge", "--coding", "mh", "-", "-"}, {}, fax);
  EXPECT_EQ(in_mh.status, 0) << in_mh.err;
  const std::string record = fax_parts(in_mh.out).records.at(0);
  return seen_by_libtiff(record, "mh", mh_lines(record));
}

}  // namespace

TEST(Create, PixelsInArePixelsOutInEachCodingAndResolution) {
  const TempDir dir;
  const Picture pages[] = {load_chart("itu1"), load_chart("itu4")};
  const std::string both = dir.write("both.pbm", pbm(pages[0]) + "\n" + pbm(pages[1]));
  for (const Mode &mode : modes) {
    const ToolRun run = fax_tool({"create", "--coding", mode.coding, "--resolution", mode.resolution, "-", both});
    ASSERT_EQ(run.status, 0) << run.err;
    const FaxParts made = fax_parts(run.out);
    EXPECT_EQ(made.header, mode.header);
    ASSERT_EQ(made.records.size(), 2U);
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(seen_by_libtiff(made.records[i], mode.coding, 2376), pages[i]) << mode.header;
    }
  }
}

// Through our own decoder into MH, which libtiff reads to the letter also where lines start black.
TEST(Create, NoLineIsLostOrMadeUpInAnyCoding) {
  const TempDir dir;
  for (unsigned seed = 0; seed < 20; ++seed) {
    const Picture page = random_page(seed, 5);
    for (const char *coding : {"mh", "mr", "mmr"}) {
      const ToolRun made = fax_tool({"create", "--coding", coding, "-", "-"}, {}, pbm(page));
      dir.write("page.fax", made.out);
      const ToolRun again = fax_tool({"merge", "--coding", "mh", "-", dir.path("page.fax")});
      ASSERT_EQ(again.status, 0) << again.err;
      const std::string record = fax_parts(again.out).records.at(0);
      EXPECT_EQ(mh_lines(record), 5U) << coding << seed;
      EXPECT_EQ(seen_by_libtiff(record, "mh", 5), page) << coding << seed;
    }
  }
}

TEST(Create, EveryFormatOfThePageGivesTheSameFax) {
  const TempDir dir;
  const Picture chart = load_chart("itu5");
  const std::string expected = fax_tool({"create", "-", "-"}, {}, pbm(chart)).out;
  const struct {
    const char *name;
    std::vector<std::string> options;  // for ImageMagick; it writes its PBM in text where told not to compress
  } formats[] = {
      {"g4.tif", {"-compress", "Group4"}},
      {"g3.tif", {"-compress", "Fax"}},
      {"lzw-grey.tif", {"-depth", "8", "-type", "Grayscale", "-compress", "LZW"}},
      {"colour.tif", {"-depth", "8", "-type", "TrueColor", "-compress", "Zip"}},
      {"bits.png", {"-type", "Bilevel"}},
      {"alpha.png", {"-transparent", "white", "-type", "TrueColorMatte"}},
      {"plain.pbm", {"-compress", "None"}},
      {"nominal.tif", {"-density", "200x200", "-units", "PixelsPerInch", "-compress", "Group4"}},
      {"metric.tif", {"-density", "80.3x77", "-units", "PixelsPerCentimeter", "-compress", "Group4"}},
  };
  for (const auto &format : formats) {
    const std::string file = by_imagemagick(dir, chart, format.options, format.name);
    const ToolRun run = fax_tool({"create", "-", file});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(run.out == expected) << format.name;
  }
  const std::pair<const char *, TiffCoding> raws[] = {
      {"g3", TiffCoding::g3_1d}, {"g3-2d", TiffCoding::g3_2d}, {"g4", TiffCoding::g4}};
  for (const auto &[word, coding] : raws) {
    std::vector<uint8_t> coded = libtiff_encode(chart, coding);
    const std::string low_first(coded.begin(), coded.end());
    for (uint8_t &byte : coded) byte = static_cast<uint8_t>((byte * 0x0202020202ULL & 0x010884422010ULL) % 1023);
    const std::string high_first(coded.begin(), coded.end());
    EXPECT_TRUE(fax_tool({"create", "--raw", word, "-", "-"}, {}, low_first).out == expected) << word;
    EXPECT_TRUE(fax_tool({"create", "--raw", word, "--bit-order", "msb", "-", "-"}, {}, high_first).out == expected)
        << word;
  }
}

TEST(Create, PagesOfSeveralFilesAndOfATiffComeInOrder) {
  const TempDir dir;
  const std::string tiff = dir.path("three.tif"), charts = TOLVANE_SOURCE_DIR "/bench/charts/";
  ASSERT_EQ(run_command({"tiffcp", "-c", "g3:2d", charts + "itu1.tif", charts + "itu4.tif", charts + "itu5.tif", tiff})
                .status,
            0);
  const ToolRun run = fax_tool({"create", dir.path("out.fax"), tiff, charts + "itu7.tif"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out + run.err, "");
  const FaxParts made = fax_parts(read_file(dir.path("out.fax")));
  EXPECT_THAT(made.header, HasSubstr("#PAGES:4\n"));
  int page = 0;
  for (const char *chart : {"itu1", "itu4", "itu5", "itu7"})
    EXPECT_EQ(seen_by_libtiff(made.records.at(page++), "mmr", 2376), load_chart(chart)) << chart;
  EXPECT_EQ(dir.entries(), 2);
}

// A page with a black square of an inch, at many resolutions: the square keeps its size on paper.
TEST(Create, PagesKeepTheirProportionsAndPlace) {
  const TempDir dir;
  const struct {
    uint32_t width, height;
    const char *density, *resolution, *fit;
    uint32_t lines, left, pixels, rows;  // of the result: its lines, and the black part of the first line and column
  } cases[] = {
      {1728, 1176, "204x98", "normal", "center", 1176, 0, 204, 98},
      {1728, 1176, "204x98", "fine", "center", 2352, 0, 204, 196},
      {1728, 2352, "204x196", "normal", "center", 1176, 0, 204, 98},
      {1728, 1100, "200x100", "normal", "center", 1100, 0, 200, 100},
      {2400, 3000, "300x300", "fine", "center", 1960, 48, 204, 196},
      {2400, 3000, "300x300", "normal", "center", 980, 48, 204, 98},
      {2400, 3000, "300x300", "fine", "scale", 2075, 0, 216, 208},
      {800, 400, "100x100", "fine", "center", 784, 48, 204, 196},
      {3000, 300, "300x300", "fine", "center", 166, 0, 173, 166},
      {600, 300, "72x72", "normal", "center", 408, 14, 204, 98},
  };
  for (const auto &row : cases) {
    uint32_t x_dpi = 0, y_dpi = 0;
    sscanf(row.density, "%ux%u", &x_dpi, &y_dpi);
    const Picture square = drawn(row.width, row.height, [&](uint32_t x, uint32_t y) { return x < x_dpi && y < y_dpi; });
    const std::string file = by_imagemagick(
        dir, square, {"-density", row.density, "-units", "PixelsPerInch", "-compress", "Group4"}, "page.tif");
    const ToolRun run = fax_tool({"create", "--resolution", row.resolution, "--fit", row.fit, "-", file});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, fax_tool({"create", "--resolution", row.resolution, "--fit", row.fit, "--source-dpi",
                                 row.density, "-", "-"},
                                {}, pbm(square))
                           .out);
    const Picture page = first_page(run.out);
    const auto black = [&](uint32_t x, uint32_t y) { return page.row(y)[x / 8] >> (7 - x % 8) & 1; };
    uint32_t left = 0, right = 0, bottom = 0;
    while (left < 1728 && !black(left, 0)) ++left;
    for (right = left; right < 1728 && black(right, 0); ++right) {
    }
    while (bottom < page.height && black(left, bottom)) ++bottom;
    EXPECT_EQ(page.height, row.lines) << row.density << row.fit;
    EXPECT_EQ(left, row.left) << row.density << row.fit;
    EXPECT_NEAR(right - left, row.pixels, 1) << row.density << row.fit;
    EXPECT_NEAR(bottom, row.rows, 1) << row.density << row.fit;
  }
}

TEST(Create, GreyBecomesBlackAndWhite) {
  const TempDir dir;
  ASSERT_EQ(run_command({"convert", "-size", "1728x400", "xc:rgb(140,140,140)", dir.path("grey.png")}).status, 0);
  const auto black_share = [&](const std::vector<std::string> &options) {
    std::vector<std::string> words = {"create", "-", dir.path("grey.png")};
    words.insert(words.end(), options.begin(), options.end());
    const Picture page = first_page(fax_tool(words).out);
    int black = 0;
    for (const uint8_t byte : page.pixels) black += __builtin_popcount(byte);
    return static_cast<double>(black) / (1728.0 * page.height);
  };
  EXPECT_EQ(black_share({}), 0);
  EXPECT_EQ(black_share({"--threshold", "141"}), 1);
  EXPECT_NEAR(black_share({"--grey", "diffusion"}), 1 - 140 / 255.0, 0.005);
}

// The page holds text and figures; poppler's own program draws the same page at the same resolution.
TEST(Create, PdfIsRenderedAtTheResolutionOfTheFax) {
  const TempDir dir;
  const std::string content =
      "0.9 g 100 100 200 200 re f 0 g 30 600 m 500 700 l 5 w S BT /F 40 Tf 60 400 Td (Fax) Tj ET";
  std::string pdf =
      "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj 2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
      "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 595 842]/Contents 4 0 R/Resources<</Font<</F<</Type/Font"
      "/Subtype/Type1/BaseFont/Helvetica>>>>>>>>endobj\n4 0 obj<</Length " +
      std::to_string(content.size()) + ">>stream\n" + content + "\nendstream endobj\ntrailer<</Root 1 0 R>>\n";
  dir.write("page.pdf", pdf);
  const std::pair<const char *, const char *> resolutions[] = {{"fine", "196"}, {"normal", "98"}};
  for (const auto &[resolution, lpi] : resolutions) {
    run_command({"pdftoppm", "-gray", "-singlefile", "-rx", "204", "-ry", lpi, dir.path("page.pdf"), dir.path("page")});
    ASSERT_EQ(run_command({"convert", dir.path("page.pgm"), "-threshold", "49.9%", "-gravity", "West", "-background",
                           "white", "-splice", "21x0", "-gravity", "East", "-splice", "21x0", dir.path("page.pbm")})
                  .status,
              0);
    const Picture drawn_by_poppler = from_pbm(read_file(dir.path("page.pbm")));
    const Picture page = first_page(fax_tool({"create", "--resolution", resolution, "-", dir.path("page.pdf")}).out);
    ASSERT_EQ(drawn_by_poppler.width, 1728U);
    ASSERT_NEAR(page.height, drawn_by_poppler.height, 1);
    int different = 0;
    for (size_t i = 0; i < std::min(page.pixels.size(), drawn_by_poppler.pixels.size()); ++i)
      different += __builtin_popcount(page.pixels[i] ^ drawn_by_poppler.pixels[i]);
    EXPECT_LT(different, 20) << resolution;
  }
}

TEST(Create, KeywordsFollowTheLinesOfTheProgram) {
  const TempDir dir;
  const ToolRun run = fax_tool({"create", "-", "-", "-k", "SUBJECT=two\nlines: DATE", "--keyword", "DATE="}, {},
                               pbm(random_page(1, 3)));
  EXPECT_EQ(fax_parts(run.out).header, "#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\nSUBJECT:two\rlines: DATE\nDATE:\n");
}
