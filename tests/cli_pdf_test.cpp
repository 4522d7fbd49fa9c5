// `create` on PDF pages that are one fax image. poppler's own program draws the same pages at the resolution
// of the image.
#include <array>

#include "helpers/encoded_page.h"
#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"

namespace {

constexpr uint32_t WIDTH = 1728, HEIGHT = 400;
// In points, of an image with 200 pixels per inch: the least bit less, or poppler stretches it.
const std::string LONG = "622.0799", SHORT = "143.9999";
const std::string UPRIGHT = LONG + " 0 0 " + SHORT + " 0 0 cm /I Do";
const std::string BOX = "/MediaBox[0 0 " + LONG + " " + SHORT + "]";
const std::string GREY = "/ColorSpace/DeviceGray/BitsPerComponent 1";

class Pdf : public ToolTest {
 protected:
  // A file of one page with an image and any other objects.
  void write_pdf(const std::string &page, const std::string &contents, const std::string &image,
                 const std::string &data, const std::string &resources = "",
                 const std::string &size = "/Width 1728/Height 400") const {
    const auto stream = [](const std::string &keys, const std::string &bytes) {
      return "<<" + keys + "/Length " + std::to_string(bytes.size()) + ">>stream\n" + bytes + "\nendstream";
    };
    const std::string objects[] = {"<</Type/Catalog/Pages 2 0 R>>", "<</Type/Pages/Kids[3 0 R]/Count 1/Rotate 0>>",
                                   "<</Type/Page/Parent 2 0 R" + page +
                                       "/Contents 4 0 R/Resources<</XObject<</I 5 0 R>>/Font<</F<</Type/Font"
                                       "/Subtype/Type1/BaseFont/Helvetica>>>>" +
                                       resources + ">>>>",
                                   stream("", contents), stream("/Type/XObject/Subtype/Image" + size + image, data)};
    std::string file = "%PDF-1.4\n", table = "xref\n0 6\n0000000000 65535 f \n";
    for (size_t i = 0; i < std::size(objects); ++i) {
      char offset[24];
      snprintf(offset, sizeof offset, "%010zu 00000 n \n", file.size());
      table += offset;
      file += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    dir.write("page.pdf",
              file + table + "trailer<</Size 6/Root 1 0 R>>\nstartxref\n" + std::to_string(file.size()) + "\n%%EOF\n");
  }
  // Creates a fax; says what was reported with --verbose about the way the page was taken.
  std::string way() const {
    const ToolRun made = run("-v create --no-metadata page.fax page.pdf");
    EXPECT_EQ(made.status, 0) << made.err;
    const size_t start = made.err.find("page 1");
    return made.err.substr(start, made.err.find('\n', start) - start);
  }
  // Whether the fax has the pixels that poppler draws at the resolution of the image.
  bool is_exact() const {
    const ToolRun drawn = shell("pdftoppm -mono -singlefile -r 200 page.pdf page");
    return drawn.status == 0 && bytes("page.fax") == run("create --source-dpi 200 - page.pbm").out;
  }
  std::string code(TiffCoding coding) const {
    std::vector<uint8_t> coded = libtiff_encode(picture, coding);
    TIFFReverseBits(coded.data(), static_cast<tmsize_t>(coded.size()));
    return {coded.begin(), coded.end()};
  }
  // Each line in MH from a new byte, without EOLs.
  std::string code_without_eols() const {
    TIFF *tiff = TIFFOpen(dir.path("rle.tif").c_str(), "w+");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, WIDTH);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, HEIGHT);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, HEIGHT);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTRLE);
    std::vector<uint8_t> pixels = picture.pixels;
    TIFFWriteEncodedStrip(tiff, 0, pixels.data(), static_cast<tmsize_t>(pixels.size()));
    TIFFClose(tiff);
    tiff = TIFFOpen(dir.path("rle.tif").c_str(), "r");
    std::string coded(TIFFRawStripSize64(tiff, 0), '\0');
    TIFFReadRawStrip(tiff, 0, coded.data(), static_cast<tmsize_t>(coded.size()));
    TIFFClose(tiff);
    return coded;
  }
  std::string packed(uint8_t flip = 0) const {
    std::string bytes(picture.pixels.begin(), picture.pixels.end());
    for (char &byte : bytes) byte = static_cast<char>(byte ^ flip);
    return bytes;
  }

  const Picture picture = rows_of(load_chart("itu4"), 200, HEIGHT);
};

