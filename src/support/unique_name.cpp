// File names made by rule. Files are found, copied and moved in file.cpp. Only the name is made, not the file: two
// processes that ask at the same time can get the same one.
#include "support/unique_name.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <string_view>

#include "support/file.h"
#include "support/handle.h"
#include "support/trace.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|unique_name|9|01|2|0|0|11/23/26|06:28:53";

constexpr std::string_view FILE_NAME_CHARACTERS =
    "-.0123456789ABCDEFGHIJKLMNOPRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";  // without the upper-case Q

constexpr std::array<uint8_t, 128> ok_array = [] {
  std::array<uint8_t, 128> flags{};
  for (const char ch : FILE_NAME_CHARACTERS) flags[static_cast<uint8_t>(ch)] = 1;
  return flags;
}();
static_assert(std::count(ok_array.begin(), ok_array.end(), 1) == 64);
static_assert(!ok_array['Q'] && ok_array['q']);
}  // namespace

char *posix_file_name_filter(const char *text, char *output) {
  char *out = output;
  for (; *text; ++text) {
    const auto ch = static_cast<uint8_t>(*text);
    if (ch < ok_array.size()) *out++ = ok_array[ch] ? *text : '_';
  }
  *out = '\0';
  return output;
}

namespace {
constexpr std::string_view base_26_digit = "abcdefghijklmnopqrstuvwxyz";
char ret_str[10];
}  // namespace

const char *int_to_base_26(int32_t number) {
  constexpr int LEAST_DIGITS = 3;
  char *digit = ret_str + sizeof ret_str - 1;
  *digit = '\0';
  for (int digits = 0; digits < LEAST_DIGITS || number > 0; ++digits, number /= 26)
    *--digit = base_26_digit[static_cast<size_t>(std::max(number, 0) % 26)];
  return digit;
}

namespace {
constexpr int32_t COUNTER_WRAP = 17573;  // not 17576, which is 26 to the third: the last suffix before the wrap is zzw

char last_root[16];

// The path of the counter file is at most 50 bytes long; a longer one is reported, and there is no counter.
struct CounterPath {
  char text[50];
  bool fits;
};

CounterPath counter_path() {
  CounterPath path{};
  const int length = snprintf(path.text, sizeof path.text, "%s/i_d_order", get_temp_dir());
  path.fits = length >= 0 && static_cast<size_t>(length) < sizeof path.text;
  if (!path.fits) trprintf("open(\"%s/i_d_order\") failed: %s.\n", get_temp_dir(), strerror(ENAMETOOLONG));
  return path;
}

// Takes the next number out of the counter file, which is gone then; 0 if there is none.
int32_t take_counter(const char *path) {
  struct stat status;
  if (stat(path, &status) != 0 && errno == ENOENT) return 0;
  const Descriptor file(open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC));
  if (!file) {
    trprintf("open(\"%s\") failed: %s. Setting extension back to 0.\n", path, strerror(errno));
    return 0;
  }
  char line[10] = "";
  if (read_fully(file.get(), line, sizeof line - 1) < 0) *line = '\0';
  line[strcspn(line, "\n")] = '\0';
  unlink(path);
  const int32_t counter = atoi(line);
  return counter < 0 || counter >= COUNTER_WRAP ? 0 : counter;
}

// The directory is everyone's: a link or a FIFO that someone else puts under the name is not written to.
Descriptor create_counter(const char *path) {
  Descriptor file(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
  if (!file) trprintf("open(\"%s\") failed: %s.\n", path, strerror(errno));
  return file;
}

// Month and day as ctime writes them: Nov and a blank and 8 give nov08.
void stem_of_today(char (&stem)[16]) {
  char text[26];
  const time_t now = time(nullptr);
  ctime_r(&now, text);
  const char day_tens = text[8] == ' ' ? '0' : text[8];
  snprintf(stem, sizeof stem, "%c%.2s%c%c", text[4] | 0x20, text + 5, day_tens, text[9]);
}

// Length of the part of a path before its file name.
size_t directory_length(const char *path) {
  const size_t separator = std::string_view(path).find_last_of("/\\");
  return separator == std::string_view::npos ? 0 : separator + 1;
}
}  // namespace

char *build_unique_DOS_name(char *path, const char *extension) {
  stem_of_today(last_root);
  const CounterPath counter_file = counter_path();
  int32_t counter = counter_file.fits ? take_counter(counter_file.text) : 0;
  const Descriptor file = counter_file.fits ? create_counter(counter_file.text) : Descriptor();

  char candidate[PATH_LIMIT + 1];
  const int directory = static_cast<int>(directory_length(path));
  struct stat status;
  do {
    snprintf(candidate, sizeof candidate, "%.*s%s%s%s", directory, path, last_root, int_to_base_26(counter++),
             extension ? extension : ".fax");
  } while (stat(candidate, &status) == 0);

  if (file) {
    char line[16];
    const int length = snprintf(line, sizeof line, "%d\n", counter);
    write_fully(file.get(), line, static_cast<size_t>(length));
  }
  return strcpy(path, candidate);
}

}  // namespace tolvane
