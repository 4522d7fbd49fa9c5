// The C face: C functions over the C++ library. Every function catches what the containers inside may throw without
// memory, so that no exception reaches a caller in C.
#include "c/fax.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include "faxfile/fax_header.h"
#include "faxfile/fax_lock.h"
#include "faxfile/header_lines.h"
#include "faxfile/page_writer.h"
#include "faxfile/pages.h"
#include "faxfile/session_params.h"
#include "faxfile/sorbfile.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "support/replace_file.h"
#include "t4/codec.h"
#include "t4/file_converter.h"
#include "t4/line.h"

struct tolvane_fax {
  std::string path;
  tolvane::Descriptor file;
  bool writable;
};

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|fax|9|01|3|0|0|11/23/26|08:49:02";

constexpr int32_t WIDTH = LINE_PIXELS;
constexpr size_t LINE_BYTES = WIDTH / 8;

static_assert(TOLVANE_INCLUDED == FAXFILE_ERR_INCLUDED && TOLVANE_CODING == FAXFILE_ERR_CODING);
static_assert(TOLVANE_MH == COMP_MH && TOLVANE_MR == COMP_MR && TOLVANE_MMR == COMP_MMR);

// Runs the body of a function; TOLVANE_MEMORY if it throws.
template <typename Body>
int guarded(Body body) {
  try {
    return body();
  } catch (const std::bad_alloc &) {
    return TOLVANE_MEMORY;
  }
}

int copy_of(const std::string &text, char **copy) {
  *copy = strdup(text.c_str());
  return *copy ? TOLVANE_OK : TOLVANE_MEMORY;
}

int open_with(int16_t (*opener)(const char *, int32_t *), const char *path, bool writable, tolvane_fax **fax) {
  if (!path || !fax) return TOLVANE_ARGUMENT;
  *fax = nullptr;
  return guarded([&]() -> int {
    int32_t fd;
    if (const int16_t code = opener(path, &fd); code != FAXFILE_OK) return code;
    *fax = new tolvane_fax{path, Descriptor(fd), writable};
    return TOLVANE_OK;
  });
}

int lines_of(tolvane_fax *fax, HeaderLines &lines) {
  if (!fax) return TOLVANE_ARGUMENT;
  return read_header_lines(fax->file.get(), lines);
}

// The coding that the header names; MH if it names none.
int coding_of(tolvane_fax *fax, int32_t *coding) {
  HeaderLines lines;
  if (const int code = lines_of(fax, lines); code != TOLVANE_OK) return code;
  const char *value = find_header_value(lines, faxFileKeywordList[FAXFILE_COMPRESSION]);
  const size_t blanks = value ? strspn(value, " \t\v\f\r") : 0;
  *coding = !value || !value[blanks] ? COMP_MH : asciitoDF(value[blanks]);
  return *coding == COMP_MH || *coding == COMP_MR || *coding == COMP_MMR ? TOLVANE_OK : TOLVANE_CODING;
}

// The lines of a page in the making.
struct Lines {
  std::vector<uint8_t> bytes{};
  bool open = false;  // runs have come since the last line
  bool lost = false;  // there was no memory for a line: nothing may throw through the decoder
};

Lines &lines_in(void *context) {
  return *static_cast<Lines *>(context);
}

void take_run(void *context, int32_t) {
  lines_in(context).open = true;
}

void take_line(void *context, const uint8_t *line, uint32_t size) {
  Lines &lines = lines_in(context);
  lines.open = false;
  const int code = guarded([&]() -> int {
    lines.bytes.insert(lines.bytes.end(), line, line + size);
    return TOLVANE_OK;
  });
  if (code != TOLVANE_OK) lines.lost = true;
}

// Decodes a page without the white lines that the decoder adds: the first one of MH and the last one of MMR.
int decode(const uint8_t *data, size_t length, int32_t coding, Lines &lines) {
  Decoder decoder;
  const LineSink sink = {&lines, take_run, take_line, nullptr, nullptr};
  const DecodeResult result = decoder.decode({data, length}, coding, WIDTH, sink);
  if (coding == COMP_MH && lines.open) decoder.end_line(sink);
  if (result == DecodeResult::no_memory || lines.lost) return TOLVANE_MEMORY;
  auto &bytes = lines.bytes;
  if (bytes.empty()) return TOLVANE_OK;
  if (coding == COMP_MH) bytes.erase(bytes.begin(), bytes.begin() + LINE_BYTES);
  const auto is_white = [](uint8_t byte) { return byte == 0; };
  if (coding == COMP_MMR && result == DecodeResult::done &&
      std::all_of(bytes.end() - LINE_BYTES, bytes.end(), is_white))
    bytes.resize(bytes.size() - LINE_BYTES);
  return TOLVANE_OK;
}

