// What other formats say about a page besides its pixels, as values of header keywords.
#pragma once

#include <ctime>
#include <string>
#include <utility>
#include <vector>

namespace tolvane {

/// Names of header keywords, each with a value.
using HeaderValues = std::vector<std::pair<std::string, std::string>>;

/// What a keyword is called where names are free: in the text chunks of PNG and the information of PDF. Null: it has no
/// place there.
struct TextName {
  const char *keyword, *png, *pdf;
};
constexpr TextName TEXT_NAMES[] = {
    {"SUBJECT", "Title", "/Title"},       {"SENDER_NAME", "Author", "/Author"},    {"DATE", "Creation Time", nullptr},
    {"KEYWORDS", "Comment", "/Keywords"}, {"SENDER_EQUIPMENT", "Source", nullptr},
};

/// Adds a value unless the text is empty, or the keyword has one. Control characters become blanks, and so does the
/// colon of "INCLUDE:", which readers of a header would take for an inclusion. Blanks at the ends are removed, and so
/// is what goes beyond 200 bytes.
void add_header_value(HeaderValues &values, const char *keyword, const std::string &text);

/// The value of a keyword; empty if it has none.
std::string header_value(const HeaderValues &values, const char *keyword);

/// A fact in a value that lists several, as KEYWORDS does for those that fax servers write into TIFF:
/// "received-in=75 s; parameters=55".
///
/// @return empty if it is not listed
std::string listed_fact(const std::string &facts, const std::string &name);

/// Removes a fact from such a value.
void remove_fact(std::string &facts, const std::string &name);

/// Reads a date of the forms "2026-11-22", "2026-11-22 10:20" and "2026-11-22 10:20:30", also with colons between year,
/// month and day (TIFF) or a T before the hour (ISO 8601).
///
/// @return whether it is one
bool parse_date(const std::string &text, std::tm &date);

/// Writes a date by the form of `strftime`.
std::string format_date(const std::tm &date, const char *form);

}  // namespace tolvane
