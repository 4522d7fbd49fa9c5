// Copying pages from fax files to another fax file.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <span>

#include "document/fax_composition.h"
#include "io/ordered_work.h"
#include "support/handle.h"

namespace tolvane {

/// Receives the page records in order. DONE, or FAILED after a message.
using record_sink = std::function<Status(std::span<const uint8_t> record)>;

/// Collects page records of one coding and one resolution. A page that has both is copied; any other is decoded and
/// recoded, and its lines are doubled or merged.
class Transcoder {
 public:
  void open(record_sink sink, int32_t coding, int32_t resolution, bool keep_going = false);
  /// The same with a spool file as the sink.
  ///
  /// @param output  the file that the records are for: the spool file is made in its directory
  /// @param keep_going  unreadable pages are left out: their status is DAMAGED
  Status open(const OutputFile &output, int32_t coding, int32_t resolution, bool keep_going = false);

  /// Reads a page of a document and adds it. The work on it may end later.
  ///
  /// @param document  must live until `finish`
  /// @return for the pages whose work has ended: DONE; DAMAGED after the damage was reported; FAILED after a message
  Status add(const FaxDocument &document, int32_t page);
  /// Waits for all pages; returns as `add`.
  Status finish();
  /// The records in the spool file, all of them after `finish`.
  RecordRange records() const;
  /// Pages added; after `finish` without those left out.
  int32_t count() const { return count_; }

 private:
  struct Page;
  void convert(Page &page) const;
  Status take();

  record_sink sink_;
  std::string name_;  // of the file that the spool file is for
  Descriptor spool_;
  int32_t coding_ = 0, resolution_ = 0, count_ = 0;
  bool keep_going_ = false;
  std::deque<std::shared_ptr<Page>> under_way_;  // oldest first
  OrderedWork work_;
};

}  // namespace tolvane
