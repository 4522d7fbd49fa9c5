// Pages of fax files on their way into another fax file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "document/fax_composition.h"

namespace tolvane {

/// Collects page records of one coding and one resolution in a nameless file. A page that has both is taken as it is;
/// another is decoded and coded anew, and its lines doubled or merged.
class Transcoder {
 public:
  /// @param output  the file that the records are for: the nameless one is made beside it
  Status open(const OutputFile &output, int32_t coding, int32_t resolution);

  /// Reads a page of a document and takes it in.
  ///
  /// @return DONE; DAMAGED after naming what is damaged in it; FAILED after a complaint
  Status add(const FaxDocument &document, int32_t page);

  /// The records so far, all of them.
  RecordRange records() const;
  int32_t count() const { return count_; }

 private:
  Descriptor spool_;
  int32_t coding_ = 0, resolution_ = 0, count_ = 0;
};

}  // namespace tolvane
