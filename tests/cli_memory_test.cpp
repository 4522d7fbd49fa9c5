// Small files that claim or become large pictures: the memory that the real program takes for them, at its peak.
#include <sys/resource.h>

#include <algorithm>

#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"

namespace {

constexpr long MOST = 64 << 10;  // kilobytes beyond what a small page takes
constexpr uint32_t WIDTH = 16384, HEIGHT = 8192;

// The most that any child has taken so far.
long peak_kilobytes() {
  rusage used{};
  getrusage(RUSAGE_CHILDREN, &used);
  return used.ru_maxrss;
}

class Memory : public ToolTest {
 protected:
  void SetUp() override {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer takes memory of its own";
#endif
  }
  // A picture in one strip of `samples` bytes per pixel, or in one tile.
  void write_tiff(const std::string &name, uint16_t compression, uint16_t samples, bool tiled = false) const {
    TIFF *tiff = TIFFOpen(dir.path(name).c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, WIDTH);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, HEIGHT);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    if (tiled) TIFFSetField(tiff, TIFFTAG_TILEWIDTH, WIDTH);
    TIFFSetField(tiff, tiled ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP, HEIGHT);
    std::vector<uint8_t> line(size_t{WIDTH} * samples, 0x40);
    for (uint32_t y = 0; y < HEIGHT && compression != COMPRESSION_NONE; ++y) TIFFWriteScanline(tiff, line.data(), y);
    if (compression == COMPRESSION_NONE && tiled) TIFFWriteRawTile(tiff, 0, line.data(), 100);
    if (compression == COMPRESSION_NONE && !tiled) TIFFWriteRawStrip(tiff, 0, line.data(), 100);
    TIFFClose(tiff);
  }
  // 64 lines in JBIG whose header (ITU-T T.82, 6.2) claims 15,663,168 pixels each.
  void write_jbig(const std::string &name) const {
    constexpr uint32_t LINES = 64;
    std::string code(
        "\0\0\1\0"
        "\0\xEF\0\x40"
        "\0\0\0\x40"
        "\0\0\0\x40"
        "\x10\0\x03\x1C",
        20);
    code.append(100, '\x55').append("\xFF\x02");
    TIFF *tiff = TIFFOpen(dir.path(name).c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, WIDTH);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, LINES);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, LINES);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_JBIG);
    TIFFSetField(tiff, TIFFTAG_FILLORDER, FILLORDER_LSB2MSB);
    TIFFWriteRawStrip(tiff, 0, code.data(), static_cast<tmsize_t>(code.size()));
    TIFFClose(tiff);
  }
  // Runs a line; the status must be one of those given, the memory within the limit.
  void expect_little(const std::string &line, const std::string &statuses = "0") const {
    const ToolRun done = run("-q -j 2 " + line);
    EXPECT_NE(statuses.find(std::to_string(done.status)), std::string::npos) << line << done.err;
    EXPECT_LT(peak_kilobytes() - base_, MOST) << line;
    base_ = std::max(base_, peak_kilobytes() - MOST + 1);  // each row that takes too much is reported once
  }

  mutable long base_ = [this] {
    run("create small.fax $charts/itu1.tif");
    return peak_kilobytes();
  }();
};

}  // namespace

TEST_F(Memory, PicturesOfAnyClaimAreReadInParts) {
  write_tiff("claim.tif", COMPRESSION_NONE, 1);
  write_tiff("tile.tif", COMPRESSION_NONE, 3, true);
  write_tiff("grey.tif", COMPRESSION_ADOBE_DEFLATE, 1);
  write_jbig("jbig.tif");
  dir.write("claim.pbm", "P1 16384 8192\n");
  dir.write("ones", std::string(1000000, '\xFF'));
  expect_little("create new.fax claim.tif", "2");
  expect_little("create new.fax tile.tif", "2");
  expect_little("create new.fax jbig.tif", "2");
  expect_little("create new.fax claim.pbm", "2");
  expect_little("create new.fax grey.tif");
  expect_little("create --rotate 90 --source-dpi 2000 new.fax grey.tif");
  expect_little("create --grey local new.fax grey.tif");
  for (const std::string width : {"1728", "16384"})
    expect_little("create --raw g4 --width " + width + " new.fax ones", "03");
}

TEST_F(Memory, PagesOfOneBitALineAreBounded) {
  const std::string lines = "#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n";
  dir.write("one.fax", fax_bytes(lines, {std::string(1000000, '\xFF')}));
  dir.write("many.fax", fax_bytes("#PAGES:20\nRESOLUTION:1\nCOMPRESSION:3\n",
                                  std::vector<std::string>(20, std::string(8190, '\xFF'))));
  for (const std::string file : {"one.fax", "many.fax"}) {
    for (const std::string command :
         {"info", "check", "extract %.fax a.tif #", "extract %.fax a.pbm #", "render %.fax a.png #",
          "merge --force --coding mh m.fax", "merge --force --resolution normal m.fax", "compare %.fax",
          "split %.fax p%d.fax #", "repair --dry-run", "info --checksum"}) {
      std::string line = command + " " + file;
      if (const size_t at = line.find("%.fax"); at != line.npos) line.replace(at, 5, file);
      expect_little(line, "023");
    }
  }
}
