// Pages from other formats on their way into a fax file: the options that say how, and the insertion itself.
#pragma once

#include <string>
#include <vector>

#include "formats/page_readers.h"

namespace CLI {
class App;
}

namespace tolvane {

/// The files that pages come from, and how they are read.
struct PageInput {
  std::vector<std::string> files;
  SourceOptions source;
};

/// Adds the operands PAGES... and the options on reading them.
void declare_page_input(CLI::App &usage, PageInput &input);

/// Reads all pages, codes them, and adds the records at the end of an open file, in order.
///
/// @param resolution  vertical resolution code, 0 or 1
/// @param count       receives the number of pages
/// @return DONE; DAMAGED; or FAILED, also for no page at all
Status code_pages(const PageInput &input, int32_t coding, int32_t resolution, int fd, int32_t &count);

/// Adds pages to a fax file, in its coding and resolution, in front of page record `place`; 0 is behind the last.
/// Inclusions stay in front of the pages that they stood in front of. The file is replaced as a whole, or untouched.
Status insert_pages(const std::string &path, int32_t place, const PageInput &input);

}  // namespace tolvane
