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
#include <utility>

#include "faxfile/fax_header.h"
#include "faxfile/fax_lock.h"
#include "faxfile/header_lines.h"
#include "faxfile/header_modes.h"
#include "faxfile/page_writer.h"
#include "faxfile/pages.h"
#include "faxfile/sorbfile.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "support/replace_file.h"
#include "support/store.h"
#include "t4/codec.h"
#include "t4/file_converter.h"
#include "t4/line.h"

struct tolvane_fax {
  std::string path;
  tolvane::Descriptor file;
  bool writable;
  bool has_new_pages = false;
  int64_t whole_size = -1;   // when the file was last known to end with a whole record
  std::string renamed_to{};  // name of a file whose descriptor does not know it (path_of_descriptor)
};

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|fax|9|01|5|0|0|11/23/26|14:40:40";

constexpr int32_t WIDTH = LINE_PIXELS;
constexpr size_t LINE_BYTES = WIDTH / 8;
constexpr int32_t MOST_LINES = 65535;  // of a page: at one bit a line, a small record has millions

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
    Descriptor file(fd);
    *fax = new tolvane_fax{path, std::move(file), writable};
    return TOLVANE_OK;
  });
}

int lines_of(tolvane_fax *fax, HeaderLines &lines) {
  if (!fax) return TOLVANE_ARGUMENT;
  return read_header_lines(fax->file.get(), lines);
}

// The coding and the resolution that the header names; MH and normal if it names none.
int modes_of(tolvane_fax *fax, int32_t *coding, int32_t *resolution) {
  HeaderLines lines;
  if (const int code = lines_of(fax, lines); code != TOLVANE_OK) return code;
  *coding = header_coding(lines);
  *resolution = std::max(header_resolution(lines), 0);
  return *coding == COMP_MH || *coding == COMP_MR || *coding == COMP_MMR ? TOLVANE_OK : TOLVANE_CODING;
}

// The lines of a page in the making.
struct Lines {
  Store bytes{};
  bool open = false;      // runs have come since the last line
  bool lost = false;      // there was no memory for a line
  bool too_many = false;  // more than a page may have, and the one that the decoder adds
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
  if (lines.bytes.used > MOST_LINES * LINE_BYTES)
    lines.too_many = true;
  else if (!lines.bytes.append(line, size))
    lines.lost = true;
}

// Decodes a page without the white lines that the decoder adds: the first one of MH and the last one of MMR.
int decode(const uint8_t *data, size_t length, int32_t coding, Lines &lines) {
  Decoder decoder;
  const LineSink sink = {&lines, take_run, take_line, nullptr, nullptr};
  const DecodeResult result = decoder.decode({data, length}, coding, WIDTH, sink);
  if (coding == COMP_MH && lines.open) decoder.end_line(sink);
  if (result == DecodeResult::no_memory || lines.lost) return TOLVANE_MEMORY;
  Store &bytes = lines.bytes;
  if (bytes.used == 0) return TOLVANE_OK;
  const uint8_t *last = bytes.bytes.get() + bytes.used - LINE_BYTES;
  const bool ends_white = std::all_of(last, last + LINE_BYTES, [](uint8_t byte) { return byte == 0; });
  if (coding == COMP_MH || (coding == COMP_MMR && result == DecodeResult::done && ends_white)) bytes.used -= LINE_BYTES;
  if (coding == COMP_MH) memmove(bytes.bytes.get(), bytes.bytes.get() + LINE_BYTES, bytes.used);
  return lines.too_many || bytes.used > MOST_LINES * LINE_BYTES ? TOLVANE_FORMAT : TOLVANE_OK;
}

bool keep_code(void *context, const uint8_t *bytes, size_t count) {
  return count == 0 || static_cast<Store *>(context)->append(bytes, count);
}

// Takes the lock to change the file of a handle, which moves to the file that has the name now.
int take_to_edit(tolvane_fax *fax, FaxEditLock &lock) {
  while (take_to_change(lock, fax->file.get())) {
    if (fax->renamed_to.empty() || is_file_at(fax->file.get(), fax->renamed_to.c_str())) return TOLVANE_OK;
    lock.release();
    int32_t fd;
    if (const int16_t code = FaxFileOpen(fax->renamed_to.c_str(), &fd); code != FAXFILE_OK) return code;
    const Descriptor successor(fd);
    if (dup3(fd, fax->file.get(), O_CLOEXEC) < 0) return TOLVANE_OPEN;
    fax->renamed_to.clear();
  }
  return TOLVANE_WRITE;
}

