// One program for all fuzz targets, so that the libraries are built and linked once: TOLVANE_FUZZ names the target, and
// libFuzzer does the rest. Beside what a target demands, every run is held to a limit of memory and one of time that
// grows with the input.
#include "fuzz.h"

#include <sanitizer/allocator_interface.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>

#include "helpers/fax_bytes.h"

namespace {

constexpr Target TARGETS[] = {
    {"header", fuzz_header},
    {"quick_header", fuzz_quick_header},
    {"pages", fuzz_pages},
    {"edits", fuzz_edits},
    {"decoders", fuzz_decoders},
    {"encoder", fuzz_encoder},
    {"converter", fuzz_converter},
    {"picture", fuzz_picture},
    {"traces", fuzz_traces},
    {"labels", fuzz_labels},
    {"commands", fuzz_commands},
    {"selection", fuzz_selection},
    {"survey", fuzz_survey},
    {"transcoder", fuzz_transcoder},
    {"tiff", fuzz_tiff, 256, 20},
    {"raw", fuzz_raw},
    {"sff", fuzz_sff},
    {"pbm", fuzz_pbm, 64, 20},
    {"png", fuzz_png, 256, 20},
    {"pdf", fuzz_pdf, 512, 20},
};

constexpr double SECONDS_A_BYTE = 1e-3, SECONDS_A_LINE = 3e-4;  // of processor time, beyond those of every run

const Target *target;
int messages;  // standard error as it was at the start: libFuzzer closes the streams for what a target prints
std::atomic<size_t> in_use;
std::atomic<bool> counting;
double allowed;  // seconds of processor time for the run

void count_block(const volatile void *, size_t size) {
  if (!counting) return;
  in_use += size;
  if (in_use <= target->megabytes << 20) return;
  counting = false;
  require(false, "less memory than the limit");
}

void forget_block(const volatile void *block) {
  if (!counting || !block) return;
  const size_t size = __sanitizer_get_allocated_size(block);
  in_use -= std::min<size_t>(size, in_use);
}

double processor_time() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

}  // namespace

uint32_t Input::pick(uint32_t choices) {
  if (bytes.empty()) return 0;
  const uint32_t last = bytes.back();
  bytes = bytes.first(bytes.size() - 1);
  return last % choices;
}

std::string Input::take(size_t count) {
  const auto taken = bytes.last(std::min(count, bytes.size()));
  bytes = bytes.first(bytes.size() - taken.size());
  return {taken.begin(), taken.end()};
}

void require(bool holds, const char *what) {
  if (holds) return;
  dprintf(messages, "%s: does not hold: %s\n", target->name, what);
  abort();
}

void allow_lines(size_t lines) {
  allowed += SECONDS_A_LINE * static_cast<double>(lines);
}

const TempDir &scratch() {
  static const TempDir directory;
  return directory;
}

MemoryFile::MemoryFile(std::string_view bytes) : fd_(memfd_create("fuzz", MFD_CLOEXEC)) {
  require(pwrite(fd_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()), "a file in memory");
}

MemoryFile::~MemoryFile() {
  close(fd_);
}

std::string MemoryFile::bytes() const {
  struct stat status {};
  fstat(fd_, &status);
  std::string bytes(static_cast<size_t>(status.st_size), '\0');
  require(pread(fd_, bytes.data(), bytes.size(), 0) == status.st_size, "a file in memory");
  return bytes;
}

std::string write_faxes(const Input &input) {
  const std::string all = input.text();
  const std::string magic = big_endian(0xBADBAD16);
  for (const auto &old : std::filesystem::directory_iterator(scratch().string())) std::filesystem::remove(old);
  size_t start = 0;
  for (int i = 0; i == 0 || start < all.size(); ++i) {
    const size_t end = std::min(all.find(magic, start + 1), all.size());
    scratch().write(std::to_string(i) + ".fax", all.substr(start, end - start));
    start = end;
  }
  return scratch().path("0.fax");
}

uint32_t word_at(std::string_view bytes, size_t offset) {
  if (offset + 4 > bytes.size()) return 0;
  uint32_t word = 0;
  for (size_t i = 0; i < 4; ++i) word = word << 8 | static_cast<uint8_t>(bytes[offset + i]);
  return word;
}

std::vector<size_t> record_offsets(std::string_view bytes) {
  size_t offset = 8 + size_t{word_at(bytes, 4)};
  if (bytes.size() < 8 || offset > bytes.size()) return {};
  std::vector<size_t> offsets{offset};
  while (offset + 4 <= bytes.size()) {
    offset += 4 + size_t{word_at(bytes, offset)};
    if (offset > bytes.size()) break;
    offsets.push_back(offset);
  }
  return offsets;
}

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  const char *name = getenv("TOLVANE_FUZZ");
  for (const Target &one : TARGETS)
    if (name && strcmp(name, one.name) == 0) target = &one;
  if (!target) {
    fputs("TOLVANE_FUZZ must name one of:", stderr);
    for (const Target &one : TARGETS) fprintf(stderr, " %s", one.name);
    fputs("\n", stderr);
    exit(1);
  }
  messages = dup(STDERR_FILENO);
  __sanitizer_install_malloc_and_free_hooks(count_block, forget_block);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const double start = processor_time();
  allowed = target->seconds + SECONDS_A_BYTE * static_cast<double>(size);
  in_use = 0;
  counting = true;
  target->run({{data, size}});
  counting = false;
  require(processor_time() - start < allowed, "time within the limit");
  return 0;
}
