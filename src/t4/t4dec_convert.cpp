// Whole-file conversion: the one place where decoder and encoder meet, with the lines of one page between them. What a
// newcomer gets wrong: the new page holds the lines that the decoder delivers, and these are not the coded lines of
// the old page one for one (an MH page gains a white first line, an MMR page a white last one).
#include "t4/t4dec_convert.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <string>

#include "faxfile/fax_header.h"
#include "faxfile/session_params.h"
#include "faxfile/usorbport.h"
#include "support/file.h"
#include "support/handle.h"
#include "t4/dectbls.h"
#include "t4/enct4.h"
#include "t4/line.h"
#include "t4/t4dec.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|t4dec_convert|9|01|1|0|0|11/22/26|20:58:00";

constexpr size_t FIRST_LINES = 0x80000;  // 2427 lines: a page of 11 inches at fine resolution, and some more
constexpr size_t MORE_LINES = 0x10000;
constexpr size_t MORE_CODE = 0x10000;
constexpr size_t LENGTH_WORD = 4;
constexpr size_t FILL = 1;  // byte of zeros behind a coded page
constexpr int32_t FINE_RESOLUTION = 1;

// Bytes that grow, and never shrink before the end of the conversion.
struct Store {
  Block<uint8_t> bytes{};
  size_t capacity = 0;
  size_t used = 0;

  bool grow_to(size_t new_capacity) {
    auto *grown = static_cast<uint8_t *>(realloc(bytes.get(), new_capacity));
    if (!grown) return false;
    static_cast<void>(bytes.release());
    bytes.reset(grown);
    capacity = new_capacity;
    return true;
  }
};

// The page in hand, on its way from the decoder's callback to the encoder's. The code goes to the file as one block,
// its length word in front: a write for each batch of words took a third of the whole run.
struct Conversion {
  Store lines;
  Store record;
  bool code_lost = false;
};

Conversion Oconv_st;
char ofname[4096];

void fp_found_line(const uint8_t *line, uint32_t size) {
  Store &lines = Oconv_st.lines;
  if (lines.capacity == 0 && !lines.grow_to(FIRST_LINES)) return;
  if (lines.used + size > lines.capacity && !lines.grow_to(lines.capacity + MORE_LINES)) return;
  memcpy(lines.bytes.get() + lines.used, line, size);
  lines.used += size;
}

int32_t fp_getdataf(const uint8_t **lines, int32_t *count) {
  const int32_t line_size = Pix_width / 8;
  if (Oconv_st.lines.used == 0) return -1;
  *lines = Oconv_st.lines.bytes.get();
  *count = static_cast<int32_t>(Oconv_st.lines.used / static_cast<size_t>(line_size));
  Oconv_st.lines.used = 0;
  return line_size;
}

// The low byte of a word goes first, as the decoder reads it.
int32_t fp_putdataf(const uint16_t *words, int32_t count) {
  Store &record = Oconv_st.record;
  const size_t size = 2 * static_cast<size_t>(count);
  if (record.used + size > record.capacity && !record.grow_to(2 * record.capacity + size)) {
    Oconv_st.code_lost = true;
    return -1;
  }
  uint8_t *next = record.bytes.get() + record.used;
  for (const uint16_t *end = words + count; words < end; ++words) {
    *next++ = static_cast<uint8_t>(*words);
    *next++ = static_cast<uint8_t>(*words >> 8);
  }
  record.used += size;
  return static_cast<int32_t>(size);
}

[[gnu::format(printf, 1, 2)]] int fail(const char *format, ...) {
  fputs("t4dec_change_format: ", stderr);
  va_list arguments;
  va_start(arguments, format);
  vfprintf(stderr, format, arguments);
  va_end(arguments);
  return 0;
}

struct Source {
  const char *path;
  Descriptor file{};
  int64_t size = 0;
  OwnedFaxHeader header{};
  int32_t compression = 0;
  int32_t resolution = 0;
  Store page{};

  int open_file() {
    // Not to block on a FIFO, which then fails as no fax file.
    file.reset(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file) return fail("Failed to open %s to determine compression\n", path);
    size = file_size(file.get());
    header.reset(read_fax_header(file.get()));
    if (!header) return fail("Bad fax file: %s\n", path);
    compression = get_compression_mode(header.get());
    if (compression < 0) return fail("Could not determine compression: %s\n", path);
    return 1;
  }

  int find_resolution() {
    resolution = get_vertical_resolution(header.get());
    if (resolution < 0) return fail("Could not determine resolution: %s\n", path);
    if (resolution > FINE_RESOLUTION) return fail("Can't handle type \"%c\" resolution yet.\n", VRtoascii(resolution));
    return 1;
  }

  long page_count() const {
    const char *count = get_fax_header_value(header.get(), "#PAGES");
    return count ? strtol(count, nullptr, 10) : 0;
  }
};

// The new file, gone with the handle unless it has taken its place.
class Target {
 public:
  Target() = default;
  Target(const Target &) = delete;
  Target &operator=(const Target &) = delete;
  ~Target() {
    if (to_remove_) unlink(ofname);
  }

  int get() const { return file_.get(); }