bool keep_code(void *context, const uint8_t *bytes, size_t count) {
  auto &code = *static_cast<std::vector<uint8_t> *>(context);
  return guarded([&]() -> int {
           code.insert(code.end(), bytes, bytes + count);
           return TOLVANE_OK;
         }) == TOLVANE_OK;
}

// The vertical resolution code that the header names; 0 (normal) if it names none.
int32_t resolution_of(tolvane_fax *fax) {
  HeaderLines lines;
  if (lines_of(fax, lines) != TOLVANE_OK) return 0;
  const char *value = find_header_value(lines, faxFileKeywordList[FAXFILE_RESOLUTION]);
  return value ? std::max(asciitoVR(value[strspn(value, " \t\v\f\r")]), 0) : 0;
}

// Replaces the file by one with these header lines, and moves the handle to it.
int replace_header(tolvane_fax *fax, const HeaderLines &lines) {
  const std::string path = path_of_descriptor(fax->file.get());
  Replacement file;
  if (!is_file_at(fax->file.get(), path.c_str()) || !file.begin(path.c_str())) return TOLVANE_CREATE;
  if (!write_header_lines(file.fd(), lines) || !copy_bytes(fax->file.get(), file.fd(), -1)) return TOLVANE_WRITE;
  if (!file.commit()) return TOLVANE_WRITE;
  const Descriptor renewed(open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  return renewed && dup3(renewed.get(), fax->file.get(), O_CLOEXEC) >= 0 ? TOLVANE_OK : TOLVANE_OPEN;
}
}  // namespace
}  // namespace tolvane

using namespace tolvane;

const char *tolvane_error_text(int code) {
  switch (code) {
    case TOLVANE_OK:
      return "success";
    case TOLVANE_CLOSE:
      return "close failed";
    case TOLVANE_MEMORY:
      return "out of memory";
    case TOLVANE_CREATE:
      return "cannot create a file";
    case TOLVANE_READ:
      return "read failed";
    case TOLVANE_WRITE:
      return "write failed";
    case TOLVANE_OPEN:
      return "cannot open the file";
    case TOLVANE_FORMAT:
      return "not a fax file, or damaged";
    case TOLVANE_TEMPNAME:
      return "no name for the new file";
    case TOLVANE_ARGUMENT:
      return "bad argument";
    case TOLVANE_READONLY:
      return "the file is open for reading only";
    case TOLVANE_NO_PAGE:
      return "no such page";
    case TOLVANE_INCLUDED:
      return "an included file is missing, or has no such page";
    case TOLVANE_CODING:
      return "cannot decode or encode pages in this coding";
    case TOLVANE_NO_KEYWORD:
      return "no such header line";
    default:
      return "unknown error";
  }
}

void tolvane_free(void *block) {
  free(block);
}

int tolvane_open(const char *path, int writable, tolvane_fax **fax) {
  return open_with(writable > 0 ? FaxFileOpen : FaxFileOpenReadOnly, path, writable > 0, fax);
}

int tolvane_create(const char *path, tolvane_fax **fax) {
  return open_with(FaxFileCreate, path, true, fax);
}

int tolvane_close(tolvane_fax *fax) {
  if (!fax) return TOLVANE_OK;
  const int code = FaxFileClose(fax->file.release());
  delete fax;
  return code;
}

int tolvane_page_count(tolvane_fax *fax, int32_t *pages) {
  if (!pages) return TOLVANE_ARGUMENT;
  *pages = 0;
  if (!fax) return TOLVANE_ARGUMENT;
  return FaxFileCountDocumentPages(fax->file.get(), pages);
}

int tolvane_line_count(tolvane_fax *fax, size_t *count) {
  if (!count) return TOLVANE_ARGUMENT;
  *count = 0;
  return guarded([&]() -> int {
    HeaderLines lines;
    const int code = lines_of(fax, lines);
    *count = lines.size();
    return code;
  });
}

int tolvane_line(tolvane_fax *fax, size_t index, char **line) {
  if (!line) return TOLVANE_ARGUMENT;
  *line = nullptr;
  return guarded([&]() -> int {
    HeaderLines lines;
    if (const int code = lines_of(fax, lines); code != TOLVANE_OK) return code;
    if (index >= lines.size()) return TOLVANE_NO_KEYWORD;
    return copy_of(lines[index], line);
  });
}

