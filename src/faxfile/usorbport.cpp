// What the fax file library needs of the host: words of any byte order, names by number, unique names. No operation on
// a whole fax file is here. Words in a fax file are big-endian on every host, those of a caller in host order.
#include "faxfile/usorbport.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/file.h"
#include "support/handle.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|usorbport|9|01|3|0|0|11/23/26|11:18:31";
}

// clang-format off
const char *const faxFileKeywordList[FAXFILE_KEYWORD_COUNT] = {
    "ASCII", "DATE", "#PAGES", "RESOLUTION", "KEYWORDS", "SUBJECT", "FAX_ID", "FOLDERS", "INCOMING", "INCLUDE_PAGES",
    "INCLUDE", "SENDER_NAME", "SENDER_FAX#", "SENDER_SECONDARY_FAX#", "SENDER_VOICE#", "SENDER_ORGANIZATION",
    "SENDER_DEPARTMENT", "SENDER_EMAIL_ADDRESS", "SENDER_MAILSTOP", "SENDER_SUITE", "SENDER_EQUIPMENT",
    "SENDER_ADDRESS", "SENDER_ADDRESS2", "SENDER_CITY", "SENDER_STATE", "SENDER_COUNTRY", "SENDER_ZIPCODE",
    "RECEIVER_NAME", "RECEIVER_FAX#", "RECEIVER_SECONDARY_FAX#", "RECEIVER_VOICE#", "RECEIVER_ORGANIZATION",
    "RECEIVER_DEPARTMENT", "RECEIVER_EMAIL_ADDRESS", "RECEIVER_MAILSTOP", "RECEIVER_SUITE", "RECEIVER_ADDRESS",
    "RECEIVER_ADDRESS2", "RECEIVER_CITY", "RECEIVER_STATE", "RECEIVER_COUNTRY", "RECEIVER_ZIPCODE", "COMPRESSION",
    "SERVER_COVER", "SALUTATION"};
// clang-format on

uint32_t get_word(const void *bytes) {
  uint32_t word = 0;
  for (size_t i = 0; i < FAXFILE_WORD; ++i) word = word << 8 | static_cast<const uint8_t *>(bytes)[i];
  return word;
}

void put_word(void *bytes, uint32_t word) {
  for (size_t i = FAXFILE_WORD; i-- > 0; word >>= 8) static_cast<uint8_t *>(bytes)[i] = static_cast<uint8_t>(word);
}

ssize_t writeLongFlipped(int32_t fd, const uint32_t *value) {
  uint8_t bytes[FAXFILE_WORD];
  put_word(bytes, *value);
  return _pwrite(fd, bytes, sizeof bytes);
}

ssize_t readLongFlipped(int32_t fd, uint32_t *value) {
  uint8_t bytes[FAXFILE_WORD];
  const ssize_t got = _pread(fd, bytes, sizeof bytes);
  if (got == sizeof bytes) *value = get_word(bytes);
  return got;
}

int16_t _pgetstring(int16_t keyword, char *buffer, int16_t limit) {
  if (keyword < 0 || keyword >= FAXFILE_KEYWORD_COUNT) return 0;
  const char *name = faxFileKeywordList[keyword];
  const auto length = static_cast<int16_t>(strlen(name));
  if (length > limit) return 0;
  strcpy(buffer, name);
  return length;
}

void getUniqueFileName(char *path) {
  char directory[PATH_LIMIT];
  extractpath(directory, path);
  *path = '\0';
  if (!*directory) return;

  const char *separator = strcmp(directory, "/") == 0 ? "" : "/";
  char name[PATH_LIMIT];
  const int length = snprintf(name, sizeof name, "%s%sKMWXXXXXX", directory, separator);
  if (length < 0 || static_cast<size_t>(length) >= sizeof name) {
    errno = ENAMETOOLONG;
    return;
  }
  const Descriptor made(mkostemp(name, O_CLOEXEC));
  if (made) strcpy(path, name);
}

char *extractpath(char *directory, char *path) {
  *directory = '\0';
  char *cut = strrchr(path, '/');
  if (!cut) {
    if (!getcwd(directory, PATH_LIMIT)) *directory = '\0';
    return directory;
  }
  if (static_cast<size_t>(cut - path) >= PATH_LIMIT) return directory;
  *cut = '\0';
  return strcpy(directory, cut == path ? "/" : path);
}

int64_t file_size(int32_t fd) {
  struct stat status;
  return fstat(fd, &status) == 0 ? status.st_size : -1;
}

ssize_t _pread(int32_t fd, void *buffer, size_t count) {
  return read_fully(fd, buffer, count);
}

ssize_t _pwrite(int32_t fd, const void *buffer, size_t count) {
  return write_fully(fd, buffer, count) ? static_cast<ssize_t>(count) : -1;
}

void *_pcalloc(size_t count, int16_t size) {
  return size < 0 ? nullptr : calloc(count, static_cast<size_t>(size));
}

void _pfree(void *block) {
  free(block);
}

}  // namespace tolvane
