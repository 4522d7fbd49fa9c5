// The ground of the fax file library: result codes, the keywords by number, big-endian words, unique names.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace tolvane {

// Results of all operations named FaxFile...
constexpr int16_t FAXFILE_OK = 0;
constexpr int16_t FAXFILE_ERR_CLOSE = 2;      ///< close failed
constexpr int16_t FAXFILE_ERR_MEMORY = 4;     ///< no memory, or no free slot for a page in progress
constexpr int16_t FAXFILE_ERR_CREATE = 5;     ///< the fax file, or the spool file for its pages, can't be created
constexpr int16_t FAXFILE_ERR_READ = 6;       ///< a read failed or fell short, or there is no such page to read
constexpr int16_t FAXFILE_ERR_WRITE = 7;      ///< a write failed, or the new file could not take its place
constexpr int16_t FAXFILE_ERR_OPEN = 8;       ///< the file can't be opened for reading and writing
constexpr int16_t FAXFILE_ERR_FORMAT = 10;    ///< not a fax file, a damaged header, or no decoded stream
constexpr int16_t FAXFILE_ERR_TEMPNAME = 12;  ///< no unique name for the rewritten file
constexpr int16_t FAXFILE_ERR_ARGUMENT = 15;  ///< bad argument, no such page, an included file that is not available
constexpr int16_t FAXFILE_ERR_READONLY = 17;  ///< write to a page opened for reading
constexpr int16_t FAXFILE_ERR_NO_PAGE = 18;   ///< the document ends before that page
constexpr int16_t FAXFILE_ERR_INCLUDED = 19;  ///< an included file is missing, or has no such page
constexpr int16_t FAXFILE_ERR_CODING = 20;    ///< pages in this coding can't be decoded or encoded

constexpr uint32_t FAXFILE_MAGIC = 0xBADBAD16;  ///< first word of every fax file
constexpr uint8_t FAXFILE_TERMINATOR = 29;      ///< last byte of the header text
constexpr int64_t FAXFILE_PREAMBLE = 8;         ///< bytes of magic and header length, before the header text
constexpr size_t FAXFILE_WORD = 4;              ///< bytes of a word

constexpr int16_t FAXFILE_KEYWORD_COUNT = 45;
constexpr int16_t FAXFILE_KEYWORD_LIMIT = 40;  ///< characters that every keyword name stays within

/// The keyword names by the number that the keyword operations take.
extern const char *const faxFileKeywordList[FAXFILE_KEYWORD_COUNT];

// clang-format off
/// The numbers of the keywords, in the order of the list. Five have a value with a form, the others are free text:
/// #PAGES, a decimal count of the page records; INCLUDE_PAGES, the decimal sum of the counts of the INCLUDE lines;
/// INCLUDE, `name at count` (see FaxFileReadSpecificPage); RESOLUTION and COMPRESSION, the character of a VR or a DF code
/// (session_params.h).
enum FaxKeyword : int16_t {
  FAXFILE_ASCII, FAXFILE_DATE, FAXFILE_PAGES, FAXFILE_RESOLUTION, FAXFILE_KEYWORDS, FAXFILE_SUBJECT, FAXFILE_FAX_ID,
  FAXFILE_FOLDERS, FAXFILE_INCOMING, FAXFILE_INCLUDE_PAGES, FAXFILE_INCLUDE, FAXFILE_SENDER_NAME, FAXFILE_SENDER_FAX,
  FAXFILE_SENDER_SECONDARY_FAX, FAXFILE_SENDER_VOICE, FAXFILE_SENDER_ORGANIZATION, FAXFILE_SENDER_DEPARTMENT,
  FAXFILE_SENDER_EMAIL_ADDRESS, FAXFILE_SENDER_MAILSTOP, FAXFILE_SENDER_SUITE, FAXFILE_SENDER_EQUIPMENT,
  FAXFILE_SENDER_ADDRESS, FAXFILE_SENDER_ADDRESS2, FAXFILE_SENDER_CITY, FAXFILE_SENDER_STATE, FAXFILE_SENDER_COUNTRY,
  FAXFILE_SENDER_ZIPCODE, FAXFILE_RECEIVER_NAME, FAXFILE_RECEIVER_FAX, FAXFILE_RECEIVER_SECONDARY_FAX,
  FAXFILE_RECEIVER_VOICE, FAXFILE_RECEIVER_ORGANIZATION, FAXFILE_RECEIVER_DEPARTMENT, FAXFILE_RECEIVER_EMAIL_ADDRESS,
  FAXFILE_RECEIVER_MAILSTOP, FAXFILE_RECEIVER_SUITE, FAXFILE_RECEIVER_ADDRESS, FAXFILE_RECEIVER_ADDRESS2,
  FAXFILE_RECEIVER_CITY, FAXFILE_RECEIVER_STATE, FAXFILE_RECEIVER_COUNTRY, FAXFILE_RECEIVER_ZIPCODE,
  FAXFILE_COMPRESSION, FAXFILE_SERVER_COVER, FAXFILE_SALUTATION
};
// clang-format on
static_assert(FAXFILE_SALUTATION == FAXFILE_KEYWORD_COUNT - 1);

/// The big-endian word in the 4 bytes at `bytes`, and the other way round.
uint32_t get_word(const void *bytes);
void put_word(void *bytes, uint32_t word);

/// Writes the word at `value`, big-endian, in one write of 4 bytes.
///
/// @return 4, or -1 with errno set
ssize_t writeLongFlipped(int32_t fd, const uint32_t *value);

/// Reads a big-endian word into `value`, which stays as it is unless all 4 bytes came.
///
/// @return the bytes read, less than 4 at the end of the file, or -1 with errno set
ssize_t readLongFlipped(int32_t fd, uint32_t *value);

/// Copies the name of a keyword into `buffer`, closed with a zero.
///
/// @param limit  the most characters wanted; `buffer` has room for one more
/// @return the length of the name; 0, with nothing copied, if it is above `limit` or there is no such keyword
int16_t _pgetstring(int16_t keyword, char *buffer, int16_t limit);

/// Makes an empty file of an unpredictable name that begins with "KMW", in the directory of a path, and replaces the
/// path by its own. Only the caller's user may read and write the file.
///
/// @param path  in and out: a buffer of 4096 bytes; empty on failure, with errno EEXIST or ENAMETOOLONG if there is no
///              such name, another if the directory takes no file
void getUniqueFileName(char *path);

/// The directory part of a path: what is before its last `/`, "/" for a path directly under the root, the working
/// directory for a path without `/`.
///
/// @param directory  out: a buffer of 4096 bytes; empty if the working directory is not available or does not fit
/// @param path       in and out: cut at its last `/`; unchanged if it has none
/// @return `directory`
char *extractpath(char *directory, char *path);

/// Size of the file in bytes, or -1. The file position stays.
int64_t file_size(int32_t fd);

ssize_t _pread(int32_t fd, void *buffer, size_t count);         ///< `read`, but short only at the end of the file
ssize_t _pwrite(int32_t fd, const void *buffer, size_t count);  ///< `write`, but all or -1
void *_pcalloc(size_t count, int16_t size);                     ///< `calloc`; a negative size gives null
void _pfree(void *block);                                       ///< `free`

}  // namespace tolvane
