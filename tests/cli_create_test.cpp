// `create` on real pages: what comes in comes out, judged by libtiff, ImageMagick and poppler's own renderer.
#include "helpers/encoded_page.h"
#include "helpers/fax_tool.h"

namespace {

class Create : public ToolTest {
 protected:
  void prepare(const std::string &line) const { EXPECT_EQ(shell(line).status, 0) << line; }
  // The first page of a fax, however many lines it has. It is judged in MH: libtiff reads lines of MMR that start
  // black under a line that starts white in another way.
  Picture first_page(const std::string &fax) const {
    const std::string record = fax_parts(run("merge --coding mh - -", fax).out).records.at(0);
    return seen_by_libtiff(record, "mh", mh_lines(record));
  }
};

// Has libtiff write lines without EOLs: `mode` says whether each starts in a new byte.
void write_without_eols(const Picture &picture, const std::string &path, uint16_t compression, int mode,
                        uint32_t rows_per_strip) {
  TIFF *tiff = TIFFOpen(path.c_str(), "w");
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, picture.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, picture.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  TIFFSetField(tiff, TIFFTAG_FILLORDER, FILLORDER_LSB2MSB);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows_per_strip);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
  TIFFSetField(tiff, TIFFTAG_FAXMODE, mode);
  std::vector<uint8_t> row(picture.stride());
  for (uint32_t y = 0; y < picture.height; ++y) {
    row.assign(picture.row(y), picture.row(y) + picture.stride());
    TIFFWriteScanline(tiff, row.data(), y);
  }
  TIFFClose(tiff);
}

// An SFF page of a TIFF with a line in each strip; the tenth line is white, and not coded.
std::string sff_of(const std::string &path) {
  std::string sff("Sfff\1\0\0\0\1\0\x14\0\0\0\0\0\0\0\0\0\xFE\x10\1\0\0\0\xC0\6\0\0\0\0\0\0\0\0\0\0", 38);
  TIFF *tiff = TIFFOpen(path.c_str(), "r");
  for (uint32_t strip = 0; strip < TIFFNumberOfStrips(tiff); ++strip) {
    std::string line(TIFFRawStripSize64(tiff, strip), '\0');
    TIFFReadRawStrip(tiff, strip, line.data(), static_cast<tmsize_t>(line.size()));
    const std::string size(1, static_cast<char>(line.size()));
    sff += strip == 9 ? "\xD9" : line.size() > 216 ? '\0' + size + '\0' + line : size + line;
  }
  TIFFClose(tiff);
  return sff + std::string("\xFE\0", 2);
}

uint32_t black_pixels(const std::vector<uint8_t> &pixels) {
  uint32_t count = 0;
  for (const uint8_t byte : pixels) count += static_cast<uint32_t>(__builtin_popcount(byte));
  return count;
}

}  // namespace

TEST_F(Create, PagesOfSeveralFilesComeOutInOrderInEachCodingAndResolution) {
  prepare("tiffcp -c g3:2d $charts/itu1.tif $charts/itu4.tif two.tif");
  dir.write("two.pbm", pbm(load_chart("itu5")) + "\n" + pbm(load_chart("itu7")));
  for (const auto &[coding, compression] : {std::pair<std::string, char>{"mh", '0'}, {"mr", '1'}, {"mmr", '3'}}) {
    for (const auto &[resolution, code] : {std::pair<std::string, char>{"normal", '0'}, {"fine", '1'}}) {
      const std::string modes = "--coding " + coding + " --resolution " + resolution;
      FaxParts parts =
          fax_parts(run("create " + modes + " -k 'SUBJECT=a\nb: c' -k DATE=1 -k DATE=2 - two.tif two.pbm").out);
      const std::string lines = std::string("\nRESOLUTION:") + code + "\nCOMPRESSION:" + compression;
      EXPECT_EQ(parts.header, "#PAGES:4" + lines + "\nSUBJECT:a\rb: c\nDATE:1\nDATE:2\n");
      parts.records.resize(4);
      for (size_t i = 0; i < 4; ++i) {
        const char *chart = std::array{"itu1", "itu4", "itu5", "itu7"}[i];
        EXPECT_EQ(seen_by_libtiff(parts.records[i], coding, 2376), load_chart(chart)) << coding << resolution;
      }
    }
  }
}

