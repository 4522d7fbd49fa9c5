// Choosing pages on the command line: 1-3,5,z and the like.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "io/report.h"

namespace tolvane {

/// Takes a selection apart: page numbers and ranges with commas between them, in the order wanted. `z` is the last
/// page, `r2` the second from the end; a range may run backwards. Behind it `:even` or `:odd` keeps the pages of even
/// or odd number.
///
/// @param text   empty: all pages
/// @param count  pages of the document
/// @return DONE; USAGE after a complaint: no selection, or a page that the document does not have
Status select_pages(const std::string &text, int32_t count, std::vector<int32_t> &pages);

}  // namespace tolvane
