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
  // The bytes, from offset 8 on, and the tags, each with its value or values, LONG whatever it is (TIFF 6.0).
  void write_tags(const std::string &name, const std::string &data,
                  const std::vector<std::vector<uint32_t>> &tags) const {
    const auto little = [](uint32_t word) {
      const std::string bytes = big_endian(word);
      return std::string(bytes.rbegin(), bytes.rend());
    };
    std::string body = data, directory = little(static_cast<uint32_t>(tags.size())).substr(0, 2);
    for (const auto &tag : tags) {
      const auto count = static_cast<uint32_t>(tag.size() - 1);
      directory += little(tag[0] | TIFF_LONG << 16) + little(count);
      directory += little(count == 1 ? tag[1] : static_cast<uint32_t>(8 + body.size()));
      for (size_t i = 1; count > 1 && i < tag.size(); ++i) body += little(tag[i]);
    }
    const auto end = static_cast<uint32_t>(8 + body.size());
    dir.write(name, "II*" + std::string(1, '\0') + little(end) + body + directory + little(0));
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
    write_tags(name, code,
               {{TIFFTAG_IMAGEWIDTH, WIDTH},
                {TIFFTAG_IMAGELENGTH, LINES},
                {TIFFTAG_COMPRESSION, COMPRESSION_JBIG},
                {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE},
                {TIFFTAG_FILLORDER, FILLORDER_LSB2MSB},
                {TIFFTAG_STRIPOFFSETS, 8},
                {TIFFTAG_ROWSPERSTRIP, LINES},
                {TIFFTAG_STRIPBYTECOUNTS, static_cast<uint32_t>(code.size())}});
  }
  // Coded lines in `strips` strips, each of which is all of the data.
  void write_strips(const std::string &name, uint32_t width, uint32_t height, uint32_t compression,
                    const std::string &data, uint32_t strips = 1) const {
    std::vector<uint32_t> offsets(strips + 1, 8), counts(strips + 1, static_cast<uint32_t>(data.size()));
    offsets[0] = TIFFTAG_STRIPOFFSETS, counts[0] = TIFFTAG_STRIPBYTECOUNTS;
    write_tags(name, data,
               {{TIFFTAG_IMAGEWIDTH, width},
                {TIFFTAG_IMAGELENGTH, height},
                {TIFFTAG_COMPRESSION, compression},
                {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE},
                offsets,
                {TIFFTAG_ROWSPERSTRIP, height / strips},
                counts});
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

TEST_F(Memory, WhatASmallFileRepeatsIsNotKept) {
  const std::string wrong(400000, '\xFF');
  write_strips("damaged.tif", 16, HEIGHT << 10, COMPRESSION_CCITTFAX3, wrong);
  write_strips("narrow.tif", 1, HEIGHT << 14, COMPRESSION_CCITTRLE, std::string(wrong.size(), '\x55'));
  write_strips("overlap.tif", 1728, HEIGHT, COMPRESSION_CCITTFAX3, wrong, HEIGHT);
  std::string line("Sfff\1\0\0\0\1\0\x14\0\0\0\0\0\0\0\0\0\xFE\x10\1\0\0\0\xC0\6\0\0\0\0\0\0\0\0\0\0\0\xFF\xFF", 41);
  line.append(0xFFFF, '\xFF');
  for (int i = 0; i < 4000; ++i) line.append("\xFF\0", 2);  // the line before, again
  dir.write("again.sff", line + std::string("\xFE\0", 2));
  shell(
      "(printf 'Text '; yes | head -c 7900000 | tr '\\n' y) >text; printf 'P1 8 1 01010101' | pnmtopng -ztxt=text "
      ">text.png");
  std::string texts = bytes("text.png");
  const size_t chunk = texts.find("zTXt") - 4;
  const std::string text = texts.substr(chunk, texts.find("IDAT") - 4 - chunk);
  for (int i = 0; i < 20; ++i) texts.insert(chunk, text);
  dir.write("texts.png", texts);
  expect_little("create new.fax damaged.tif", "2");
  complains("create new.fax narrow.tif", 2,
            "narrow.tif: page 1 is 1 x 134217728 pixels: the limit is 16384 across and 134217728 in all, in rows of "
            "whole bytes");
  expect_little("create new.fax overlap.tif", "2");
  expect_little("create new.fax again.sff");
  expect_little("create new.fax texts.png");
}

TEST_F(Memory, ReportsGrowLittleWithWhatTheyList) {
  std::string wrong;
  for (int i = 0; i < 500000; ++i) wrong.append("\0\xE8", 2);  // in MH, a damaged line
  const std::string lines = "#PAGES:1\nRESOLUTION:1\n", many = std::string(236, 'n') + ".fax";
  dir.write("feeds.fax", fax_bytes(lines + std::string(1000000, '\n'), {wrong.substr(0, 24)}));
  dir.write("wrong.fax", fax_bytes(lines, {wrong}));
  dir.write(many, fax_bytes(lines, std::vector<std::string>(32000, wrong.substr(0, 24))));
  for (const std::string &file : {std::string("feeds.fax"), std::string("wrong.fax"), many}) {
    for (const std::string command : {"info --json ", "check ", "check --json "})
      expect_little(command + file + " >/dev/null 2>&1", "3");
  }
}

TEST_F(Memory, WhatWouldTakeTooMuchIsRefused) {
  // 64257 samples of 65532 bits for each pixel.
  write_tags("samples.tif", std::string(100, '\0'),
             {{TIFFTAG_IMAGEWIDTH, 1728},
              {TIFFTAG_IMAGELENGTH, 24},
              {TIFFTAG_BITSPERSAMPLE, 65532},
              {TIFFTAG_COMPRESSION, COMPRESSION_NONE},
              {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK},
              {TIFFTAG_STRIPOFFSETS, 8},
              {TIFFTAG_SAMPLESPERPIXEL, 64257},
              {TIFFTAG_ROWSPERSTRIP, 24},
              {TIFFTAG_STRIPBYTECOUNTS, 100}});
  complains("create new.fax samples.tif", 2,
            "samples.tif: page 1 cannot be read: its lines have 909552180384 bytes: 2097152 is the limit");
  write_tiff("grey.tif", COMPRESSION_ADOBE_DEFLATE, 1);
  shell("tiffset -s 282 204 grey.tif && tiffset -s 283 600000 grey.tif");
  complains("create --fit crop new.fax grey.tif", 2,
            "grey.tif: page 1 has 8192 rows for 3 lines: is its resolution right?");
  shell("tiffset -s 283 250000 grey.tif");
  expect_little("create --fit crop new.fax grey.tif");
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
