#include "support/strlib.h"

#include <errno.h>
#include <gmock/gmock.h>

#include "support/handle.h"
#include "support/whitespace.h"

using namespace tolvane;

TEST(Strlib, SplitGivesTrimmedPiecesInOneBlock) {
  using Pieces = std::vector<std::string>;
  const std::tuple<const char *, char, Pieces> cases[] = {
      {"", '/', {""}}, {"/a/b", '/', {"", "a", "b"}}, {" one , two\t,\n,", ',', {"one", "two", "", ""}}};
  for (const auto &[text, separator, pieces] : cases) {
    char **list = nullptr;
    ASSERT_EQ(split(text, separator, &list), static_cast<int>(pieces.size()));
    const Block<char *> block(list);
    EXPECT_EQ(Pieces(list, list + pieces.size()), pieces);
    EXPECT_EQ(list[pieces.size()], nullptr);
  }
  errno = 0;
  EXPECT_TRUE(split("/a/", '/', nullptr) == 3 && split(nullptr, '/', nullptr) == -1 && errno == EINVAL);
}

TEST(Strlib, CopyCutsBetweenCharacters) {
  const std::tuple<const char *, size_t, std::string> cases[] = {
      {"abc", 4, "abc"},
      {"abc", 3, "ab"},
      {"a\u00e9", 3, "a"},
      {"a\u00e9", 4, "a\u00e9"},
      {"abc", 1, ""},
      {"\U0001d11e", 4, ""},
      {"a\x81\x82\x83\x84\x85", 6, "a\x81\x82\x83\x84"}};  // not UTF-8: cut anywhere
  for (const auto &[from, size, kept] : cases) {
    std::string to(16, '#');
    EXPECT_EQ(copy_text(to.data(), size, from), kept == from) << from;
    EXPECT_EQ(to.data(), kept);
    EXPECT_EQ(to[size], '#') << "wrote past its buffer";
  }
}

TEST(Whitespace, EndsAreTakenOff) {
  const std::tuple<std::string, std::string, std::string, std::string> cases[] = {
      {" \t\n\v\f\r", "", "", ""},
      {" a b ", "a b ", " a b", "a b"},
      {"\" \"x\" y\"\n", "\" \"x\" y\"\n", "\" \"x\" y\"", "x\" y"},
      {"\xA0x\xA0", "\xA0x\xA0", "\xA0x\xA0", "\xA0x\xA0"}};
  for (auto [text, leading, trailing, enclosing] : cases) {
    EXPECT_EQ(rm_leading_whitespace(text.data()), leading);
    EXPECT_EQ(strip_enclosing_whitespace(std::string(text).data()), enclosing);
    rm_trailing_whitespace(text.data());
    EXPECT_EQ(text.c_str(), trailing);
  }
}