// Replaces the file by one with these header lines, and moves the handle to it.
int replace_header(tolvane_fax *fax, const HeaderLines &lines) {
  std::string path = fax->renamed_to.empty() ? path_of_descriptor(fax->file.get()) : fax->renamed_to;
  Replacement file;
  if (!is_file_at(fax->file.get(), path.c_str()) || !file.begin(path.c_str())) return TOLVANE_CREATE;
  if (!write_header_lines(file.fd(), lines) || !copy_bytes(fax->file.get(), file.fd(), -1)) return TOLVANE_WRITE;
  if (!file.commit()) return TOLVANE_WRITE;
  // Opened by its path, the file is known by it. Where that fails, the handle moves all the same.
  const Descriptor renewed(open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  fax->renamed_to = renewed ? std::string() : std::move(path);
  return dup3(renewed ? renewed.get() : file.fd(), fax->file.get(), O_CLOEXEC) >= 0 ? TOLVANE_OK : TOLVANE_OPEN;
}

// Sets #PAGES to the number of page records: in place where the line is missing.
int correct_page_count(tolvane_fax *fax) {
  FaxEditLock lock;
  HeaderLines lines;
  int32_t pages;
  if (const int code = take_to_edit(fax, lock); code != TOLVANE_OK) return code;
  if (const int code = FaxFileCountPages(fax->file.get(), &pages); code != TOLVANE_OK) return code;
  if (const int code = lines_of(fax, lines); code != TOLVANE_OK) return code;
  const bool is_missing = !find_header_value(lines, faxFileKeywordList[FAXFILE_PAGES]);
  const HeaderLines before = lines;
  if (!set_header_page_count(lines, pages)) return TOLVANE_OK;
  if (header_loses_readers(before, lines)) return TOLVANE_FORMAT;
  if (is_missing) return FaxFileAddKeyword(fax->file.get(), FAXFILE_PAGES, std::to_string(pages).c_str());
  return replace_header(fax, lines);
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
  const int counted = fax->has_new_pages ? guarded([&] { return correct_page_count(fax); }) : TOLVANE_OK;
  const int closed = FaxFileClose(fax->file.release());
  delete fax;
  return counted != TOLVANE_OK ? counted : closed;
}

int tolvane_page_count(tolvane_fax *fax, int32_t *pages) {
  if (!pages) return TOLVANE_ARGUMENT;
  *pages = 0;
  if (!fax) return TOLVANE_ARGUMENT;
  const int code = guarded([&]() -> int { return FaxFileCountDocumentPages(fax->file.get(), pages); });
  if (code != TOLVANE_OK) *pages = 0;
  return code;
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
    if (const int code = take_to_edit(fax, lock); code != TOLVANE_OK) return code;
    if (const int code = lines_of(fax, lines); code != TOLVANE_OK) return code;
    const HeaderLines before = lines;
    set_header_value(lines, name, value);
    return header_loses_readers(before, lines) ? TOLVANE_FORMAT : replace_header(fax, lines);
  });
}

int tolvane_read_page(tolvane_fax *fax, int32_t page, uint8_t **data, size_t *length) {
  if (!fax || !data || !length) return TOLVANE_ARGUMENT;
  *data = nullptr;
  *length = 0;
  int32_t count = 0;
  const int code =
      guarded([&]() -> int { return FaxFileReadDocumentPage(fax->file.get(), fax->path.c_str(), page, data, &count); });
  *length = static_cast<size_t>(count);
  return code;
}

int tolvane_decode_page(tolvane_fax *fax, int32_t page, tolvane_picture *picture) {
  if (!fax || !picture) return TOLVANE_ARGUMENT;
  *picture = {WIDTH, 0, LINE_BYTES, nullptr};
  return guarded([&]() -> int {
    uint8_t *data;
    size_t length;
    int32_t coding, resolution;
    if (const int code = modes_of(fax, &coding, &resolution); code != TOLVANE_OK) return code;
    if (const int code = tolvane_read_page(fax, page, &data, &length); code != TOLVANE_OK) return code;
    const Block<uint8_t> owned(data);
    Lines lines;
    if (length > 0)
      if (const int code = decode(data, length, coding, lines); code != TOLVANE_OK) return code;
    if (lines.bytes.used == 0) return TOLVANE_OK;
    picture->height = static_cast<int32_t>(lines.bytes.used / LINE_BYTES);
    picture->lines = lines.bytes.bytes.release();
    return TOLVANE_OK;
  });
}

int tolvane_append_page(tolvane_fax *fax, const uint8_t *data, size_t length) {
  constexpr uint8_t EMPTY = 0;
  if (!fax || (!data && length > 0) || length > INT32_MAX) return TOLVANE_ARGUMENT;
  if (!fax->writable) return TOLVANE_READONLY;
  const int code = guarded([&]() -> int {
    FaxEditLock lock;
    if (const int taken = take_to_edit(fax, lock); taken != TOLVANE_OK) return taken;
    int32_t fd = fax->file.get(), pages;
    if (file_size(fd) != fax->whole_size)
      if (const int counted = FaxFileCountPages(fd, &pages); counted != TOLVANE_OK) return counted;
    const int appended = FaxFileAppendEncodedPage(fd, data ? data : &EMPTY, static_cast<int32_t>(length));
    fax->whole_size = appended == TOLVANE_OK ? file_size(fd) : -1;
    return appended;
  });
  fax->has_new_pages = fax->has_new_pages || code == TOLVANE_OK;
  return code;
}

int tolvane_append_picture(tolvane_fax *fax, const tolvane_picture *picture) {
  if (!fax || !picture || picture->width != WIDTH || picture->line_bytes != LINE_BYTES || picture->height < 0 ||
      picture->height > MOST_LINES || (!picture->lines && picture->height > 0))
    return TOLVANE_ARGUMENT;
  if (!fax->writable) return TOLVANE_READONLY;
  return guarded([&]() -> int {
    FaxEditLock lock;
    int32_t coding, resolution;
    if (const int code = take_to_edit(fax, lock); code != TOLVANE_OK) return code;
    if (const int code = modes_of(fax, &coding, &resolution); code != TOLVANE_OK) return code;
    Store code;
    Encoder encoder;
    EncodeResult result = encoder.begin(coding, resolution, {&code, keep_code});
    if (result == EncodeResult::done && picture->height > 0)
      result = encoder.add(picture->lines, LINE_BYTES, picture->height);
    if (result == EncodeResult::done) result = encoder.end();
    constexpr uint8_t FILL[2] = {};  // for decoders that stop in the last byte
    if (result == EncodeResult::done && coding == COMP_MR && !code.append(FILL, sizeof FILL)) return TOLVANE_MEMORY;
    if (result != EncodeResult::done) return TOLVANE_MEMORY;
    return tolvane_append_page(fax, code.bytes.get(), code.used);
  });
}

int tolvane_convert(const char *path, int coding) {
  if (!path) return TOLVANE_ARGUMENT;
  return convert_fax_file(path, coding);
}
