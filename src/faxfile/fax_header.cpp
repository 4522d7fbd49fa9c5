// The header of a fax file as a list of attributes, and the two attributes that decoding needs. One line of a file
// is changed in sorbfile. The list has no object of its own: it is its first record, so nothing here can add to an
// empty one.
#include "faxfile/fax_header.h"

#include <ctype.h>
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <bit>

#include "faxfile/header_text.h"
#include "faxfile/session_params.h"
#include "support/handle.h"
#include "support/trace.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|fax_header|9|01|3|0|0|11/23/26|14:40:40";

// Reports a failure on standard error, then on standard output. A text too long for the buffer is cut between
// characters and keeps its line feed.
[[gnu::format(printf, 1, 2)]] void report(const char *format, ...) {
  char text[256];
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (length >= static_cast<int>(sizeof text)) {
    size_t end = sizeof text - 2;
    while ((text[end] & 0xC0) == 0x80) --end;
    strcpy(text + end, "\n");
  }
  fputs(text, stderr);
  fputs(text, stdout);
}

// The header text of a file, closed with a zero in place of its terminator; null with a message on failure.
Block<char> read_text(int32_t fd) {
  HeaderText text;
  switch (read_header_text(fd, WHOLE_HEADER, text)) {
    case HeaderFault::none:
      text.bytes.get()[text.size - 1] = '\0';
      return Block<char>(text.bytes.release());
    case HeaderFault::not_seekable:
      report("read_fax_header: Can't rewind file: %s\n", strerror(errno));
      break;
    case HeaderFault::unreadable:
      report("read_fax_header: Bad fax file: %s\n", strerror(errno));
      break;
    case HeaderFault::too_small:
      report("read_fax_header: Bad fax file: Too Small\n");
      break;
    case HeaderFault::bad_magic:
      report("read_fax_header: Bad fax file: Bad Magic Number\n");
      break;
    case HeaderFault::no_length:
      report("read_fax_header: Bad fax file: Bad Header length\n");
      break;
    case HeaderFault::no_memory:
      report("read_fax_header: Out of memory\n");
      break;
    default:
      report("read_fax_header: Bad fax file: Corrupted header\n");
  }
  return nullptr;
}

// Cuts `attribute:value` at its first colon and gives the value; null with a message if there is no colon.
const char *cut_at_colon(char *text) {
  char *colon = strchr(text, ':');
  if (!colon) {
    report("set_fax_header_var: Bad attr-value pair: [%s]\n", text);
    return nullptr;
  }
  *colon = '\0';
  return colon + 1;
}

// Gives a record its value, or makes one if `known` is null; null with a message on failure, `known` as it was.
FaxHeader *set_record(FaxHeader *known, const char *attr, const char *value) {
  if (!known) {
    if (FaxHeader *record = new_fax_header(attr, value)) return record;
  } else if (char *copy = strdup(value ? value : "")) {
    free(known->value);
    known->value = copy;
    return known;
  }
  report("set_fax_header_av: Out of memory\n");
  return nullptr;
}

bool is_named(const FaxHeader *record, const char *attr) {
  return attr && strcmp(record->attr, attr) == 0;
}

// A polynomial in a number that nobody knows who makes the names: those of a file cannot be made to meet in one place.
size_t hash_of(const char *name) {
  constexpr uint64_t PRIME = 0x7FFFFFFF;
  static const uint64_t unknown = [] {
    uint32_t random = 0x2545F491;
    [[maybe_unused]] const int filled = getentropy(&random, sizeof random);
    return random % (PRIME - 256) + 256;
  }();
  uint64_t value = 1;
  for (; *name; ++name) value = (value * unknown + static_cast<unsigned char>(*name)) % PRIME;
  return value;
}

// The records of a list by name, so that reading a header takes time linear in its size: a hash table with open
// addressing, at most half full.
class NameIndex {
 public:
  // Makes room for the names of a header text; false without memory.
  bool make_room(const char *text) {
    size_t lines = 0;
    for (; *text; text += strcspn(text, "\n")) {
      text += strspn(text, "\n");
      if (*text) ++lines;
    }
    size_ = std::bit_ceil(2 * lines + 1);
    slots_.reset(static_cast<FaxHeader **>(calloc(size_, sizeof(FaxHeader *))));
    return !!slots_;
  }

  // The place of a name: its record, or null for the caller to fill.
  FaxHeader **find(const char *name) {
    size_t slot = hash_of(name) & (size_ - 1);
    while (slots_.get()[slot] && !is_named(slots_.get()[slot], name)) slot = (slot + 1) & (size_ - 1);
    return slots_.get() + slot;
  }

 private:
  Block<FaxHeader *> slots_;
  size_t size_ = 0;
};

// The first character of an attribute's value that is not white space, 0 if there is none; -1 without a value.
int32_t code_character(const FaxHeader *list, const char *attr) {
  const char *value = get_fax_header_value(list, attr);
  if (!value || !*value) return -1;
  while (isspace(static_cast<unsigned char>(*value))) ++value;
  return static_cast<unsigned char>(*value);
}

int set_code_character(FaxHeader *list, const char *attr, int32_t character) {
  const char value[] = {static_cast<char>(character), '\0'};
  return set_fax_header_av(list, attr, value);
}
}  // namespace

