// Every page is decoded, even one that is copied: damage is reported when a page is handled, not when somebody looks at
// it years later.
#include "document/transcoder.h"

#include <utility>

#include "document/page_coding.h"
#include "faxfile/usorbport.h"
#include "formats/fax_lines.h"
#include "io/output_file.h"
#include "io/spool.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|transcoder|9|01|1|0|0|11/22/26|22:40:00";

// The lines of a page at another resolution.
bool change_resolution(std::vector<uint8_t> &lines, int32_t from, int32_t to) {
  SourcePicture page = {FAX_WIDTH, static_cast<int32_t>(lines.size() / LINE_BYTES), FAX_X_DPI, lines_per_inch(from)};
  if (page.height == 0) return true;
  page.bits = std::move(lines);
  FitOptions options;
  options.resolution = to;
  return make_fax_lines(std::move(page), options, lines);
}

}  // namespace

Status Transcoder::open(const OutputFile &output, int32_t coding, int32_t resolution) {
  coding_ = coding;
  resolution_ = resolution;
  spool_ = open_spool(output.working_path());
  return spool_ ? DONE : system_failure(output.name());
}

Status Transcoder::add(const FaxDocument &document, int32_t page) {
  FaxPage found;
  if (read_fax_page(document, page, found) != DONE) return FAILED;
  const int32_t resolution = found.resolution < 0 ? 0 : found.resolution;
  const bool as_it_is = found.coding == coding_ && resolution == resolution_;
  DecodedPage decoded;
  const Status status =
      (as_it_is ? count_lines : decode_page)(document.name(), page, found.record, found.coding, decoded);
  if (status == FAILED) return FAILED;

  if (resolution != resolution_ && (resolution > 1 || !change_resolution(decoded.lines, resolution, resolution_)))
    return failure("%s: page %d cannot be scaled to the resolution of the others", document.name(), page);
  if (!as_it_is && encode_page(document.name(), decoded.lines, coding_, resolution_, found.record) != DONE)
    return FAILED;
  if (++count_ > MOST_RECORDS) return failure("more than %d pages in one file", MOST_RECORDS);
  return append_record(spool_.get(), found.record) == DONE ? status : FAILED;
}

RecordRange Transcoder::records() const {
  return {spool_.get(), 0, file_size(spool_.get())};
}

}  // namespace tolvane
