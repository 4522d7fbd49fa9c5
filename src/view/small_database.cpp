// The quick reader: reads what the slider and the labels need from a header, before the file is checked. The header
// list with error messages is in faxfile/fax_header. The two readers accept different faults on purpose: here the first
// line of a name counts, a name may contain a line end, and one fault loses all keywords.
#include "view/small_database.h"

#include <fcntl.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

#include "faxfile/header_text.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "view/view_state.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|small_database|9|01|2|0|0|11/23/26|06:29:09";

constexpr int32_t MAX_COUPLES = 100;  // a header that fills the table counts as too long
constexpr char TERMINATOR = FAXFILE_TERMINATOR;

struct Couple {
  const char *name;
  const char *value;
};

HeaderText header;
Couple couples[MAX_COUPLES];  // into `header`, in file order
int32_t n_couples;

// The first `stop` at or after `at`, or null if the terminator or the end of the text comes first.
char *find_before_terminator(char *at, char *end, char stop) {
  for (; at < end && *at != TERMINATOR; at++) {
    if (*at == stop) return at;
  }
  return nullptr;
}

// Splits the text into couples. Returns their number, 0 if they are lost.
int32_t cut_header(char *text, char *end) {
  int32_t k = 0;
  for (char *at = text; at < end;) {
    if (*at == TERMINATOR) return k;
    if (*at == '\0') {
      at++;
      continue;
    }
    // The first byte of a name is not examined: a name may start with a colon or a line feed.
    char *const colon = find_before_terminator(at + 1, end, ':');
    char *const line_feed = colon ? find_before_terminator(colon + 1, end, '\n') : nullptr;
    if (!line_feed) return 0;
    *colon = *line_feed = '\0';
    couples[k++] = {at, colon + 1};
    if (k == MAX_COUPLES) return 0;
    at = line_feed + 1;
  }
  return 0;
}

// A count is cut to 15 characters, which is enough for any real one.
int32_t page_count(const char *value) {
  char digits[16];
  snprintf(digits, sizeof digits, "%s", value);
  return decimal_value(digits);
}

}  // namespace

char Resolution[RESOLUTION_SIZE];

int32_t decimal_value(const char *text) {
  const long value = strtol(text, nullptr, 10);
  using limits = std::numeric_limits<int32_t>;
  return static_cast<int32_t>(std::clamp<long>(value, limits::min(), limits::max()));
}

uint32_t read_header(const char *name) {
  n_couples = 0;
  const Descriptor t4_fd(open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC));  // a FIFO must not hold the window
  if (!t4_fd) return 0;
  if (read_header_text(t4_fd.get(), QUICK_HEADER, header) != HeaderFault::none || header.size == 0) return 0;
  n_couples = cut_header(header.bytes.get(), header.bytes.get() + header.size);
  return header.length;
}

const char *find_keyword(const char *name) {
  for (int32_t i = 0; i < n_couples; i++) {
    if (strcmp(couples[i].name, name) == 0) return couples[i].value;
  }
  return "";
}

uint32_t tn_extract_header_info(const char *name) {
  const uint32_t length = read_header(name);
  snprintf(Resolution, sizeof Resolution, "%s", find_keyword("RESOLUTION"));
  const char *pages = find_keyword("#PAGES");
  if (*pages == '\0') pages = find_keyword("PAGES");
  const int64_t total = int64_t{page_count(pages)} + page_count(find_keyword("INCLUDE_PAGES"));
  using limits = std::numeric_limits<int32_t>;
  Total_pages = static_cast<int32_t>(std::clamp<int64_t>(total, limits::min(), limits::max()));
  finished_with_header();
  return length;
}

void finished_with_header() {}

void free_header() {
  n_couples = 0;
  header = {};
}

}  // namespace tolvane