TEST_F(Create, NoLineIsLostOrMadeUpInAnyCoding) {
  for (uint32_t seed = 0; seed < 20; ++seed) {
    const Picture page = random_page(seed, 5);
    for (const std::string coding : {"mh", "mr", "mmr"})
      EXPECT_EQ(first_page(run("create --coding " + coding + " - -", pbm(page)).out), page) << coding << seed;
  }
}

TEST_F(Create, PackedPixelsBecomeTheLinesThatTheyWouldBecomeInGrey) {
  const Picture picture = random_page(1, 39);
  for (const uint32_t columns : {1728U, 1721U, 9U}) {
    const std::string size = " " + std::to_string(columns) + " 39\n";
    std::string plain = "P1" + size, packed = "P4" + size;
    for (uint32_t y = 0; y < picture.height; ++y) {
      for (uint32_t x = 0; x < columns; ++x) plain += picture.row(y)[x / 8] & 0x80 >> x % 8 ? "1" : "0";
      packed.append(picture.row(y), picture.row(y) + (columns + 7) / 8);
    }
    dir.write("plain.pbm", plain);
    dir.write("packed.pbm", packed);
    // Rows kept, doubled, merged evenly and unevenly, and averages that are black at one threshold and not at the
    // other.
    for (const std::string density : {"204x196", "204x98", "204x392", "204x310"}) {
      for (const std::string halftone : {"--threshold 100", "--threshold 200", "--grey diffusion"}) {
        const std::string line = "create --source-dpi " + density + " " + halftone + " - ";
        EXPECT_EQ(run(line + "packed.pbm").out, run(line + "plain.pbm").out) << columns << line;
      }
    }
  }
}

TEST_F(Create, EveryFormatOfThePageGivesTheSameFax) {
  const Picture chart = load_chart("itu5");
  dir.write("source.pbm", pbm(chart));
  const std::string expected = run("create - source.pbm").out;
  // Options and target of ImageMagick; it writes its PBM in text if told not to compress.
  for (const std::string format :
       {"-compress Fax g3.tif", "-depth 8 -type TrueColor -compress Zip colour.tif", "-type Bilevel bits.png",
        "-transparent white -type TrueColorMatte alpha.png", "-compress None plain.pbm",
        "-density 200x200 -units PixelsPerInch -compress Group4 nominal.tif",
        "-density 80.3x77 -units PixelsPerCentimeter -compress Group4 metric.tif"}) {
    prepare("convert source.pbm " + format);
    const ToolRun made = run("create - " + format.substr(format.rfind(' ')));
    EXPECT_TRUE(made.status == 0 && made.out == expected) << format << made.err;
  }
  const std::pair<std::string, TiffCoding> raws[] = {
      {"g3", TiffCoding::g3_1d}, {"g3-2d", TiffCoding::g3_2d}, {"g4", TiffCoding::g4}};
  for (const auto &[word, coding] : raws) {
    const std::vector<uint8_t> coded = libtiff_encode(chart, coding);
    const ToolRun made = run("create --raw " + word + " - -", {coded.begin(), coded.end()});
    EXPECT_TRUE(made.out == expected) << word << made.err;
    const ToolRun guessed = run("create --raw auto - -", {coded.begin(), coded.end()});
    EXPECT_TRUE(guessed.out == expected) << word;
    EXPECT_EQ(guessed.err,
              "tolvane-fax: standard input: read as --raw " + word + " --width 1728 --bit-order lsb: 2376 lines\n");
  }
}