  int create(const char *path) {
    const int length = snprintf(ofname, sizeof ofname, "%s.%d", path, static_cast<int>(getpid()));
    if (static_cast<size_t>(length) < sizeof ofname)
      file_.reset(open(ofname, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644));
    if (!file_) return fail("Failure opening %s.\n", path);
    to_remove_ = true;
    return 1;
  }

  int write_record(const Store &record) {
    return write_fully(file_.get(), record.bytes.get(), record.used) ? 1 : fail_writing();
  }

  // On disk before it takes the name, so that a crash leaves the old file or the new one.
  int replace(const char *path) {
    if (fsync(file_.get()) != 0 || close(file_.release()) != 0) return fail_writing();
    to_remove_ = false;
    if (!ks_move(ofname, path)) return fail("ks_move(\"%s\",\"%s\") failure.\n", ofname, path);
    std::string directory = path;
    const Descriptor parent(open(dirname(directory.data()), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (parent) fsync(parent.get());
    return 1;
  }

 private:
  static int fail_writing() { return fail("Failure writing %s: %s\n", ofname, strerror(errno)); }

  Descriptor file_;
  bool to_remove_ = false;
};

enum class Page { read, skipped, failed };

// Reads the next page record; its length word is not believed beyond the end of the file.
Page read_page(Source &source) {
  uint32_t length = 0;
  if (readLongFlipped(source.file.get(), &length) < static_cast<ssize_t>(LENGTH_WORD)) {
    fail("Short read on data length:  %s\n", source.path);
    return Page::failed;
  }
  const int64_t left = source.size - lseek(source.file.get(), 0, SEEK_CUR);
  const bool truncated = length > left;
  Store &page = source.page;
  if (!truncated && page.capacity < length + FILL && !page.grow_to(length + FILL)) {
    if (page.capacity == 0) {
      fail("Memory allocation fail.\n");
      return Page::failed;
    }
    fail("Couldn't realloc from %d to %d.  Going to next page\n", static_cast<int>(page.capacity - FILL),
         static_cast<int>(length));
    return lseek(source.file.get(), length, SEEK_CUR) < 0 ? Page::failed : Page::skipped;
  }
  const ssize_t got = truncated ? static_cast<ssize_t>(left) : read_fully(source.file.get(), page.bytes.get(), length);
  if (got != static_cast<ssize_t>(length)) {
    fail("data_len=%d, read_len=%d\n", static_cast<int>(length), static_cast<int>(got));
    fail("Failure reading data from %s.\n", source.path);
    return Page::failed;
  }
  page.bytes.get()[length] = 0;
  page.used = length;
  return Page::read;
}

int decode_page(const Source &source) {
  const Store &page = source.page;
  // MR leaves the runs whose codes end in its last byte undone, so that has to be a byte of fill.
  const size_t length = page.used + (source.compression == COMP_MR && page.used > 0 ? FILL : 0);
  Oconv_st.lines.used = 0;
  if (!t4dec(page.bytes.get(), static_cast<uint32_t>(length), source.compression, nullptr, fp_found_line, nullptr))
    return 0;
  // The line after the last EOL of MH is still with the decoder; a page that delivered nothing has no EOL at all.
  if (source.compression == COMP_MH && Oconv_st.lines.used > 0) putrunlen(0, DEC_EOL, nullptr, fp_found_line, nullptr);
  return 1;
}

// Codes the lines in hand into a page record. The encoder ends with the negative result of `fp_getdataf`.
int encode_record(int32_t compression, int32_t resolution) {
  Store &record = Oconv_st.record;
  if (record.capacity == 0 && !record.grow_to(MORE_CODE)) return fail("Memory allocation fail.\n");
  record.used = LENGTH_WORD;
  if (encode_g3_fax(fp_getdataf, fp_putdataf, compression, resolution) > 0 || Oconv_st.code_lost)
    return fail("Memory allocation fail.\n");
  const size_t length = record.used - LENGTH_WORD;
  put_word(record.bytes.get(), static_cast<uint32_t>(length));
  return 1;
}

int convert(const char *path, int32_t compression, void (*page_callback)()) {
  Source source{path};
  if (!source.open_file()) return 0;
  if (source.compression == compression) return 1;
  if (!source.find_resolution()) return 0;
  t4dec_set_pixel_width(LINE_PIXELS);
  Target target;
  if (!target.create(path)) return 0;
  if (set_compression_mode(source.header.get(), compression) != 1) return 0;
  if (write_fax_header(target.get(), source.header.get()) != 1) return 0;
  for (long pages = source.page_count(); pages > 0; --pages) {
    const Page page = read_page(source);
    if (page == Page::failed) return 0;
    if (page == Page::skipped) continue;
    if (page_callback) page_callback();
    if (!decode_page(source) || !encode_record(compression, source.resolution)) return 0;
    if (!target.write_record(Oconv_st.record)) return 0;
  }
  return target.replace(path);
}

}  // namespace

int t4dec_change_format(const char *path, int32_t compression, int32_t, void (*page_callback)()) {
  if (compression != COMP_MH && compression != COMP_MR && compression != COMP_MMR)
    return fail("Unsupported compression: %d.\n", compression);
  const int result = convert(path, compression, page_callback);
  Oconv_st = {};
  return result;
}

}  // namespace tolvane
