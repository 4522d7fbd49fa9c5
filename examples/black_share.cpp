// Prints how much of each page of a fax document is black. The pages are decoded on several threads, each with a
// decoder of its own.
//
//   black_share FILE [THREADS]
//
// Exit status 0 if every page could be decoded.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <tolvane/faxlib.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using namespace tolvane;

namespace {
constexpr int32_t WIDTH = 1728;  // pixels of a fax line

struct Page {
  std::unique_ptr<uint8_t, decltype(&free)> data{nullptr, free};
  int32_t length = 0;
  int32_t lines = 0;
  int64_t black = 0;  // pixels
  DecodeResult result = DecodeResult::unknown_coding;
};

// The sink's context is the page, so that every thread counts for itself.
void add_run(void *page, int32_t run) {
  if (run < 0) static_cast<Page *>(page)->black -= run;
}

void add_line(void *page) {
  static_cast<Page *>(page)->lines++;
}

// Takes the next page that nobody has taken, until there is none.
void decode_pages(std::vector<Page> &pages, std::atomic<size_t> &next, int32_t coding) {
  Decoder decoder;
  for (size_t n; (n = next++) < pages.size();) {
    Page &page = pages[n];
    LineSink sink;
    sink.context = &page;
    sink.found_run = add_run;
    sink.found_eol = add_line;
    page.result = decoder.decode({page.data.get(), static_cast<size_t>(page.length)}, coding, WIDTH, sink);
    decoder.end_line(sink);
  }
}

// Reads the coded pages, those of included files too. The file operations are for one thread.
std::vector<Page> read_pages(const char *path, int32_t fd) {
  std::vector<Page> pages;
  for (;;) {
    Page page;
    uint8_t *data = nullptr;
    const auto number = static_cast<int32_t>(pages.size() + 1);
    if (FaxFileReadSpecificPage(fd, path, number, &data, &page.length) != FAXFILE_OK) return pages;
    page.data.reset(data);
    pages.push_back(std::move(page));
  }
}
}  // namespace

int main(int argc, char **argv) {
  int32_t fd;
  if (argc < 2 || FaxFileOpen(argv[1], &fd) != FAXFILE_OK) return 1;
  FaxHeader *header = read_fax_header(fd);
  if (!header) return 1;
  const int32_t coding = get_compression_mode(header);
  free_fax_header(header);
  std::vector<Page> pages = read_pages(argv[1], fd);
  FaxFileClose(fd);

  std::atomic<size_t> next = 0;
  std::vector<std::thread> threads;
  for (int left = argc > 2 ? std::max(atoi(argv[2]), 1) : 2; left > 0; --left)
    threads.emplace_back([&] { decode_pages(pages, next, coding); });
  for (std::thread &thread : threads) thread.join();

  int status = pages.empty() ? 1 : 0;
  for (size_t n = 0; n < pages.size(); ++n) {
    const Page &page = pages[n];
    const double pixels = static_cast<double>(WIDTH) * std::max(page.lines, 1);
    printf("page %zu: %d lines, %.2f%% black\n", n + 1, page.lines, 100 * static_cast<double>(page.black) / pixels);
    if (page.result != DecodeResult::done) status = 1;
  }
  return status;
}