std::string hexadecimal(const std::string &bytes) {
  std::string text;
  for (const char byte : bytes) {
    char digits[3];
    snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(static_cast<uint8_t>(byte)));
    text += digits;
  }
  return text + ">";
}

// A stream of JBIG2 with a page of one generic region, coded in MMR (ITU-T T.88, 7.2 and 7.4).
std::string jbig2(const std::string &mmr) {
  const std::string size = big_endian(WIDTH) + big_endian(HEIGHT);
  const std::string page = size + std::string(11, '\0');
  const std::string region = size + std::string(9, '\0') + '\1' + mmr;
  const auto head = [](char number, char kind, const std::string &data) {
    return std::string({0, 0, 0, number, kind, 0, 1}) + big_endian(static_cast<uint32_t>(data.size())) + data;
  };
  return head(0, 0x30, page) + head(1, 0x26, region);
}

}  // namespace

TEST_F(Pdf, AnImageOfAnyKindIsTakenAsItIs) {
  const std::string g4 = code(TiffCoding::g4), taken = "page 1: its image is taken as it is";
  const std::string fax = "/Filter/CCITTFaxDecode/DecodeParms<</Columns 1728/K ";
  const std::string mask = "/ImageMask true/BitsPerComponent 1", indexed = "/BitsPerComponent 1/ColorSpace[/Indexed";
  const struct {
    std::string image, data, way = {}, contents = UPRIGHT;
  } rows[] = {
      {fax + "-1>>" + GREY, g4},
      {fax + "-1/BlackIs1 true>>/Decode[1 0]" + GREY, g4},
      {fax + "-1/BlackIs1 true>>" + mask, g4, {}, "0 0 0 rg " + UPRIGHT},
      {fax + "-1>>" + mask, g4},
      {fax + "0>>" + GREY, code(TiffCoding::g3_1d)},
      {fax + "0/EncodedByteAlign true>>" + GREY, code_without_eols()},
      {fax + "4>>" + GREY, code(TiffCoding::g3_2d)},
      {"/Filter[/ASCIIHexDecode/CCITTFaxDecode]/DecodeParms[null<</Columns 1728/K -1>>]" + GREY, hexadecimal(g4)},
      {GREY, packed(0xFF)},
      {"/Decode[1 0]" + GREY, packed()},
      {"/Filter/ASCIIHexDecode/Decode[1 0]" + mask, hexadecimal(packed())},
      {indexed + "/DeviceRGB 1<FFFFFF000000>]", packed()},
      {indexed + "/DeviceGray 1(\\377\\000)]", packed()},
      {"/Filter/JBIG2Decode" + GREY, jbig2(g4), "page 1: its image is rendered pixel by pixel"},
      {indexed + "/DeviceRGB 1<FFFFFF0000FF>]", packed(), "page 1 is rendered: its image is not black and white"},
      {fax + "-1>>" + mask, g4, "page 1 is rendered: its image is not black and white", "0.5 g " + UPRIGHT},
  };
  for (const auto &row : rows) {
    write_pdf(BOX, row.contents, row.image, row.data);
    EXPECT_EQ(way(), row.way.empty() ? taken : row.way) << row.image;
    EXPECT_TRUE(row.way.ends_with("black and white") || is_exact()) << row.image;
    if (row.way.ends_with("pixel by pixel")) {
      EXPECT_EQ(run("create --source-dpi 300x100 - page.pdf").out, run("create --source-dpi 300x100 - page.pbm").out);
    }
  }
}

