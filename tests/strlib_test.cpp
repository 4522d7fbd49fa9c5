#include "support/strlib.h"

#include <gtest/gtest.h>

#include "support/handle.h"

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