TEST_F(Create, PagesWithoutLineEndsAndInJbigAreRead) {
  const Picture chart = load_chart("itu5");
  dir.write("source.pbm", pbm(chart));
  const std::string expected = run("create - source.pbm").out;
  constexpr int BYTES = FAXMODE_NORTC | FAXMODE_NOEOL | FAXMODE_BYTEALIGN, BITS = FAXMODE_NORTC | FAXMODE_NOEOL;
  write_without_eols(chart, dir.path("rle.tif"), COMPRESSION_CCITTRLE, BYTES, 100);
  write_without_eols(chart, dir.path("lines.tif"), COMPRESSION_CCITTRLE, BYTES, 1);
  write_without_eols(chart, dir.path("bits.tif"), COMPRESSION_CCITTFAX3, BITS, 500);
  prepare("cp rle.tif three.tif && tiffset -s 259 3 three.tif && tiffcp -c jbig $charts/itu5.tif jbig.tif");
  dir.write("page.sff", sff_of(dir.path("lines.tif")));
  for (const std::string file : {"rle.tif", "three.tif", "bits.tif", "jbig.tif", "page.sff"}) {
    const ToolRun made = run("create - " + file);
    EXPECT_TRUE(made.status == 0 && made.out == expected) << file << made.err;
  }
  dir.write("cut.sff", bytes("page.sff").substr(0, 20000));
  EXPECT_EQ(run("create cut.fax cut.sff").status, 3);
}

// Read by tools of libtiff, poppler and ImageMagick.
TEST_F(Create, HeaderLinesCrossIntoOtherFormatsAndBack) {
  prepare(
      "$tool create -k SUBJECT=Grüße -k 'SENDER_NAME=P. N.' -k 'DATE=2026-11-22 10:20:30' page.fax $charts/itu1.tif");
  const struct {
    std::string file, tool, expected;
  } rows[] = {
      {"page.tif", "tiffinfo page.tif | grep -cE 'ImageDescription: Gr|DateTime: 2026:11:22 10:20:30|Artist: P. N.$'",
       "3\n"},
      {"page.pdf",
       "TZ=UTC pdfinfo -isodates page.pdf | grep -cE '^(Title: *Grüße|Author: *P. N.|CreationDate: "
       "*2026-11-22T10:20:30.*)$'",
       "3\n"},
      {"page.png", "identify -verbose page.png | grep -cE '(Author: P. N.|Creation Time: 2026-11-22 10:20:30)$'",
       "2\n"},
  };
  for (const auto &row : rows) {
    prepare("$tool extract page.fax " + row.file);
    EXPECT_EQ(shell(row.tool).out, row.expected) << row.file;
    prepare("$tool create again.fax " + row.file);
    const std::string header = parts("again.fax").header;
    for (const char *line : {"SUBJECT:Grüße\n", "SENDER_NAME:P. N.\n", "DATE:2026-11-22 10:20:30\n"})
      EXPECT_NE(header.find(line), std::string::npos) << row.file << header;
    prepare("$tool create --no-metadata again.fax " + row.file);
    EXPECT_EQ(parts("again.fax").header, "#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n");
  }
  // Texts in PNG are Latin-1 by the standard, and UTF-8 from many programs.
  for (const std::string text : {"Gr\xFC\xDF"
                                 "e",
                                 "Gr\xC3\xBC\xC3\x9F"
                                 "e"}) {
    dir.write("text", "Title " + text + "\n");
    prepare("printf 'P1 1 1 1' | pnmtopng -text=text >text.png && $tool create --force text.fax text.png");
    EXPECT_NE(parts("text.fax").header.find("SUBJECT:Grüße\n"), std::string::npos);
  }
  prepare("tiffset -s 270 're INCLUDE:x 1 1' page.tif && $tool create title.fax page.tif");
  EXPECT_NE(parts("title.fax").header.find("\nSUBJECT:re INCLUDE x 1 1\n"), std::string::npos);
  prepare("tiffset -s 34910 75 page.tif && tiffset -s 270 '+44 20' page.tif && $tool create spool.fax page.tif");
  EXPECT_NE(parts("spool.fax").header.find("\nSENDER_FAX#:+44 20\n"), std::string::npos);
  EXPECT_NE(parts("spool.fax").header.find("\nKEYWORDS:received-in=75 s\n"), std::string::npos);
  prepare("tiffset -s 34908 55 page.tif && tiffset -s 34909 7 page.tif && tiffset -s 34911 '00 C6' page.tif");
  prepare("$tool create spool.fax page.tif $charts/itu4.tif && $tool extract spool.fax spool.tif");
  EXPECT_EQ(
      shell("tiffinfo spool.tif | grep -E '^  (Fax|ImageD)' | sort").out,
      "  FaxDcs: 00 C6\n  FaxRecvParams: 55\n  FaxRecvTime: 75\n  FaxSubAddress: 7\n  ImageDescription: +44 20\n");
  prepare("tiffset -s 326 6 page.tif && $tool create --force spool.fax page.tif $charts/itu4.tif");
  prepare("$tool extract spool.fax spool.tif && $tool extract -p 2 spool.fax second.tif");
  EXPECT_EQ(shell("tiffinfo spool.tif second.tif | grep '^  Bad'").out, "  Bad Fax Lines: 6\n");
  prepare("printf click | dd of=page.fax bs=1 seek=9000 conv=notrunc status=none");
  shell("$tool extract page.fax bad.tif");
  EXPECT_EQ(shell("tiffinfo bad.tif | grep -c '^  Bad Fax Lines: 1$'").out, "1\n");
}

