// Copying pages from fax files to another fax file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "document/fax_composition.h"

namespace tolvane {

/// Collects page records of one coding and one resolution in a spool file. A page that has both is copied; any other is
/// decoded and recoded, and its lines are doubled or merged.
class Transcoder {
 public:
  /// @param output  the file that the records are for: the spool file is made in its directory
  Status open(const OutputFile &output, int32_t coding, int32_t resolution);

  /// Adds a page of a document.
  ///
  /// @return DONE; DAMAGED after reporting its damage; FAILED after a message
  Status add(const FaxDocument &document, int32_t page);

  /// The records so far, all of them.
  RecordRange records() const;
  int32_t count() const { return count_; }

 private:
  Descriptor spool_;
  int32_t coding_ = 0, resolution_ = 0, count_ = 0;
};

}  // namespace tolvane
