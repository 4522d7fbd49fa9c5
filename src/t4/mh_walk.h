// The walk of MH through a page: from bit to bit along the links of the run trees, never set back (see dectbls.h).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "dectbls.h"

namespace tolvane {

/// Walks a page and hands out the leaves that it reaches.
///
/// A walk waits for memory at every bit. So two go side by side where they can: one from where the walk is up to an EOL
/// some hundred bytes further on, the other one on from there. If the first does not end in a leaf for an EOL, which
/// happens in damaged data alone, the second was on a wrong track, and its leaves are dropped.
class MhWalk {
 public:
  /// @param data  the coded page; stays the caller's
  explicit MhWalk(std::span<const uint8_t> data) : data_(data) {}

  /// The next leaves, in the order in which they were reached, valid until the next call; there may be none. Called
  /// until `done`.
  std::span<const DecNode *const> next();

  bool done() const { return position_ == 8 * uint64_t{data_.size()} && !second_waits_; }

  /// The node reached.
  const DecNode *node() const { return node_; }

 private:
  static constexpr uint64_t STRETCH = 8 * 512;  // bits that a walk makes at least before its leaves are handed out
  static constexpr uint64_t LONGEST_STRETCH = 2 * STRETCH;
  static constexpr size_t SHORTEST_CODE = 2;  // bits
  using Leaves = std::array<const DecNode *, LONGEST_STRETCH / SHORTEST_CODE + 2>;

  uint64_t end_of_eol(uint64_t from) const;
  std::span<const DecNode *const> walk_alone();

  std::span<const uint8_t> data_;
  uint64_t position_ = 0;  // bits walked
  const DecNode *node_ = eoltree.node;
  bool second_waits_ = false;
  size_t second_count_ = 0;
  Leaves first_, second_;
};

}  // namespace tolvane
