// Operations on any text; those on paths and white space have modules of their own. `split` gives one block, list and
// pieces together, so a piece must not be freed by itself.
#include "support/strlib.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "support/whitespace.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|strlib|9|01|2|0|0|11/23/26|06:28:53";

// Where the UTF-8 character that holds byte `at` begins; `at` itself in a text that is not UTF-8.
size_t character_start(const char *text, size_t at) {
  constexpr size_t LONGEST_TAIL = 3;
  for (size_t back = 0; back <= std::min(at, LONGEST_TAIL); ++back)
    if ((static_cast<unsigned char>(text[at - back]) & 0xC0) != 0x80) return at - back;
  return at;
}
}  // namespace

int split(const char *text, char separator, char ***pieces) {
  if (!text) {
    errno = EINVAL;
    return -1;
  }
  const size_t length = strlen(text);
  const size_t count = static_cast<size_t>(std::count(text, text + length, separator)) + 1;
  if (!pieces) return static_cast<int>(count);

  const size_t list_size = (count + 1) * sizeof(char *);
  char **list = static_cast<char **>(malloc(list_size + length + 1));
  if (!list) return -1;
  char *piece = reinterpret_cast<char *>(list) + list_size;
  memcpy(piece, text, length + 1);
  char *const end = piece + length;

  for (size_t i = 0; i < count; ++i) {
    char *const stop = std::find(piece, end, separator);
    *stop = '\0';
    list[i] = rm_leading_whitespace(piece);
    rm_trailing_whitespace(list[i]);
    piece = stop + 1;
  }
  list[count] = nullptr;
  *pieces = list;
  return static_cast<int>(count);
}

void convert_char(char *text, char old_char, char new_char) {
  if (text) std::replace(text, text + strlen(text), old_char, new_char);
}

int copy_text(char *to, size_t size, const char *from) {
  if (size == 0) return 0;
  size_t length = strnlen(from, size);
  const bool fits = length < size;
  if (!fits) length = character_start(from, size - 1);
  memmove(to, from, length);
  to[length] = '\0';
  return fits;
}

}  // namespace tolvane
