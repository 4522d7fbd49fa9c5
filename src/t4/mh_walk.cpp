// A leaf is written down at every step and counted only if it is one, so that no branch has to be guessed for it.

#include "t4/mh_walk.h"

#include <string.h>

#include <algorithm>
#include <bit>

#include "t4/line.h"

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|mh_walk|9|01|1|0|0|11/23/26|06:15:00";

struct Walker {
  const DecNode *node;
  const DecNode **leaf;  // where the next leaf goes

  [[gnu::always_inline]] void step(uint64_t bits) {
    node = node->link[bits & 1];
    *leaf = node;
    leaf += node->value != DEC_INNER;
  }
};

constexpr uint64_t WINDOW = 56;  // bits that a window of eight bytes has from any bit of its first byte on

// The bits from `position` on, the first one in bit 0: WINDOW of them or more.
uint64_t load_bits(const uint8_t *data, uint64_t position) {
  uint64_t window;
  memcpy(&window, data + position / 8, sizeof window);
  if constexpr (std::endian::native == std::endian::big) window = __builtin_bswap64(window);
  return window >> position % 8;
}

// Walks `count` bits from both positions.
void walk_both(const uint8_t *data, Walker &first, uint64_t at_first, Walker &second, uint64_t at_second,
               uint64_t count) {
  Walker a = first, b = second;
  for (; count > 0;) {
    uint64_t bits_a = load_bits(data, at_first), bits_b = load_bits(data, at_second);
    uint64_t left = std::min(count, WINDOW);
    count -= left, at_first += left, at_second += left;
    for (; left >= 8; left -= 8)
#pragma GCC unroll 8
      for (int n = 0; n < 8; n++, bits_a >>= 1, bits_b >>= 1) a.step(bits_a), b.step(bits_b);
    for (; left > 0; left--, bits_a >>= 1, bits_b >>= 1) a.step(bits_a), b.step(bits_b);
  }
  first = a;
  second = b;
}

constexpr uint64_t NO_EOL = 0;

}  // namespace

// The bit after the first EOL that begins at or after bit `from`, a whole byte; NO_EOL if none ends within STRETCH.
uint64_t MhWalk::end_of_eol(uint64_t from) const {
  const size_t end = std::min<size_t>(data_.size(), (from + STRETCH) / 8);
  int zeros = 0;
  for (size_t n = from / 8; n < end; n++) {
    const uint8_t byte = data_[n];
    if (byte != 0 && zeros + std::countr_zero(byte) >= EOL_ZEROS)
      return 8 * uint64_t{n} + static_cast<uint64_t>(std::countr_zero(byte)) + 1;
    zeros = byte != 0 ? std::countl_zero(byte) : std::min(zeros + 8, EOL_ZEROS);
  }
  return NO_EOL;
}

std::span<const DecNode *const> MhWalk::walk_alone() {
  const uint64_t end = std::min(position_ + STRETCH, 8 * uint64_t{data_.size()});
  Walker walker{node_, first_.data()};
  while (position_ < end) {
    uint32_t byte = static_cast<uint32_t>(data_[position_ / 8]) >> position_ % 8;
    const uint64_t next_byte = std::min(end, position_ / 8 * 8 + 8);
    for (; position_ < next_byte; position_++, byte >>= 1) walker.step(byte);
  }
  node_ = walker.node;
  return {first_.data(), walker.leaf};
}

std::span<const DecNode *const> MhWalk::next() {
  if (second_waits_) {
    second_waits_ = false;
    return {second_.data(), second_count_};
  }
  const uint64_t eol = end_of_eol(position_ / 8 * 8 + STRETCH);
  const uint64_t count = eol - position_;
  if (eol == NO_EOL || eol + count + 64 > 8 * uint64_t{data_.size()}) return walk_alone();

  Walker first{node_, first_.data()}, second{&eoltree.node[EOLTREE_LEAF], second_.data()};
  walk_both(data_.data(), first, position_, second, eol, count);
  position_ = eol;
  node_ = first.node;
  if (node_->value == DEC_EOL) {
    position_ += count;
    node_ = second.node;
    second_waits_ = true;
    second_count_ = static_cast<size_t>(second.leaf - second_.data());
  }
  return {first_.data(), first.leaf};
}

}  // namespace tolvane
