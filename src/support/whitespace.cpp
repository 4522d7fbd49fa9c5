// The ends of texts. What is inside a text stays. White space is that of the C locale on purpose: headers and
// path lists must not change their meaning with the user's language.
#include "support/whitespace.h"

#include <string.h>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|whitespace|9|01|2|0|0|11/23/26|06:28:53";

const char *const WHITESPACE = " \t\n\v\f\r";
const char *const ENCLOSING = " \t\n\v\f\r\"";

void cut_after(char *text, const char *dropped) {
  size_t length = strlen(text);
  while (length > 0 && strchr(dropped, text[length - 1])) --length;
  text[length] = '\0';
}
}  // namespace

int is_whitespace(char ch) {
  return ch != '\0' && strchr(WHITESPACE, ch);
}

char *rm_leading_whitespace(char *text) {
  return text + strspn(text, WHITESPACE);
}

void rm_trailing_whitespace(char *text) {
  cut_after(text, WHITESPACE);
}

char *strip_enclosing_whitespace(char *text) {
  cut_after(text, ENCLOSING);
  return text + strspn(text, ENCLOSING);
}

}  // namespace tolvane