#ifndef __SANITIZE_ADDRESS__
TEST_F(Pdf, ALargeImageThatAFileClaimsTakesNoMemory) {
  for (const std::string keys : {"/Filter/FlateDecode/DecodeParms<<", "/Filter[/FlateDecode]/DecodeParms[<<"}) {
    const std::string end = keys.ends_with("[<<") ? ">>]" : ">>";
    write_pdf(BOX, UPRIGHT, keys + "/Predictor 15/Columns 300000000" + end + GREY, "x");
    const ToolRun made = shell("ulimit -v 400000; exec $tool -v create --force page.fax page.pdf");
    EXPECT_NE(made.err.find("page 1 is rendered: its image cannot be decoded"), std::string::npos) << made.err;
  }
  // A row of one pixel takes a byte.
  write_pdf(BOX, UPRIGHT, GREY, "x", "", "/Width 1/Height 16777217");
  EXPECT_EQ(way(), "page 1 is rendered: its image is too large");
}
#endif

// An annotation counts if poppler's own program draws it.
TEST_F(Pdf, APageWithAnnotationsThatAreSeenIsRendered) {
  const std::string square = "/Square/IC[0]";
  const struct {
    std::string annotation;
    bool seen = true;
    std::string place = "9 9 99 99";
  } rows[] = {
      {square},
      {square + "/F 1"},
      {square + "/F 2", false},
      {square + "/F 32", false},
      {"/Popup/Open true", false},
      {"/Link"},
      {"/Link/Border[0 0 2]"},
      {"/Link/Border[0 0 0]", false},
      {"/Link/Border[0 0 0]/BS<</W 1>>"},
      {"/Link/Border[0 0 1]/BS<</W 0>>", false},
      {"/Widget/FT/Tx/T(a)/MK<</BC[0]>>/BS<</W 2>>"},
      {"/Widget/FT/Sig/T(a)", false, "9 9 9 9"},
  };
  for (const auto &row : rows) {
    write_pdf(BOX + "/Annots[<</Type/Annot/Rect[" + row.place + "]/Subtype" + row.annotation + ">>]", UPRIGHT,
              "/Filter/CCITTFaxDecode/DecodeParms<</K -1>>" + GREY, code(TiffCoding::g4));
    EXPECT_EQ(way(), row.seen ? "page 1 is rendered: it has annotations" : "page 1: its image is taken as it is");
    EXPECT_NE(is_exact(), row.seen) << row.annotation;
  }
}

TEST_F(Pdf, APageIsRenderedAsItWillLie) {
  const std::string lines =
      "0 1 -1 0 600 9 cm BT /F 12 Tf 14 TL 40 500 Td (A fax) ' (on its side) ' (of a few lines) ' ET";
  const struct {
    std::string option, page, same;
  } rows[] = {{"90", "0", "90"}, {"270", "0", "270"}, {"90", "90", "180"}, {"auto", "0", "90"}, {"auto", "90", "90"}};
  for (const auto &row : rows) {
    std::string faxes[2];
    for (const bool turned : {false, true}) {
      write_pdf("/MediaBox[0 0 612 900]/Rotate " + (turned ? row.page : row.same), lines, GREY, "");
      faxes[turned] = run("create --rotate " + (turned ? row.option : "0") + " - page.pdf").out;
    }
    EXPECT_TRUE(faxes[0] == faxes[1]) << row.option << " of " << row.page;
  }
}

TEST_F(Pdf, AnImageIsTurnedAsThePageShowsIt) {
  for (const bool on_side : {false, true}) {
    const std::string across = on_side ? SHORT : LONG, down = on_side ? LONG : SHORT;
    for (const bool left : {false, true}) {
      for (const bool upward : {false, true}) {
        const std::string x = (left ? "-" : "") + across, y = (upward ? "-" : "") + down;
        const std::string matrix = on_side ? "0 " + y + " " + x + " 0 " : x + " 0 0 " + y + " ";
        const std::string contents =
            "q " + matrix + (left ? across : "0") + " " + (upward ? down : "0") + " cm /I Do Q";
        for (const std::string rotation : {"0", "90", "180", "-90"}) {
          write_pdf("/MediaBox[0 0 " + across + " " + down + "]/Rotate " + rotation, contents,
                    "/Filter/CCITTFaxDecode/DecodeParms<</K -1>>" + GREY, code(TiffCoding::g4));
          EXPECT_EQ(way(), "page 1: its image is taken as it is");
          EXPECT_TRUE(is_exact()) << contents << rotation;
        }
      }
    }
  }
}