FaxHeader *new_fax_header(const char *attr, const char *value) {
  if (!attr || !*attr) {
    report("new_fax_header: Ignoring null attr\n");
    return nullptr;
  }
  Block<FaxHeader> record(static_cast<FaxHeader *>(malloc(sizeof(FaxHeader))));
  Block<char> name(strdup(attr));
  Block<char> text(strdup(value ? value : ""));
  if (!record || !name || !text) {
    report("new_fax_header: Out of memory\n");
    return nullptr;
  }
  *record = {name.release(), text.release(), nullptr};
  return record.release();
}

int free_fax_header(FaxHeader *list) {
  while (list) {
    FaxHeader *next = list->next;
    free(list->attr);
    free(list->value);
    free(list);
    list = next;
  }
  return 1;
}

FaxHeader *read_fax_header(int32_t fd) {
  const Block<char> text = read_text(fd);
  if (!text) return nullptr;
  NameIndex index;
  if (!index.make_room(text.get())) {
    report("read_fax_header: Out of memory\n");
    return nullptr;
  }

  OwnedFaxHeader list;
  FaxHeader *last = nullptr;
  char *rest = nullptr;
  for (char *line = strtok_r(text.get(), "\n", &rest); line; line = strtok_r(nullptr, "\n", &rest)) {
    const char *value = cut_at_colon(line);
    FaxHeader **place = value ? index.find(line) : nullptr;
    FaxHeader *const known = place ? *place : nullptr;
    FaxHeader *record = place ? set_record(known, line, value) : nullptr;
    if (!record) {
      report("read_fax_header: set_fax_header_string failure\n");
      return nullptr;
    }
    if (known) continue;
    *place = record;
    if (last)
      last->next = record;
    else
      list.reset(record);
    last = record;
  }
  if (!list) report("read_fax_header: Empty Header - probably corrupted\n");
  return list.release();
}

int write_fax_header(int32_t fd, const FaxHeader *list) {
  if (lseek(fd, 0, SEEK_SET) < 0) {
    report("write_fax_header: Can't rewind file: %s\n", strerror(errno));
    return -1;
  }
  size_t size = 0;
  for (const FaxHeader *record = list; record; record = record->next)
    size += header_line_size(record->attr, record->value);
  const Block<char> lines(static_cast<char *>(malloc(size + 1)));  // a zero closes the line for the trace
  if (!lines) {
    report("write_fax_header: Out of memory\n");
    return -1;
  }
  char *end = lines.get();
  for (const FaxHeader *record = list; record; record = record->next) {
    char *const line = end;
    end = put_header_line(line, record->attr, record->value, LineFeeds::kept);
    *end = '\0';
    trprintf("writing '%s' to header\n", line);
  }
  if (write_header_text(fd, {lines.get(), size})) return 1;
  report("write_fax_header: Can't create fax file header: %s\n", strerror(errno));
  return -1;
}

const char *get_fax_header_value(const FaxHeader *list, const char *attr) {
  if (!attr) return nullptr;
  while (list && strcmp(list->attr, attr) != 0) list = list->next;
  return list ? list->value : nullptr;
}

int set_fax_header_string(FaxHeader *list, const char *text) {
  const Block<char> copy(strdup(text ? text : ""));
  if (!copy) {
    report("set_fax_header_var: Out of memory\n");
    return -1;
  }
  const char *value = cut_at_colon(copy.get());
  return value ? set_fax_header_av(list, copy.get(), value) : -1;
}

int set_fax_header_av(FaxHeader *list, const char *attr, const char *value) {
  FaxHeader *last = list;
  while (last && last->next && !is_named(last, attr)) last = last->next;
  if (!last) {
    report("set_fax_header_av: Out of memory\n");
    return -1;
  }
  const bool found = is_named(last, attr);
  FaxHeader *record = set_record(found ? last : nullptr, attr, value);
  if (!record) return -1;
  if (!found) last->next = record;
  return 1;
}

int32_t get_vertical_resolution(const FaxHeader *list) {
  const int32_t character = code_character(list, "RESOLUTION");
  if (character < 0) {
    printf("WARNING: No %s value in header\n", "RESOLUTION");
    return -1;
  }
  const int32_t code = asciitoVR(character);
  if (code < 0) printf("WARNING: Invalid %s value in header: [%c]\n", "RESOLUTION", character);
  return code;
}

int set_vertical_resolution(FaxHeader *list, int32_t code) {
  const int32_t character = VRtoascii(code);
  if (character == 0) {
    printf("set_vertical_resolution: Invalid resolution: [%d]\n", code);
    return -1;
  }
  if (set_code_character(list, "RESOLUTION", character) == 1) return 1;
  printf("set_vertical_resolution: Can't set resolution\n");
  return -1;
}

int32_t get_compression_mode(const FaxHeader *list) {
  const int32_t character = code_character(list, "COMPRESSION");
  return character < 0 ? 0 : asciitoDF(character);
}

int set_compression_mode(FaxHeader *list, int32_t code) {
  const int32_t character = DFtoascii(code);
  if (character == 0) {
    printf("set_compression_mode: invalid mode: %d\n", code);
    return -1;
  }
  if (set_code_character(list, "COMPRESSION", character) == 1) return 1;
  printf("set_compression mode: Can't set mode\n");
  return -1;
}

}  // namespace tolvane
