#include "support/strlib.h"

#include <gtest/gtest.h>

#include "support/handle.h"
#include "support/printable.h"

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
  }
}

TEST(Strlib, CopyCutsBetweenCharacters) {
  const std::tuple<const char *, size_t, std::string> cases[] = {
      {"abc", 4, "abc"},
      {"a\u00e9", 3, "a"},
      {"\U0001d11e", 4, ""},
      {"a\x81\x82\x83\x84\x85", 6, "a\x81\x82\x83\x84"}};  // not UTF-8: cut anywhere
  for (const auto &[from, size, kept] : cases) {
    std::string to(16, '#');
    EXPECT_EQ(copy_text(to.data(), size, from), kept == from) << from;
    EXPECT_EQ(to.data(), kept);
    EXPECT_EQ(to[size], '#') << "wrote past its buffer";
  }
}

TEST(Printable, ShowsWhatIsReadAndEscapesWhatActs) {
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"plain \\ text~", "", "plain \\ text~"},
      {"\u00a0gr\u00fcn \u0645\u200e \u4e2d \U0001f4e0", "", "\u00a0gr\u00fcn \u0645\u200e \u4e2d \U0001f4e0"},
      {"\x1b]0;x\x07\x7f" + std::string(1, '\0'), "", "\\x1b]0;x\\x07\\x7f\\x00"},
      {"a\tb\nc\r", "\n\t", "a\tb\nc\\x0d"},
      {"\u009b1m\u0080 \x9b", "", "\\xc2\\x9b1m\\xc2\\x80 \\x9b"},
      {"xaf.\u202efdp\u2069", "", "xaf.\\xe2\\x80\\xaefdp\\xe2\\x81\\xa9"},
      {"\xc0\x9b \xe0\x82\x9b \xed\xa0\x80", "", "\\xc0\\x9b \\xe0\\x82\\x9b \\xed\\xa0\\x80"},
      {"\xf4\x90\x80\x80 \xc3", "", "\\xf4\\x90\\x80\\x80 \\xc3"}};
  for (const auto &[text, kept, shown] : cases) EXPECT_EQ(printable(text, kept), shown);
}
