// Pages of other formats that become pages of a fax file: the options on reading them, and their insertion.
#pragma once

#include <string>
#include <vector>

#include "cli/command_usage.h"
#include "formats/page_readers.h"

namespace tolvane {

/// The files that contain the pages, and how they are read.
struct PageInput {
  std::vector<std::string> files;
  SourceOptions source;
};

/// Adds the operands PAGES... and the options on reading them.
void declare_page_input(Usage &usage, PageInput &input);

/// Where coded pages are stored until the file that they are for is written.
struct RecordStore {
  const char *name;  ///< of that file, for messages
  int fd;            ///< open for writing
};

/// Reads all pages, codes them, and appends the records to a store, in order.
///
/// @param resolution  vertical resolution code, 0 or 1
/// @param count       receives the number of pages
/// @param header      receives what the first file says about itself
/// @return DONE; DAMAGED; or FAILED, also if there is no page at all
Status code_pages(const PageInput &input, int32_t coding, int32_t resolution, const RecordStore &store, int32_t &count,
                  HeaderValues &header);

/// Adds pages to a fax file, in its coding and resolution, before page record `place`; 0 is after the last. Inclusions
/// stay before the pages that they preceded. The file is replaced as a whole or left untouched.
Status insert_pages(const std::string &path, int32_t place, const PageInput &input);

}  // namespace tolvane
