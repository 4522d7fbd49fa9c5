// The notation of page selections. The caller knows how many pages the document has.
#include "cli/page_selection.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_selection|9|01|4|0|0|11/23/26|12:24:21";

// One page: a number, `z`, or `r` and a number. 0 if it is none of these.
int32_t page_of(std::string_view text, int32_t count) {
  if (text == "z") return count;
  const bool from_end = text.starts_with('r');
  if (from_end) text.remove_prefix(1);
  int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 1) return 0;
  return from_end ? count - number + 1 : number;
}

// What a selection is made from and what it gives.
struct Selecting {
  int32_t count;
  const std::vector<MissingPages> &missing;
  int32_t parity;  // of the pages that are kept; -1: all
  std::vector<int32_t> &pages;
  std::vector<const MissingPages *> &left_out;
  std::vector<bool> is_left_out;  // which of `missing`

  // Whether the range has a page of the wanted parity.
  bool wants(int64_t first, int64_t last) const { return parity < 0 || first != last || first % 2 == parity; }

  void add(int32_t first, int32_t last) {
    const int32_t step = first <= last ? 1 : -1;
    for (int64_t page = first; step * page <= int64_t{step} * last; page += step) {
      const MissingPages *stretch = missing_at(missing, static_cast<int32_t>(page));
      if (!stretch) {
        if (wants(page, page)) pages.push_back(static_cast<int32_t>(page));
        continue;
      }
      const int64_t begin = page;
      page = step > 0 ? std::min(stretch->last, last) : std::max(stretch->first, last);
      const auto index = static_cast<size_t>(stretch - missing.data());
      if (!wants(begin, page) || is_left_out[index]) continue;
      is_left_out[index] = true;
      left_out.push_back(stretch);
    }
  }
};

// Adds a page or a range of pages. False if it is none, or beyond the document.
bool add_range(std::string_view text, Selecting &selecting) {
  const size_t dash = text.find('-');
  const int32_t first = page_of(text.substr(0, dash), selecting.count);
  const int32_t last = dash == text.npos ? first : page_of(text.substr(dash + 1), selecting.count);
  if (first < 1 || first > selecting.count || last < 1 || last > selecting.count) return false;
  selecting.add(first, last);
  return true;
}

}  // namespace

Status select_pages(const std::string &text, const std::string &about, int32_t count,
                    const std::vector<MissingPages> &missing, std::vector<int32_t> &pages,
                    std::vector<const MissingPages *> &left_out) {
  std::string_view rest = text;
  Selecting selecting{count, missing, -1, pages, left_out, std::vector<bool>(missing.size())};
  for (const auto &[word, wanted] : {std::pair<std::string_view, int32_t>{":even", 0}, {":odd", 1}}) {
    if (!rest.ends_with(word)) continue;
    selecting.parity = wanted;
    rest.remove_suffix(word.size());
  }
  if (rest.empty() && count > 0) selecting.add(1, count);
  while (!rest.empty()) {
    const size_t comma = rest.find(',');
    if (!add_range(rest.substr(0, comma), selecting) || comma + 1 == rest.size())
      return usage_fault("%s\"%s\" is not a selection of pages 1 to %d", about.c_str(), text.c_str(), count);
    rest.remove_prefix(comma == rest.npos ? rest.size() : comma + 1);
  }
  return pages.empty() && left_out.empty() ? usage_fault("%sno page is selected", about.c_str()) : DONE;
}

}  // namespace tolvane
