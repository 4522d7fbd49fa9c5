// The notation of page selections. Which pages a document has is the caller's to know.
#include "cli/page_selection.h"

#include <charconv>
#include <numeric>
#include <string_view>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_selection|9|01|1|0|0|11/22/26|21:40:00";

/// One page: a number, `z`, or `r` and a number. 0 if it is none of these.
int32_t page_of(std::string_view text, int32_t count) {
  if (text == "z") return count;
  const bool from_end = text.starts_with('r');
  if (from_end) text.remove_prefix(1);
  int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 1) return 0;
  return from_end ? count - number + 1 : number;
}

/// Adds a page or a range of pages. False if it is none, or beyond the document.
bool add_range(std::string_view text, int32_t count, std::vector<int32_t> &pages) {
  const size_t dash = text.find('-');
  const int32_t first = page_of(text.substr(0, dash), count);
  const int32_t last = dash == text.npos ? first : page_of(text.substr(dash + 1), count);
  if (first < 1 || first > count || last < 1 || last > count) return false;
  const int32_t step = first <= last ? 1 : -1;
  for (int32_t page = first; page != last + step; page += step) pages.push_back(page);
  return true;
}

}  // namespace

Status select_pages(const std::string &text, int32_t count, std::vector<int32_t> &pages) {
  std::string_view rest = text;
  int32_t parity = -1;
  for (const auto &[word, wanted] : {std::pair<std::string_view, int32_t>{":even", 0}, {":odd", 1}}) {
    if (!rest.ends_with(word)) continue;
    parity = wanted;
    rest.remove_suffix(word.size());
  }
  if (rest.empty()) {
    pages.resize(static_cast<size_t>(count));
    std::iota(pages.begin(), pages.end(), 1);
  }
  while (!rest.empty()) {
    const size_t comma = rest.find(',');
    if (!add_range(rest.substr(0, comma), count, pages) || comma + 1 == rest.size())
      return usage_fault("\"%s\" does not select from the pages 1 to %d", text.c_str(), count);
    rest.remove_prefix(comma == rest.npos ? rest.size() : comma + 1);
  }
  if (parity >= 0) std::erase_if(pages, [parity](int32_t page) { return page % 2 != parity; });
  return pages.empty() ? usage_fault("no page is selected") : DONE;
}

}  // namespace tolvane