// ImageMagick turns the page upright.
TEST_F(Create, TiffPagesAreUprightAndThumbnailsAreNoPages) {
  prepare("convert $charts/itu1.tif -crop 600x400+100+200 +repage -compress Group4 page.tif");
  prepare("convert page.tif -resize 10% -compress LZW small.tif");
  for (const std::string kind : {"-compress Group4", "-depth 8 -type Grayscale -compress LZW"}) {
    for (const std::string orientation : {"1", "2", "3", "4", "5", "6", "7", "8"}) {
      prepare("convert page.tif " + kind + " turned.tif && tiffset -s 274 " + orientation +
              " turned.tif && convert turned.tif -auto-orient -threshold 50% upright.pbm && "
              "tiffcp turned.tif small.tif both.tif && tiffset -d 1 -s 254 1 both.tif");
      EXPECT_TRUE(run("create --no-metadata --source-dpi 204x196 - both.tif").out ==
                  run("create --source-dpi 204x196 - upright.pbm").out)
          << kind << orientation;
    }
  }
}

TEST_F(Create, PagesAreRotated) {
  prepare("convert $charts/itu1.tif -crop 1600x1400+0+300 +repage page.pbm && $tool create page.fax $charts/itu1.tif");
  for (const std::string degrees : {"90", "180", "270"}) {
    prepare("convert page.pbm -rotate " + degrees + " turned.pbm && convert $charts/itu1.tif -rotate " + degrees +
            " extracted.pbm");
    const std::string expected = run("create --source-dpi 204x196 - turned.pbm").out;
    EXPECT_TRUE(run("create --rotate " + degrees + " --source-dpi 204x196 - page.pbm").out == expected) << degrees;
    EXPECT_EQ(from_pbm(run("extract -f pbm --rotate " + degrees + " page.fax -").out),
              from_pbm(bytes("extracted.pbm")));
  }
  prepare("convert page.pbm -rotate 270 side.pbm");
  EXPECT_TRUE(run("create --rotate auto - side.pbm").out == run("create --rotate auto - page.pbm").out);
}

