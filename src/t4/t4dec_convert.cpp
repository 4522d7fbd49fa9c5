// Whole-file conversion, page by page. What a newcomer gets wrong: #PAGES says how many records are converted, not the
// size of the file.
#include "t4/t4dec_convert.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <span>

#include "faxfile/fax_header.h"
#include "faxfile/fax_lock.h"
#include "faxfile/session_params.h"
#include "faxfile/usorbport.h"
#include "support/file.h"
#include "support/handle.h"
#include "support/replace_file.h"
#include "support/store.h"
#include "t4/damage.h"
#include "t4/line.h"
#include "t4/page_converter.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|t4dec_convert|9|01|5|0|0|11/23/26|12:13:55";

constexpr size_t LENGTH_WORD = 4;
constexpr int32_t FINE_RESOLUTION = 1;

char ofname[4096];  // the temporary file, at most one in the process

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
    // Not to block on a FIFO, which then fails as no fax file. What the page callback reads is not this file.
    file = above_standard_streams(Descriptor(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)));
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
  int get() const { return file_.fd(); }

  int create(const char *path) {
    const int length = snprintf(ofname, sizeof ofname, "%s.%d", path, static_cast<int>(getpid()));
    ReplacementOptions options;
    options.working_name = ofname;
    if (static_cast<size_t>(length) >= sizeof ofname || !file_.begin(path, options))
      return fail("Failure opening %s.\n", path);
    return 1;
  }

  // The code goes to the file as one block, its length word before it: a write for each batch of code took a third of
  // the whole run.
  int write_record(std::span<const uint8_t> record) {
    return write_fully(file_.fd(), record.data(), record.size()) ? 1 : fail_writing();
  }

  int replace(const char *path) {
    if (fsync(file_.fd()) != 0) return fail_writing();
    if (file_.commit()) return 1;
    file_.leave();
    return fail("ks_move(\"%s\",\"%s\") failure.\n", ofname, path);
  }

 private:
  static int fail_writing() { return fail("Failure writing %s: %s\n", ofname, strerror(errno)); }

  Replacement file_;
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
  if (!truncated && page.capacity < length && !page.grow_to(length)) {
    if (page.capacity == 0) {
      fail("Memory allocation fail.\n");
      return Page::failed;
    }
    fail("Couldn't realloc from %d to %d.  Going to next page\n", static_cast<int>(page.capacity),
         static_cast<int>(length));
    return lseek(source.file.get(), length, SEEK_CUR) < 0 ? Page::failed : Page::skipped;
  }
  const ssize_t got = truncated ? static_cast<ssize_t>(left) : read_fully(source.file.get(), page.bytes.get(), length);
  if (got != static_cast<ssize_t>(length)) {
    fail("data_len=%d, read_len=%d\n", static_cast<int>(length), static_cast<int>(got));
    fail("Failure reading data from %s.\n", source.path);
    return Page::failed;
  }
  page.used = length;
  return Page::read;
}

int convert_page(PageConverter &converter, const Source &source, int32_t compression) {
  DamageSink damage;
  if (damage_callback()) damage.found_damage = [](void *, Damage kind) { damage_callback()(kind); };
  const std::span<const uint8_t> page(source.page.bytes.get(), source.page.used);
  const ConvertResult result = converter.convert(page, source.compression, compression, source.resolution, damage);
  if (result == ConvertResult::no_memory) return fail("Memory allocation fail.\n");
  return result == ConvertResult::done ? 1 : 0;
}

int convert(const char *path, int32_t compression, void (*page_callback)()) {
  Descriptor locked;  // what can't be written can still be replaced
  FaxEditLock lock;
  locked.reset(open_locked(path, lock));
  if (!locked && errno == EBUSY) return fail("%s is locked for reading by another program.\n", path);
  Source source{path};
  if (!source.open_file()) return 0;
  if (source.compression == compression) return 1;
  if (!source.find_resolution()) return 0;
  t4dec_set_pixel_width(LINE_PIXELS);
  PageConverter converter;
  Target target;
  if (!target.create(path)) return 0;
  if (set_compression_mode(source.header.get(), compression) != 1) return 0;
  if (write_fax_header(target.get(), source.header.get()) != 1) return 0;
  for (long pages = source.page_count(); pages > 0; --pages) {
    const Page page = read_page(source);
    if (page == Page::failed) return 0;
    if (page == Page::skipped) continue;
    if (page_callback) page_callback();
    if (!convert_page(converter, source, compression)) return 0;
    if (!target.write_record(converter.record())) return 0;
  }
  return target.replace(path);
}

}  // namespace

int t4dec_change_format(const char *path, int32_t compression, int32_t, void (*page_callback)()) {
  if (compression != COMP_MH && compression != COMP_MR && compression != COMP_MMR)
    return fail("Unsupported compression: %d.\n", compression);
  return convert(path, compression, page_callback);
}

}  // namespace tolvane
