#include "engine/RecordSet.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace zk::engine {
namespace {

constexpr std::uint32_t kWordBits = 64;

std::uint64_t bitOf(std::uint32_t record) { return std::uint64_t{1} << (record % kWordBits); }

}  // namespace

// Bit 0 is no record's.
RecordSet::RecordSet(std::uint32_t largest) : words_(largest / kWordBits + 1), largest_(largest) {}

bool RecordSet::add(std::uint32_t record) noexcept {
  if (record < 1 || record > largest_) return false;
  std::uint64_t &word = words_[record / kWordBits];
  if ((word & bitOf(record)) == 0) ++size_;
  word |= bitOf(record);
  return true;
}

void RecordSet::clear() noexcept {
  std::fill(words_.begin(), words_.end(), 0);
  size_ = 0;
}

void RecordSet::intersect(const RecordSet &other) noexcept {
  size_ = 0;
  for (std::size_t i = 0; i < words_.size(); ++i) {
    words_[i] &= other.words_[i];
    size_ += static_cast<std::uint32_t>(std::popcount(words_[i]));
  }
}

void RecordSet::unite(const RecordSet &other) noexcept {
  size_ = 0;
  for (std::size_t i = 0; i < words_.size(); ++i) {
    words_[i] |= other.words_[i];
    size_ += static_cast<std::uint32_t>(std::popcount(words_[i]));
  }
}

bool RecordSet::contains(std::uint32_t record) const noexcept {
  return record <= largest_ && (words_[record / kWordBits] & bitOf(record)) != 0;
}

std::uint32_t RecordSet::after(std::uint32_t record) const noexcept {
  if (record >= largest_) return 0;
  const std::uint32_t from = record + 1;
  std::size_t i = from / kWordBits;
  std::uint64_t word = words_[i] & ~(bitOf(from) - 1);
  while (word == 0) {
    if (++i == words_.size()) return 0;
    word = words_[i];
  }
  return static_cast<std::uint32_t>(i) * kWordBits +
         static_cast<std::uint32_t>(std::countr_zero(word));
}

}  // namespace zk::engine
