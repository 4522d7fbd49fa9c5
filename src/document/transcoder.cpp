// Every page is decoded, even one that is copied: damage is reported when a page is handled, not when somebody looks at
// it years later.
#include "document/transcoder.h"

#include <utility>

#include "document/page_coding.h"
#include "faxfile/usorbport.h"
#include "formats/fax_lines.h"
#include "io/output_file.h"
#include "support/replace_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|transcoder|9|01|4|0|0|11/23/26|11:38:58";

// The lines of a page at another resolution. FAILED after a message.
Status change_resolution(const char *name, int32_t number, std::vector<uint8_t> &lines, int32_t from, int32_t to) {
  if (from > 1) return failure("%s: page %d cannot be scaled to the resolution of the others", name, number);
  SourcePicture page = {FAX_WIDTH, static_cast<int32_t>(lines.size() / LINE_BYTES), FAX_X_DPI, lines_per_inch(from)};
  if (page.height == 0) return DONE;
  page.bits = std::move(lines);
  FitOptions options;
  options.resolution = to;
  return make_fax_lines(name, number, std::move(page), options, lines);
}

}  // namespace

void Transcoder::open(record_sink sink, int32_t coding, int32_t resolution, bool keep_going) {
  sink_ = std::move(sink);
  keep_going_ = keep_going;
  coding_ = coding;
  resolution_ = resolution;
}

Status Transcoder::open(const OutputFile &output, int32_t coding, int32_t resolution, bool keep_going) {
  spool_ = open_spool(output.fd());
  const auto append = [name = std::string(output.name()), fd = spool_.get()](std::span<const uint8_t> record) {
    return append_record(name.c_str(), fd, record);
  };
  open(append, coding, resolution, keep_going);
  name_ = output.name();
  return spool_ ? DONE : system_failure(output.name(), "no temporary file can be made for its pages");
}

struct Transcoder::Page {
  const FaxDocument &document;
  int32_t number;
  FaxPage found = {};  ///< with the record in the new coding and resolution in the end
  Diagnostics diagnostics = {};
  Status status = DONE;
};

void Transcoder::convert(Page &page) const {
  FaxPage &found = page.found;
  const char *name = page.document.name();
  const int32_t resolution = found.resolution < 0 ? 0 : found.resolution;
  const bool as_it_is = found.coding == coding_ && resolution == resolution_;
  DecodedPage decoded;
  page.status = (as_it_is ? count_lines : decode_page)(name, page.number, found.record, found.coding, decoded);
  if (page.status == FAILED || as_it_is) return;
  if (resolution != resolution_)
    page.status = worse(page.status, change_resolution(name, page.number, decoded.lines, resolution, resolution_));
  if (page.status != FAILED)
    page.status = worse(page.status, encode_page(name + std::string(": page ") + std::to_string(page.number),
                                                 decoded.lines, coding_, resolution_, found.record));
}

Status Transcoder::take() {
  work_.take();
  const std::shared_ptr<Page> page = under_way_.front();
  under_way_.pop_front();
  pass_on_diagnostics(page->diagnostics);
  if (page->status == FAILED && keep_going_) return --count_, DAMAGED;
  if (page->status == FAILED) return FAILED;
  return sink_(page->found.record) == DONE ? page->status : FAILED;
}

Status Transcoder::add(const FaxDocument &document, int32_t number) {
  Status status = DONE;
  while (!work_.has_room() && status != FAILED) status = worse(status, take());
  if (status == FAILED) return FAILED;
  if (++count_ > MOST_RECORDS && spool_)
    return failure("%s: more than %d pages in one file: use several", name_.c_str(), MOST_RECORDS);
  const auto page = std::make_shared<Page>(Page{document, number});
  {
    const HoldDiagnostics hold(page->diagnostics);
    page->status = read_fax_page(document, number, page->found);
  }
  under_way_.push_back(page);
  work_.add([this, page] {
    const HoldDiagnostics hold(page->diagnostics);
    if (page->status == DONE) convert(*page);
  });
  return status;
}

Status Transcoder::finish() {
  Status status = DONE;
  while (!work_.empty() && status != FAILED) status = worse(status, take());
  return status;
}

RecordRange Transcoder::records() const {
  return {spool_.get(), 0, file_size(spool_.get())};
}

}  // namespace tolvane