// A page with a black square of an inch, at many resolutions: the square keeps its size on paper.
TEST_F(Create, PagesKeepTheirProportionsAndPlace) {
  const struct {
    uint32_t width, height;
    std::string density, options;
    uint32_t lines, left, pixels, rows;  // of the result: its lines, and the black part of the first line and column
  } cases[] = {
      {1728, 1176, "204x98", "--resolution fine", 2352, 0, 204, 196},
      {2400, 3000, "300x300", "--fit center", 1960, 48, 204, 196},
      {2400, 3000, "300x300", "--fit scale", 2075, 0, 216, 208},
      {3000, 300, "300x300", "", 166, 0, 173, 166},
      {3000, 300, "300x300", "--fit crop", 196, 0, 48, 196},
      {3456, 4752, "408x391", "", 2376, 0, 204, 196},
      {3456, 4752, "400x400", "--resolution normal", 1188, 0, 200, 100},
      {600, 300, "72x72", "--resolution normal", 408, 14, 204, 98},
      {1080, 1350, "300x300", "", 882, 497, 204, 196},
  };
  for (const auto &row : cases) {
    SCOPED_TRACE(row.density + row.options);
    uint32_t x_dpi = 0, y_dpi = 0;
    sscanf(row.density.c_str(), "%ux%u", &x_dpi, &y_dpi);
    dir.write("page.pbm",
              pbm(drawn(row.width, row.height, [&](uint32_t x, uint32_t y) { return x < x_dpi && y < y_dpi; })));
    prepare("convert page.pbm -units PixelsPerInch -compress Group4 -density " + row.density + " page.tif");
    const std::string made = run("create - page.tif " + row.options).out;
    const std::string metric = "tiffset -s 282 " + std::to_string(x_dpi / 2.54) + " metric.tif && tiffset -s 283 ";
    prepare("cp page.tif metric.tif && " + metric + std::to_string(y_dpi / 2.54) +
            " metric.tif && tiffset -s 296 3 metric.tif");
    EXPECT_TRUE(made == run("create - metric.tif " + row.options).out);
    prepare("pnmtoplainpnm page.pbm >plain.pbm && pnmtopng page.pbm >page.png");
    for (const std::string file : {"page.pbm", "plain.pbm", "page.png"})
      EXPECT_TRUE(made == run("create - " + file + " --source-dpi " + row.density + " " + row.options).out) << file;
    const Picture page = first_page(made);
    const auto black = [&](uint32_t x, uint32_t y) { return page.row(y)[x / 8] >> (7 - x % 8) & 1; };
    uint32_t left = 0, bottom = 0;
    while (left < 1728 && !black(left, 0)) ++left;
    uint32_t right = left;
    while (right < 1728 && black(right, 0)) ++right;
    while (bottom < page.height && black(left, bottom)) ++bottom;
    EXPECT_EQ(std::pair(page.height, left), std::pair(row.lines, row.left));
    EXPECT_NEAR(right - left, row.pixels, 1);
    EXPECT_NEAR(bottom, row.rows, 1);
  }
}

TEST_F(Create, TheLayoutOfATiffMakesNoDifference) {
  prepare(
      "convert -size 2480x3508 gradient:red-blue -depth 8 -compress LZW rows.tif && tiffcp -p separate -r 4000 "
      "rows.tif planes.tif");
  prepare(
      "tiffcp $charts/itu1.tif bits.tif && tiff2rgba -c lzw bits.tif rgb.tif && tiffset -s 274 6 bits.tif && tiffset "
      "-s 274 6 rgb.tif");
  EXPECT_TRUE(run("create - planes.tif").out == run("create - rows.tif").out);
  prepare(
      "convert -size 4000x4000 gradient:red-blue -depth 8 -compress LZW l.tif && tiffcp -p separate -r 4000 l.tif "
      "large.tif");
  complains("create new.fax large.tif", 2, "its planes need 48000000 bytes at a time: 33554432 is the limit");
  // A resolution that the user gives is that of the page as it is seen, in black and white and in colours.
  const std::string options = "create --threshold 128 --source-dpi 204x98 - ";
  const Picture turned = first_page(run(options + "bits.tif").out);
  EXPECT_EQ(turned.height, 2513U);
  EXPECT_TRUE(turned == first_page(run(options + "rgb.tif").out));
  // The colours of a palette of 8 bits, of which libtiff warns, are no damage.
  TIFF *tiff = TIFFOpen(dir.path("palette.tif").c_str(), "w");
  std::vector<uint16_t> colours(256);
  for (uint16_t i = 0; i < 256; ++i) colours[i] = i;
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 1728);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 1);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE);
  TIFFSetField(tiff, TIFFTAG_COLORMAP, colours.data(), colours.data(), colours.data());
  TIFFWriteScanline(tiff, std::vector<uint8_t>(1728).data(), 0);
  TIFFClose(tiff);
  EXPECT_EQ(run("create palette.fax palette.tif").status, 0);
}

