#include "x11/xt_app.h"

#include "ui/bx_tolvane_utils.h"

#include <gmock/gmock.h>

#include <clocale>

#include <Xm/Xm.h>

using namespace tolvane;
using testing::ElementsAre;

namespace {

std::string converted(const char *source) {
  Boolean success = False;
  const auto string = reinterpret_cast<XmString>(CONVERT(xt_app().hidden_shell, source, XmRXmString, 0, &success));
  const std::string out = success ? written(string) : "failed";
  if (success) XmStringFree(string);
  return out;
}

std::vector<std::string> table_of(const char *source) {
  Boolean success = False;
  const auto table =
      reinterpret_cast<XmStringTable>(CONVERT(xt_app().hidden_shell, source, XmRXmStringTable, 0, &success));
  std::vector<std::string> out;
  for (XmStringTable entry = table; success && *entry; entry++) out.push_back(written(*entry));
  XrmValue value{sizeof table, reinterpret_cast<XPointer>(const_cast<XmStringTable *>(&table))};
  if (success) XmStringTableCvtDestroy(xt_app().context, &value, nullptr, nullptr, nullptr);
  return out;
}

}  // namespace

TEST(LabelLanguage, TurnsSegmentsIntoDirectionsTextsAndLineBreaksAndSplitsTables) {
  const std::pair<const char *, const char *> rows[] = {
      {"two\nlines", ">[two]/[lines]"},
      {R"(:"one colon")", R"(>[:"one colon"])"},
      {"::", ">"},
      {"::Hello", ">[Hello]"},
      {":::t\"Save Fax\"\"(don't send)\"", ">[Save Fax]/[(don't send)]"},
      {R"(:::f"a")", ">[a]"},
      {R"(:::T"a":0"b":1"c":F"d")", ">[a]/[bc]/[d]"},
      {R"(:::t:r"a""b")", "><[a]/>[b]"},
      {R"(:::R"a":f:L"b")", "><[a]>[b]"},
      {R"(:::r:t"a")", "><>[a]/"},       // a second colon starts the next segment
      {R"(:::t:x"a":t"b")", ">/[ab]/"},  // as does one that no direction follows
      {R"(:::z"a")", ">[a]"},
      {R"(::#b:t"a""c")", "#b>[a]/[c]"},
      {R"(:::t#b"a""c")", "#b>[a]/[c]"},
      {R"(::"a"#bold)", ">[a]"},  // a tag belongs to the text behind it
      {R"(::#x#b"a")", "#b>[a]"},
      {R"(::#"a")", ">[a]"},
      {R"(::#a\:b"c")", R"(#a\:b>[c])"},
      {R"(::#b ,"a")", "#b ,>[a]"},
      {R"(:::t ,"a")", ">[a]/"},
      {R"(::"a\"b")", R"(>[a\"b])"},
      {R"(::"a:b#c")", ">[a:b#c]"},
      {R"(::""#b"a")", "#b>[a]"},  // no text, and yet the end of a segment
      {"::#tag", ">"},
      {":::t", ">/"},
      {R"(::#b"a"b"c")", R"(#b>[a][b"c"])"},  // a tail without separator is one plain text
      {R"(::\"x")", R"(>[\"x"])"},
      {R"(::"never closed\)", R"(>[never closed\])"},
      {"::#b\"gr\xc3\xbc\xc3\x9f\"\"e\"", "#b>[gr\xc3\xbc\xc3\x9f][e]"},
      {"::\"\xff\xfe\xc3\":t\"\xe9\"", ">[\xff\xfe\xc3\xe9]/"},  // no characters: the bytes stay
      {"::\xc3", ">[\xc3]"}};
  const std::pair<const char *, std::vector<std::string>> tables[] = {
      {"", {}},
      {R"(a,"b,c",d\,e)", {">[a]", R"(>["b,c"])", R"(>[d\,e])"}},
      {R"(::"a","b")", {">[a]", R"(>["b"])"}},
      {"a\n\"b\nc\"", {">[a]", ">[\"b]/[c\"]"}},
      {R"(,::#t"x",)", {">[]", "#t>[x]", ">[]"}},
      {R"(a\"b,c)", {R"(>[a\"b])", ">[c]"}},
      {"\xc3\xbc,\\\xc3\xbc,b", {">[\xc3\xbc]", ">[\\\xc3\xbc]", ">[b]"}},
      {"a\\\xff,\xff\xc3,b\\", {">[a\\\xff]", ">[\xff\xc3]", ">[b\\]"}}};
  for (const char *locale : {"C", "C.UTF-8"}) {
    ASSERT_TRUE(setlocale(LC_ALL, locale));
    for (const auto &[source, expected] : rows) EXPECT_EQ(converted(source), expected) << source << " in " << locale;
    for (const auto &[source, expected] : tables) EXPECT_EQ(table_of(source), expected) << source << " in " << locale;
  }
  EXPECT_EQ(StringToXmString(nullptr), nullptr);
  EXPECT_EQ(converted(("::\"" + std::string(5000, 'x') + "\"").c_str()), ">[" + std::string(5000, 'x') + "]");
}

TEST(LabelLanguage, ConverterWarnsOfArgumentsAndOfTooSmallATarget) {
  XtApp &app = xt_app();
  const struct {
    XtTypeConverter convert;
    const char *warning, *type;
  } rows[] = {
      {CvtStringToXmString, "String to XmString converter needs no extra arguments", "XmString"},
      {CvtStringToXmStringTable, "String to XmStringTable converter needs no extra arguments", "XmStringTable"},
  };
  for (const auto &row : rows) {
    char text[] = "::\"a\"";
    XrmValue from{sizeof text, text};
    int32_t narrow = 7;
    XrmValue to{sizeof narrow, reinterpret_cast<XPointer>(&narrow)};
    Cardinal arguments = 1;
    app.warnings.clear();
    EXPECT_FALSE(row.convert(app.display, nullptr, &arguments, &from, &to, nullptr));
    EXPECT_EQ(to.size, sizeof(XmString));
    EXPECT_EQ(narrow, 7);
    EXPECT_THAT(app.warnings,
                ElementsAre(row.warning, std::string("Cannot convert string \"::\"a\"\" to type ") + row.type));
  }
  char text[] = "a";
  XrmValue from{sizeof text, text}, to{};
  Cardinal none = 0;
  ASSERT_TRUE(CvtStringToXmString(app.display, nullptr, &none, &from, &to, nullptr));
  EXPECT_EQ(written(*reinterpret_cast<XmString *>(to.addr)), ">[a]");
  XmStringCvtDestroy(app.context, &to, nullptr, nullptr, nullptr);
}

TEST(Convert, WidensWhatTheConverterStores) {
  XtApp &app = xt_app();
  const struct {
    const char *text, *type;
    int size;
    bool good;
    XtArgVal value;
  } rows[] = {
      {"true", XmRBoolean, 1, true, 1},        {"true", XmRBoolean, 0, true, 1},
      {"40000", XmRDimension, 2, true, 40000}, {"40000", XmRDimension, 4, true, 40000},
      {"-5", XmRInt, 4, true, 0xfffffffb},     {"#010203", XmRPixel, 0, true, 0x010203},
      {"no colour", XmRPixel, 8, false, 0},    {"perhaps", XmRBoolean, 1, false, 0},
  };
  for (const auto &row : rows) {
    app.warnings.clear();
    Boolean success = !row.good;
    const XtArgVal value = CONVERT(app.hidden_shell, row.text, row.type, row.size, &success);
    EXPECT_EQ(success, row.good) << row.text;
    EXPECT_EQ(value, row.value) << row.text;
    EXPECT_EQ(app.warnings.size(), row.good ? 0u : 1u) << row.text;
  }
  // A value longer than a word comes in a block of its own.
  Boolean success = False;
  const auto block = reinterpret_cast<char *>(CONVERT(app.hidden_shell, "longer than a word", XmRString, 0, &success));
  ASSERT_TRUE(success);
  EXPECT_STREQ(block, "longer than a word");
  XtFree(block);
}
