// What the readers of foreign formats share: the limits of a picture. Each reader stands in a file of its own.
#include "cli/page_readers.h"

#include <cinttypes>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_readers|9|01|1|0|0|11/22/26|23:00:00";
}

Status check_picture_size(const char *name, int32_t page, int64_t width, int64_t height) {
  if (width < 1 || height < 1)
    return failure("%s: page %d: a picture of %" PRId64 " x %" PRId64 " pixels", name, page, width, height);
  if (width > WIDEST_PICTURE || height > LARGEST_PICTURE / width)
    return failure("%s: page %d is %" PRId64 " x %" PRId64 " pixels: the limit is %d across and %" PRId64 " in all",
                   name, page, width, height, WIDEST_PICTURE, LARGEST_PICTURE);
  return DONE;
}

}  // namespace tolvane
