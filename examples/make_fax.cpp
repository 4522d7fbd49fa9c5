// Makes a fax document of two pages from bitmaps, with a cover page that stays in a file of its own, and reads the
// whole document back.
//
//   make_fax DIRECTORY
//
// The files cover.fax and letter.fax are made in DIRECTORY. Exit status 0 if every line came back as it was drawn.
#include <tolvane/faxlib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace tolvane;

namespace {
constexpr int32_t WIDTH = 1728;  // pixels of a fax line
constexpr int32_t LINE_BYTES = WIDTH / 8;
constexpr int32_t MMR = 3;

using Bitmap = std::vector<uint8_t>;  // lines of LINE_BYTES bytes; pixel 0 is 0x80 of byte 0, 1 is black

// The coder takes lines from one callback and gives words to another; this is what they work on.
struct {
  const Bitmap *page;
  bool taken;
  std::vector<uint8_t> coded;
} coding;

// The same for the decoder.
struct {
  const Bitmap *page;
  size_t lines;
  bool same;
} checking;

// A frame around the page with `bars` black bars in it.
Bitmap draw(int32_t lines, int32_t bars) {
  Bitmap page(static_cast<size_t>(lines * LINE_BYTES));
  for (int32_t y = 0; y < lines; ++y) {
    uint8_t *line = &page[static_cast<size_t>(y * LINE_BYTES)];
    const bool edge = y < 8 || y >= lines - 8;
    bit_fill_bits(line, 64, edge ? WIDTH - 128 : 8, 1);
    bit_fill_bits(line, WIDTH - 72, 8, 1);
    for (int32_t bar = 0; bar < bars && y >= 60 && y < lines - 60; ++bar) bit_fill_bits(line, 200 + 100 * bar, 50, 1);
  }
  return page;
}

std::vector<uint8_t> code(const Bitmap &page) {
  coding = {&page, false, {}};
  const getdata_fn get = [](const uint8_t **lines, int32_t *count) {
    if (coding.taken) return -1;  // the page is over
    coding.taken = true;
    *lines = coding.page->data();
    *count = static_cast<int32_t>(coding.page->size()) / LINE_BYTES;
    return LINE_BYTES;
  };
  const putdata_fn put = [](const uint16_t *words, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {  // a fax file holds the words low byte first
      coding.coded.push_back(static_cast<uint8_t>(words[i]));
      coding.coded.push_back(static_cast<uint8_t>(words[i] >> 8));
    }
    return count;
  };
  encode_g3_fax(get, put, MMR, 1);
  return coding.coded;
}

// Ends the program at the first operation that fails.
void must(int16_t result, const char *operation) {
  if (result == FAXFILE_OK) return;
  fprintf(stderr, "%s: code %d\n", operation, result);
  exit(1);
}

// A new fax file with the keywords that every reader wants; the descriptor is the caller's.
int32_t create(const std::string &path, const char *pages, const char *subject) {
  int32_t fd;
  must(FaxFileCreate(path.c_str(), &fd), "FaxFileCreate");
  must(FaxFileAddKeyword(fd, FAXFILE_PAGES, pages), "#PAGES");
  must(FaxFileAddKeyword(fd, FAXFILE_RESOLUTION, "1"), "RESOLUTION");    // fine
  must(FaxFileAddKeyword(fd, FAXFILE_COMPRESSION, "3"), "COMPRESSION");  // MMR
  must(FaxFileAddKeyword(fd, FAXFILE_SUBJECT, subject), "SUBJECT");
  return fd;
}

void append(int32_t fd, const std::vector<uint8_t> &page) {
  must(FaxFileAppendEncodedPage(fd, page.data(), static_cast<int32_t>(page.size())), "FaxFileAppendEncodedPage");
}

// Puts a page before page `number`. A page may be written in any number of pieces; here it is one.
void insert(int32_t fd, uint16_t number, const std::vector<uint8_t> &page) {
  FaxPageParams params = {};
  params.size = sizeof params;
  params.mode = FAX_PAGE_WRITE;
  params.pageNumber = number;
  params.dataLength = static_cast<int32_t>(page.size());
  must(FaxFileStartPage(fd, &params), "FaxFileStartPage");
  must(FaxFileWriteEncodedPage(fd, page.data(), params.dataLength), "FaxFileWriteEncodedPage");
  must(FaxFileEndPage(fd), "FaxFileEndPage");
}

// Reads page `number` of the document and holds its lines against the bitmap that it was made from.
bool read_back(int32_t fd, const std::string &path, int32_t number, const Bitmap &drawn) {
  uint8_t *data = nullptr;
  int32_t length = 0;
  must(FaxFileReadSpecificPage(fd, path.c_str(), number, &data, &length), "FaxFileReadSpecificPage");
  checking = {&drawn, 0, true};
  const found_line_fn found_line = [](const uint8_t *line, uint32_t size) {
    const size_t offset = size * checking.lines++;
    if (offset >= checking.page->size()) return;  // the decoder ends an MMR page with a white line more
    checking.same = checking.same && memcmp(line, checking.page->data() + offset, size) == 0;
  };
  t4dec(data, static_cast<uint32_t>(length), MMR, nullptr, found_line, nullptr);
  free(data);
  const bool same = checking.same && checking.lines * LINE_BYTES >= drawn.size();
  printf("page %d: %d bytes, %zu lines, %s\n", number, length, drawn.size() / LINE_BYTES,
         same ? "as drawn" : "not as drawn");
  return same;
}
}  // namespace

int main(int argc, char **argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: make_fax DIRECTORY\n");
    return 1;
  }
  const std::string cover_path = std::string(argv[1]) + "/cover.fax";
  const std::string path = std::string(argv[1]) + "/letter.fax";
  const Bitmap cover = draw(800, 1), first = draw(1000, 5), second = draw(1200, 12);

  int32_t fd = create(cover_path, "1", "Cover page");
  append(fd, code(cover));
  must(FaxFileClose(fd), "FaxFileClose");

  // Keywords first: adding one later moves every page.
  fd = create(path, "2", "A letter of two pages\nand a cover");
  must(FaxFileAddKeyword(fd, FAXFILE_INCLUDE_PAGES, "1"), "INCLUDE_PAGES");
  must(FaxFileAddKeyword(fd, FAXFILE_INCLUDE, "cover.fax 1 1"), "INCLUDE");  // 1 page before page 1
  append(fd, code(second));
  insert(fd, 1, code(first));
  must(FaxFileClose(fd), "FaxFileClose");
  must(FaxFileModifyKeyword(path.c_str(), FAXFILE_SUBJECT, "A letter"), "FaxFileModifyKeyword");

  must(FaxFileOpen(path.c_str(), &fd), "FaxFileOpen");
  char subject[32768];  // holds any value
  must(FaxFileGetKeywordValue(fd, FAXFILE_SUBJECT, subject), "FaxFileGetKeywordValue");
  printf("subject: %s\n", subject);
  bool same = read_back(fd, path, 1, cover);
  same = read_back(fd, path, 2, first) && same;
  same = read_back(fd, path, 3, second) && same;
  must(FaxFileClose(fd), "FaxFileClose");
  return same ? 0 : 1;
}