TEST_F(Pdf, APageThatShowsAnythingElseIsRendered) {
  const std::string resources =
      "/ExtGState<</N<</ca 1/SMask/None>>/T<</ca 0.5>>>>/Properties<</P<</Type/OCG/Name(x)>>>>";
  const std::string text = " 1 0 0 1 9 9 cm BT /F 12 Tf ";
  const struct {
    std::string contents, why, page = BOX;
  } rows[] = {
      {"q " + UPRIGHT + " Q" + text + "3 Tr (Fax) Tj ET", ""},
      {"0 0 700 200 re W n /N gs " + UPRIGHT, ""},
      {UPRIGHT, "", "/MediaBox[0 0 622.9 144.9]"},
      {"1 0 0 1 -9 0 cm " + UPRIGHT, "", "/MediaBox[-9 0 700 700]/CropBox[-9 0 613.0799 " + SHORT + "]"},
      {"q " + UPRIGHT + " Q" + text + "(Fax) Tj ET", "it contains text"},
      {"q " + UPRIGHT + " Q 0 0 9 9 re f", "it contains drawings"},
      {"q " + UPRIGHT + " Q q " + UPRIGHT + " Q", "it contains several images"},
      {"0 0 300 200 re W n " + UPRIGHT, "its image is clipped"},
      {"0 0 m 300 0 l 0 300 l h W n " + UPRIGHT, "it is clipped"},
      {"/T gs " + UPRIGHT, "it is transparent"},
      {"/OC /P BDC " + UPRIGHT + " EMC", "it has layers"},
      {"0.7 0.7 -0.7 0.7 0 0 cm " + UPRIGHT, "its image is at an angle"},
      {UPRIGHT, "its image does not cover it", "/MediaBox[0 0 612 792]"},
      {UPRIGHT, "its image does not cover it", BOX + "/CropBox[0 0 300 100]"},
      {"q " + UPRIGHT + " Q BI /W 1 /H 1 /BPC 1 /CS /G ID x EI", "it contains an image within its text"},
      {"q", "it contains no image"},
  };
  for (const auto &row : rows) {
    write_pdf(row.page, row.contents, "/Filter/CCITTFaxDecode/DecodeParms<</K -1>>" + GREY, code(TiffCoding::g4),
              resources);
    EXPECT_EQ(way(), row.why.empty() ? "page 1: its image is taken as it is" : "page 1 is rendered: " + row.why)
        << row.contents;
  }
}

TEST_F(Pdf, OwnPagesComeBackAndDamageIsReported) {
  for (const std::string resolution : {"normal", "fine"}) {
    const ToolRun compared = shell(
        "create() { $tool create --resolution " + resolution +
        " $*; }; create a.fax $charts/itu*.tif && $tool extract a.fax a.pdf && create b.fax a.pdf && cmp a.fax b.fax &&"
        "{ printf '\\r\\n'; cat a.pdf; } >c.pdf && create c.fax c.pdf && cmp a.fax c.fax");
    EXPECT_EQ(compared.status, 0) << compared.err;
  }
  const std::string g4 = code(TiffCoding::g4), image = "/Filter/CCITTFaxDecode/DecodeParms<</K -1>>" + GREY;
  write_pdf(BOX, UPRIGHT, image, g4.substr(0, g4.size() / 2));
  complains("create page.fax page.pdf", 3, "page.pdf: page 1 ends after ");
  EXPECT_EQ(run("info --csv page.fax").out.find(",400,0\n") == std::string::npos, false);
  // A file that has lost its table of objects is read by poppler alone.
  dir.write("page.pdf", bytes("page.pdf").substr(0, bytes("page.pdf").find("xref")) + "trailer<</Root 1 0 R>>\n");
  EXPECT_NE(run("-v create page.fax page.pdf").err.find("is rendered: the file is damaged"), std::string::npos);
  // Without the module beside the program, each PDF is reported with the reason.
  const ToolRun alone = shell("cp $tool . && ./tolvane-fax create --keep-going c.fax a.pdf a.pdf");
  EXPECT_EQ(alone.status, 2) << alone.err;
  EXPECT_EQ(shell("grep -c 'a.pdf: PDF cannot be read: .*tolvane-pdf.so'", alone.err).out, "2\n") << alone.err;
}
