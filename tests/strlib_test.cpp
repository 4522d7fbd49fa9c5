#include "support/strlib.h"

#include <errno.h>
#include <gmock/gmock.h>

#include "support/handle.h"
#include "support/whitespace.h"

using namespace tolvane;

TEST(Strlib, SplitGivesTrimmedPiecesInOneBlock) {
  const struct {
    const char *text;
    char separator;
    std::vector<std::string> pieces;
  } cases[] = {{"", '/', {""}},
               {"/a/b", '/', {"", "a", "b"}},
               {" one , two\t,\n,", ',', {"one", "two", "", ""}},
               {"no separator ", ':', {"no separator"}}};
  for (const auto &each : cases) {
    char **list = nullptr;
    const int count = split(each.text, each.separator, &list);
    const Block<char *> block(list);
    EXPECT_EQ(split(each.text, each.separator, nullptr), count);
    EXPECT_EQ(std::vector<std::string>(list, list + count), each.pieces);
    EXPECT_EQ(list[count], nullptr);
  }
  errno = 0;
  EXPECT_EQ(split(nullptr, '/', nullptr), -1);
  EXPECT_EQ(errno, EINVAL);
}

TEST(Strlib, CopyCutsBetweenCharacters) {
  const struct {
    const char *from;
    size_t size;
    const char *kept;
    int fits;
  } cases[] = {{"abc", 4, "abc", 1},
               {"abc", 3, "ab", 0},
               {"a\u00e9", 3, "a", 0},
               {"a\u00e9", 4, "a\u00e9", 1},
               {"abc", 1, "", 0},
               {"\U0001d11e", 4, "", 0},
               {"\u20ac\u20ac", 6, "\u20ac", 0},
               {"a\x81\x82\x83\x84\x85", 6, "a\x81\x82\x83\x84", 0}};  // the last is not UTF-8: cut anywhere
  for (const auto &each : cases) {
    std::string to(16, '#');
    EXPECT_EQ(copy_text(to.data(), each.size, each.from), each.fits) << each.from;
    EXPECT_STREQ(to.data(), each.kept);
    EXPECT_EQ(to[each.size], '#') << "wrote past its buffer";
  }
}

TEST(Whitespace, EndsAreTakenOff) {
  const struct {
    const char *text, *leading, *trailing, *enclosing;
  } cases[] = {{" \t\n\v\f\r", "", "", ""},
               {" a b ", "a b ", " a b", "a b"},
               {"\" \"x\" y\"\n", "\" \"x\" y\"\n", "\" \"x\" y\"", "x\" y"},
               {"\xA0x\xA0", "\xA0x\xA0", "\xA0x\xA0", "\xA0x\xA0"}};
  for (const auto &each : cases) {
    std::string text = each.text;
    EXPECT_STREQ(rm_leading_whitespace(text.data()), each.leading);
    EXPECT_STREQ(strip_enclosing_whitespace(std::string(each.text).data()), each.enclosing);
    rm_trailing_whitespace(text.data());
    EXPECT_STREQ(text.c_str(), each.trailing);
  }
}