int tolvane_value(tolvane_fax *fax, const char *name, char **value) {
  if (!name || !value) return TOLVANE_ARGUMENT;
  *value = nullptr;
  return guarded([&]() -> int {
    HeaderLines lines;
    if (const int code = lines_of(fax, lines); code != TOLVANE_OK) return code;
    const char *found = find_header_value(lines, name);
    if (!found) return TOLVANE_NO_KEYWORD;
    return copy_of(found, value);
  });
}

int tolvane_set_value(tolvane_fax *fax, const char *name, const char *value) {
  if (!fax || !name || !*name || strpbrk(name, ":\n") || !value) return TOLVANE_ARGUMENT;
  if (!fax->writable) return TOLVANE_READONLY;
  return guarded([&]() -> int {
    FaxEditLock lock;
    HeaderLines lines;
    if (!take_to_change(lock, fax->file.get())) return TOLVANE_WRITE;
    if (const int code = lines_of(fax, lines); code != TOLVANE_OK) return code;
    set_header_value(lines, name, value);
    return replace_header(fax, lines);
  });
}

int tolvane_read_page(tolvane_fax *fax, int32_t page, uint8_t **data, size_t *length) {
  if (!fax || !data || !length) return TOLVANE_ARGUMENT;
  *data = nullptr;
  *length = 0;
  int32_t count = 0;
  const int code = FaxFileReadDocumentPage(fax->file.get(), fax->path.c_str(), page, data, &count);
  *length = static_cast<size_t>(count);
  return code;
}

int tolvane_decode_page(tolvane_fax *fax, int32_t page, tolvane_picture *picture) {
  if (!fax || !picture) return TOLVANE_ARGUMENT;
  *picture = {WIDTH, 0, LINE_BYTES, nullptr};
  return guarded([&]() -> int {
    uint8_t *data;
    size_t length;
    int32_t coding;
    if (const int code = coding_of(fax, &coding); code != TOLVANE_OK) return code;
    if (const int code = tolvane_read_page(fax, page, &data, &length); code != TOLVANE_OK) return code;
    const Block<uint8_t> owned(data);
    Lines lines;
    if (length > 0)
      if (const int code = decode(data, length, coding, lines); code != TOLVANE_OK) return code;
    if (lines.bytes.empty()) return TOLVANE_OK;
    picture->lines = static_cast<uint8_t *>(malloc(lines.bytes.size()));
    if (!picture->lines) return TOLVANE_MEMORY;
    memcpy(picture->lines, lines.bytes.data(), lines.bytes.size());
    picture->height = static_cast<int32_t>(lines.bytes.size() / LINE_BYTES);
    return TOLVANE_OK;
  });
}

int tolvane_append_page(tolvane_fax *fax, const uint8_t *data, size_t length) {
  constexpr uint8_t EMPTY = 0;
  if (!fax || (!data && length > 0) || length > INT32_MAX) return TOLVANE_ARGUMENT;
  if (!fax->writable) return TOLVANE_READONLY;
  return FaxFileAppendEncodedPage(fax->file.get(), data ? data : &EMPTY, static_cast<int32_t>(length));
}

int tolvane_append_picture(tolvane_fax *fax, const tolvane_picture *picture) {
  if (!fax || !picture || picture->width != WIDTH || picture->line_bytes != LINE_BYTES || picture->height < 0 ||
      (!picture->lines && picture->height > 0))
    return TOLVANE_ARGUMENT;
  if (!fax->writable) return TOLVANE_READONLY;
  return guarded([&]() -> int {
    int32_t coding;
    if (const int code = coding_of(fax, &coding); code != TOLVANE_OK) return code;
    std::vector<uint8_t> code;
    Encoder encoder;
    EncodeResult result = encoder.begin(coding, resolution_of(fax), {&code, keep_code});
    if (result == EncodeResult::done && picture->height > 0)
      result = encoder.add(picture->lines, LINE_BYTES, picture->height);
    if (result == EncodeResult::done) result = encoder.end();
    if (result != EncodeResult::done) return TOLVANE_MEMORY;
    if (coding == COMP_MR) code.insert(code.end(), {0, 0});  // fill, for decoders that stop in the last byte
    return tolvane_append_page(fax, code.data(), code.size());
  });
}

int tolvane_convert(const char *path, int coding) {
  if (!path) return TOLVANE_ARGUMENT;
  return guarded([&]() -> int { return convert_fax_file(path, coding); });
}
