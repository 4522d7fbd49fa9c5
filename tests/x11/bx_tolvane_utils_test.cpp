#include <gmock/gmock.h>

#include <clocale>

#include "x11/xt_app.h"
#include "ui/bx_tolvane_utils.h"

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

// The entries, each followed by a blank.
std::string converted_table(const char *source) {
  Boolean success = False;
  XtArgVal table = CONVERT(xt_app().hidden_shell, source, XmRXmStringTable, 0, &success);
  std::string out;
  for (auto entry = reinterpret_cast<XmStringTable>(table); success && *entry; entry++) out += written(*entry) + " ";
  XrmValue value{sizeof table, reinterpret_cast<XPointer>(&table)};
  if (success) XmStringTableCvtDestroy(xt_app().context, &value, nullptr, nullptr, nullptr);
  return out;
}

}  // namespace

TEST(LabelLanguage, TurnsSegmentsIntoDirectionsTextsAndLineBreaksAndSplitsTables) {
  const std::pair<const char *, const char *> rows[] = {
      {"two\nlines", ">[two]/[lines]"},
      {R"(:"one colon")", R"(>[:"one colon"])"},
      {"::Hello", ">[Hello]"},
      {":::t\"Save Fax\"\"(don't send)\"", ">[Save Fax]/[(don't send)]"},
      {R"(:::T"a":0"b":1"c":F"d")", ">[a]/[bc]/[d]"},
      {R"(:::t:r"a""b")", "><[a]/>[b]"},
      {R"(:::r:t"a")", "><>[a]/"},       // a second colon starts the next segment
      {R"(:::t:x"a":t"b")", ">/[ab]/"},  // as does one that no direction follows
      {R"(::#b:t"a""c")", "#b>[a]/[c]"},
      {R"(::"a"#bold)", ">[a]"},   // a tag belongs to the text behind it
      {R"(::""#b"a")", "#b>[a]"},  // no text, and yet the end of a segment
      {":::t", ">/"},
      {R"(::#b"a"b"c")", R"(#b>[a][b"c"])"},  // a tail without separator is one plain text
      {R"(::"never closed\)", R"(>[never closed\])"},
      {"::#b\"gr\xc3\xbc\xc3\x9f\"\"e\"", "#b>[gr\xc3\xbc\xc3\x9f][e]"},
      {"::\"\xff\xfe\xc3\":t\"\xe9\"", ">[\xff\xfe\xc3\xe9]/"}};  // no characters: the bytes stay
  const std::pair<const char *, const char *> tables[] = {{R"(a,"b,c",d\,e)", R"(>[a] >["b,c"] >[d\,e] )"},
                                                          {"a\n\"b\nc\"", ">[a] >[\"b]/[c\"] "},
                                                          {R"(,::#t"x",)", ">[] #t>[x] >[] "},
                                                          {R"(a\"b,c)", R"(>[a\"b] >[c] )"},
                                                          {"a\\\xff,\xff\xc3,b\\", ">[a\\\xff] >[\xff\xc3] >[b\\] "}};
  for (const char *locale : {"C", "C.UTF-8"}) {
    ASSERT_TRUE(setlocale(LC_ALL, locale));
    for (const auto &[source, expected] : rows) EXPECT_EQ(converted(source), expected) << source << " in " << locale;
    for (const auto &[source, expected] : tables)
      EXPECT_EQ(converted_table(source), expected) << source << " in " << locale;
  }
  EXPECT_EQ(converted(("::\"" + std::string(5000, 'x') + "\"").c_str()), ">[" + std::string(5000, 'x') + "]");
}

TEST(LabelLanguage, ConverterWarnsOfArgumentsAndOfTooSmallATarget) {
  XtApp &app = xt_app();
  const std::pair<XtTypeConverter, std::string> rows[] = {{CvtStringToXmString, "XmString"},
                                                          {CvtStringToXmStringTable, "XmStringTable"}};
  for (const auto &[convert, type] : rows) {
    char text[] = "::\"a\"";
    XrmValue from{sizeof text, text};
    int32_t narrow = 7;
    XrmValue to{sizeof narrow, reinterpret_cast<XPointer>(&narrow)};
    Cardinal arguments = 1;
    app.warnings.clear();
    EXPECT_FALSE(convert(app.display, nullptr, &arguments, &from, &to, nullptr));
    EXPECT_EQ(to.size, sizeof(XmString));
    EXPECT_EQ(narrow, 7);
    EXPECT_THAT(app.warnings, ElementsAre("String to " + type + " converter needs no extra arguments",
                                          "Cannot convert string \"%s\" to type %s, ::\"a\", " + type));
  }
}

TEST(Convert, WidensWhatTheConverterStores) {
  XtApp &app = xt_app();
  const struct {
    const char *text, *type;
    int size;
    bool good;
    XtArgVal value;
  } rows[] = {{"true", XmRBoolean, 1, true, 1},
              {"40000", XmRDimension, 2, true, 40000},
              {"-5", XmRInt, 4, true, 0xfffffffb},
              {"#010203", XmRPixel, 0, true, 0x010203},
              {"no colour", XmRPixel, 8, false, 0}};
  for (const auto &row : rows) {
    app.warnings.clear();
    Boolean success = !row.good;
    const XtArgVal value = CONVERT(app.hidden_shell, row.text, row.type, row.size, &success);
    EXPECT_EQ(success, row.good) << row.text;
    EXPECT_EQ(value, row.value) << row.text;
    EXPECT_EQ(app.warnings.size(), row.good ? 0u : 1u) << row.text;
  }
}
