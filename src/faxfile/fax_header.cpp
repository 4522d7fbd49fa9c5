// The header of a fax file as a list of attributes, and the two attributes that decoding needs. Changing one line of a
// file in place is sorbfile's. The list has no object of its own: it is its first record, so nothing here can add to an
// empty one.
#include "faxfile/fax_header.h"

#include <ctype.h>
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "faxfile/session_params.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "support/trace.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|fax_header|9|01|1|0|0|11/22/26|21:25:00";

// Tells a failure on standard error, then on standard output. A text too long for the buffer is cut between
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
Block<char> read_header_text(int32_t fd) {
  if (lseek(fd, 0, SEEK_SET) < 0) {
    report("read_fax_header: Can't rewind file: %s\n", strerror(errno));
    return nullptr;
  }
  uint32_t magic = 0, length = 0;
  const ssize_t magic_bytes = readLongFlipped(fd, &magic);
  const ssize_t length_bytes = magic_bytes == 4 ? readLongFlipped(fd, &length) : magic_bytes;
  if (length_bytes < 0) {
    report("read_fax_header: Bad fax file: %s\n", strerror(errno));
    return nullptr;
  }

  const char *fault = nullptr;
  if (length_bytes < 4)
    fault = "Too Small";
  else if (magic != FAXFILE_MAGIC)
    fault = "Bad Magic Number";
  else if (length == 0)
    fault = "Bad Header length";
  else if (length > file_size(fd) - FAXFILE_PREAMBLE)
    fault = "Corrupted header";
  if (fault) {
    report("read_fax_header: Bad fax file: %s\n", fault);
    return nullptr;
  }

  Block<char> text(static_cast<char *>(malloc(length)));
  if (!text) {
    report("read_fax_header: Out of memory\n");
    return nullptr;
  }
  if (_pread(fd, text.get(), length) != static_cast<ssize_t>(length) || text.get()[length - 1] != FAXFILE_TERMINATOR) {
    report("read_fax_header: Bad fax file: Corrupted header\n");
    return nullptr;
  }
  text.get()[length - 1] = '\0';
  return text;
}

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
  const Block<char> text = read_header_text(fd);
  if (!text) return nullptr;

  char empty[] = "";
  FaxHeader head = {empty, empty, nullptr};
  char *rest = nullptr;
  for (char *line = strtok_r(text.get(), "\n", &rest); line; line = strtok_r(nullptr, "\n", &rest)) {
    if (set_fax_header_string(&head, line) == 1) continue;
    report("read_fax_header: set_fax_header_string failure\n");
    free_fax_header(head.next);
    return nullptr;
  }
  if (!head.next) report("read_fax_header: Empty Header - probably corrupted\n");
  return head.next;
}

int write_fax_header(int32_t fd, const FaxHeader *list) {
  if (lseek(fd, 0, SEEK_SET) < 0) {
    report("write_fax_header: Can't rewind file: %s\n", strerror(errno));
    return -1;
  }
  size_t length = 1;
  for (const FaxHeader *record = list; record; record = record->next)
    length += strlen(record->attr) + strlen(record->value) + 2;

  const size_t size = FAXFILE_PREAMBLE + length;
  const Block<char> block(static_cast<char *>(malloc(size + 1)));  // snprintf closes the last line with a zero
  if (!block) {
    report("write_fax_header: Out of memory\n");
    return -1;
  }
  char *end = block.get();
  for (const uint32_t word : {FAXFILE_MAGIC, static_cast<uint32_t>(length)})
    for (const int shift : {24, 16, 8, 0}) *end++ = static_cast<char>(word >> shift);
  for (const FaxHeader *record = list; record; record = record->next) {
    const auto room = static_cast<size_t>(block.get() + size + 1 - end);
    const int line = snprintf(end, room, "%s:%s\n", record->attr, record->value);
    trprintf("writing '%s' to header\n", end);
    end += line;
  }
  *end = static_cast<char>(FAXFILE_TERMINATOR);

  if (_pwrite(fd, block.get(), size) == static_cast<ssize_t>(size)) return 1;
  report("write_fax_header: Can't create fax file header: %s\n", strerror(errno));
  return -1;
}

const char *get_fax_header_value(const FaxHeader *list, const char *attr) {
  if (!*attr) return nullptr;
  while (list && strcmp(list->attr, attr) != 0) list = list->next;
  return list ? list->value : nullptr;
}

int set_fax_header_string(FaxHeader *list, const char *text) {
  const char *colon = strchr(text, ':');
  if (!colon) {
    report("set_fax_header_var: Bad attr-value pair: [%s]\n", text);
    return -1;
  }
  const Block<char> attr(strndup(text, static_cast<size_t>(colon - text)));
  if (!attr) {
    report("set_fax_header_var: Out of memory\n");
    return -1;
  }
  return set_fax_header_av(list, attr.get(), colon + 1);
}

int set_fax_header_av(FaxHeader *list, const char *attr, const char *value) {
  FaxHeader *last = list;
  FaxHeader *match = nullptr;
  for (FaxHeader *record = list; record && !match; record = record->next) {
    if (*attr && strcmp(record->attr, attr) == 0) match = record;  // the head that a read starts with has an empty name
    last = record;
  }
  if (match) {
    if (char *copy = strdup(value ? value : "")) {
      free(match->value);
      match->value = copy;
      return 1;
    }
  } else if (last) {
    last->next = new_fax_header(attr, value);
    if (last->next) return 1;
  }
  report("set_fax_header_av: Out of memory\n");
  return -1;
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
