// PBM: a short text, then the rows as they are. The format has no resolution.
#include <errno.h>

#include "formats/page_writers.h"
#include "io/output_file.h"
#include "support/handle.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|write_pbm|9|01|3|0|0|11/23/26|08:16:47";
}

Status write_pbm(const OutputFile &output, const picture_source &next) {
  PagePicture picture;
  while (next(picture)) {
    const std::string head = "P4\n" + std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n";
    if (!write_fully(output.fd(), head.data(), head.size()) ||
        !write_fully(output.fd(), picture.rows.data(), picture.rows.size()))
      return system_failure(output.name(), "cannot be written");
  }
  return DONE;
}

}  // namespace tolvane
