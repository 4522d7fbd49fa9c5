// What the fuzz targets share: the input and what is picked off its end, files made of it, and the demand that
// something holds. A target is a procedure that takes one input; the table in fuzz.cpp names them all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "helpers/temp_dir.h"

/// One input. The choices of a target are taken from its end, so that a document with a few bytes after it is a seed.
struct Input {
  std::span<const uint8_t> bytes;

  /// Takes the last byte: a number below `choices`, which is 256 at most; 0 when no byte is left.
  uint32_t pick(uint32_t choices);
  /// Takes up to `count` last bytes.
  std::string take(size_t count);
  std::string text() const { return {bytes.begin(), bytes.end()}; }
};

/// Ends the process with a finding unless `holds`.
void require(bool holds, const char *what);

/// Lets the run take longer, as making so many lines of a page does: a small picture can be enlarged to the longest
/// page.
void allow_lines(size_t lines);

/// A directory of the process's own, for the files that a target needs by name.
const TempDir &scratch();

/// A file in memory, open at its start for reading and writing.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes = {});
  ~MemoryFile();
  MemoryFile(const MemoryFile &) = delete;
  MemoryFile &operator=(const MemoryFile &) = delete;

  int fd() const { return fd_; }
  std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }
  std::string bytes() const;

 private:
  int fd_;
};

/// Cuts the input at every magic number but the first, and writes the pieces to "0.fax", "1.fax" and so on.
///
/// @return the path of "0.fax"
std::string write_faxes(const Input &input);

/// The offsets of the whole page records of a fax file, and the end of the last; none if there is no whole header.
std::vector<size_t> record_offsets(std::string_view bytes);

/// The big-endian word at an offset; 0 past the end.
uint32_t word_at(std::string_view bytes, size_t offset);

struct Target {
  const char *name;
  void (*run)(Input input);
  size_t megabytes = 64;  ///< on the heap at a time, beyond those before the run
  double seconds = 2;     ///< of processor time for a run, beside what each byte and each line of a page may take
};

void fuzz_header(Input input);
void fuzz_quick_header(Input input);
void fuzz_pages(Input input);
void fuzz_edits(Input input);
void fuzz_decoders(Input input);
void fuzz_encoder(Input input);
void fuzz_converter(Input input);
void fuzz_picture(Input input);
void fuzz_traces(Input input);
void fuzz_labels(Input input);
void fuzz_commands(Input input);
void fuzz_selection(Input input);
void fuzz_survey(Input input);
void fuzz_transcoder(Input input);
void fuzz_tiff(Input input);
void fuzz_raw(Input input);
void fuzz_sff(Input input);
void fuzz_pbm(Input input);
void fuzz_png(Input input);
void fuzz_pdf(Input input);
