// Whole processes on a document of many pages made from the charts: our converter against tiffcp, wall time and peak
// memory. Not a part of the other benchmark program, since a process is what is measured: this one starts itself for
// the conversion.
#include <fcntl.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "faxfile/fax_header.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "t4/line.h"
#include "t4/t4dec_convert.h"

using namespace tolvane;

namespace {

const std::vector<std::string> charts = {"itu1", "itu4", "itu5", "itu7"};
constexpr int short_document = 80, long_document = 800;  // pages: memory is to be the same for both
constexpr int repetitions = 5;
constexpr double target = 0.6;  // wall time, ours over that of tiffcp

struct Direction {
  const char *name;
  int32_t from, to;
  const char *from_tiffcp, *to_tiffcp;  // the codings as tiffcp names them
};
constexpr Direction directions[] = {{"MH to MMR", COMP_MH, COMP_MMR, "g3:1d", "g4"},
                                    {"MMR to MH", COMP_MMR, COMP_MH, "g4", "g3:1d"}};

struct Usage {
  double seconds = 0;
  long peak_kilobytes = 0;
};

[[noreturn]] void give_up(const std::string &what) {
  fprintf(stderr, "conversion_bench: %s failed\n", what.c_str());
  exit(1);
}

Usage run(const std::vector<std::string> &command) {
  std::vector<char *> arguments;
  for (const std::string &word : command) arguments.push_back(const_cast<char *>(word.c_str()));
  arguments.push_back(nullptr);
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  int status = 0;
  rusage used{};
  if (child < 0 || wait4(child, &status, 0, &used) != child || status != 0) give_up(command[0] + " " + command[1]);
  return {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), used.ru_maxrss};
}

// The page records of a fax file are the strips of the TIFF file, bits in the order of a fax file.
void write_fax(const std::string &path, const std::string &tiff_path, int32_t compression, int pages) {
  FaxHeader *header = new_fax_header("#PAGES", std::to_string(pages).c_str());
  set_vertical_resolution(header, 1);
  set_compression_mode(header, compression);
  const Descriptor fax(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644));
  write_fax_header(fax.get(), header);
  free_fax_header(header);
  TIFF *tiff = TIFFOpen(tiff_path.c_str(), "r");
  if (!tiff) give_up("reading " + tiff_path);
  for (int page = 0; page < pages; ++page) {
    TIFFSetDirectory(tiff, static_cast<tdir_t>(page));
    std::vector<uint8_t> data(TIFFRawStripSize64(tiff, 0));
    TIFFReadRawStrip(tiff, 0, data.data(), static_cast<tmsize_t>(data.size()));
    const uint32_t length = static_cast<uint32_t>(data.size());
    writeLongFlipped(fax.get(), &length);
    if (!write_fully(fax.get(), data.data(), data.size())) give_up("writing " + path);
  }
  TIFFClose(tiff);
}

struct Document {
  std::string tiff, fax;
};

Document make_document(const std::string &directory, const Direction &direction, int pages) {
  const std::string stem = directory + "/" + std::to_string(direction.from) + "_" + std::to_string(pages);
  const Document document{stem + ".tif", stem + ".fax"};
  std::vector<std::string> command = {"tiffcp", "-c", direction.from_tiffcp, "-f", "lsb2msb"};
  for (int page = 0; page < pages; ++page)
    command.push_back(TOLVANE_SOURCE_DIR "/bench/charts/" + charts[static_cast<size_t>(page) % charts.size()] + ".tif");
  command.push_back(document.tiff);
  run(command);
  write_fax(document.fax, document.tiff, direction.from, pages);
  return document;
}

// The best of some turns, which is the one that the machine disturbed least; each turn runs both.
struct Comparison {
  double ours = 1e9, tiffcp = 1e9;  // seconds
  long peak_kilobytes = 0;
};

Comparison compare(const Document &document, const Direction &direction, const char *self) {
  Comparison best;
  const std::string scratch = document.fax + ".copy", scratch_tiff = document.tiff + ".copy";
  for (int turn = 0; turn < repetitions; ++turn) {
    std::filesystem::copy_file(document.fax, scratch, std::filesystem::copy_options::overwrite_existing);
    const Usage ours = run({self, "--convert", scratch, std::to_string(direction.to)});
    const Usage tiffcp = run({"tiffcp", "-c", direction.to_tiffcp, document.tiff, scratch_tiff});
    best.ours = std::min(best.ours, ours.seconds);
    best.tiffcp = std::min(best.tiffcp, tiffcp.seconds);
    best.peak_kilobytes = std::max(best.peak_kilobytes, ours.peak_kilobytes);
  }
  return best;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc == 4 && strcmp(argv[1], "--convert") == 0)
    return t4dec_change_format(argv[2], atoi(argv[3]), 0, nullptr) == 1 ? 0 : 1;

  std::string directory = std::filesystem::temp_directory_path() / "conversion_bench-XXXXXX";
  if (!mkdtemp(directory.data())) give_up("making a directory");
  printf("%-24s%8s%8s%8s%8s%12s%12s\n", "800 pages", "ours, s", "tiffcp", "ratio", "target", "peak, KB", "80 pages");
  for (const Direction &direction : directions) {
    const Comparison whole = compare(make_document(directory, direction, long_document), direction, argv[0]);
    const Comparison part = compare(make_document(directory, direction, short_document), direction, argv[0]);
    const double ratio = whole.ours / whole.tiffcp;
    printf("%-24s%8.2f%8.2f%8.2f%8.2f%12ld%12ld%s\n", direction.name, whole.ours, whole.tiffcp, ratio, target,
           whole.peak_kilobytes, part.peak_kilobytes, ratio <= target ? "" : "  missed");
  }
  std::filesystem::remove_all(directory);
  return 0;
}