TEST_F(Create, GreyBecomesBlackAndWhite) {
  prepare("convert -size 1728x400 'xc:rgb(140,140,140)' grey.png");
  const Picture page = first_page(run("create --grey diffusion - grey.png").out);
  EXPECT_NEAR(black_pixels(page.pixels) / (1728.0 * page.height), 1 - 140 / 255.0, 0.002);
  // The second row is diffused from the right: its right pixel becomes black and leaves the left one white.
  dir.write("two.pgm", "P2 2 2 255 255 255 120 120\n");
  prepare("convert two.pgm two.png");
  const Picture two = first_page(run("create --grey diffusion --source-dpi 204x196 - two.png").out);
  EXPECT_EQ(std::vector<uint8_t>(two.row(1) + 107, two.row(1) + 109), (std::vector<uint8_t>{0, 0x80}));
  // Faint and unevenly lit text keeps its ink: 128 leaves the first page white, and blackens half of the second.
  const uint32_t ink = black_pixels(load_chart("itu1").pixels);
  prepare(
      "convert $charts/itu1.tif -depth 8 -type Grayscale +level-colors 'gray(150),gray(215)' -blur 0x0.7 faint.png");
  prepare(
      "convert faint.png '(' -size 2376x1728 gradient:white-'gray(90)' -rotate 90 ')' -compose multiply -composite "
      "uneven.png");
  EXPECT_NEAR(black_pixels(first_page(run("create - faint.png").out).pixels), ink, ink * 0.05);
  EXPECT_EQ(black_pixels(first_page(run("create --threshold 128 - faint.png").out).pixels), 0U);
  EXPECT_NEAR(black_pixels(first_page(run("create --grey local - uneven.png").out).pixels), ink, ink * 0.25);
  EXPECT_GT(black_pixels(first_page(run("create - uneven.png").out).pixels), 5 * ink);
  // 16 bits without a word about gamma are as bright as 8.
  prepare("convert -size 64x512 gradient: -depth 16 -define png:bit-depth=16 -define png:exclude-chunks=all 16.png");
  EXPECT_NEAR(black_pixels(first_page(run("create --source-dpi 204x196 - 16.png").out).pixels), 64 * 256, 64);
}

// The page holds text and figures; poppler's own program draws the same page at the same resolution.
TEST_F(Create, PdfIsRenderedAtTheResolutionOfTheFax) {
  const std::string content =
      "0.9 g 100 100 200 200 re f 0 g 30 600 m 500 700 l 5 w S BT /F 40 Tf 60 400 Td (Fax) Tj ET";
  dir.write("page.pdf",
            "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj 2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
            "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 595 842]/Contents 4 0 R/Resources<</Font<</F<</Type/Font"
            "/Subtype/Type1/BaseFont/Helvetica>>>>>>>>endobj\n4 0 obj<</Length " +
                std::to_string(content.size()) + ">>stream\n" + content +
                "\nendstream endobj\ntrailer<</Root 1 0 R>>\n");
  prepare("pdftoppm -gray -singlefile -rx 204 -ry 98 page.pdf page");
  prepare(
      "convert page.pgm -threshold 49.9% -background white -gravity West -splice 21x0 -gravity East -splice 21x0 "
      "p.pbm");
  const Picture by_poppler = from_pbm(bytes("p.pbm"));
  Picture page = first_page(run("create --resolution normal - page.pdf").out);
  ASSERT_EQ(by_poppler.width, 1728U);
  ASSERT_NEAR(page.height, by_poppler.height, 1);
  page.pixels.resize(by_poppler.pixels.size());
  for (size_t i = 0; i < page.pixels.size(); ++i) page.pixels[i] ^= by_poppler.pixels[i];
  EXPECT_LT(black_pixels(page.pixels), 20U);
}
