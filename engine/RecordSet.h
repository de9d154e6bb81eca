// A set of a table's record numbers, a bit for each of the table's records.
#pragma once

#include <cstdint>

#include "base/Memory.h"

namespace zk::engine {

class RecordSet {
 public:
  RecordSet() noexcept = default;
  // For the numbers 1 to `largest`, with none in it. Throws std::bad_alloc.
  explicit RecordSet(std::uint32_t largest);

  // False for a number that the set is not for.
  bool add(std::uint32_t record) noexcept;
  void clear() noexcept;
  // Both sets are for the same numbers.
  void intersect(const RecordSet &other) noexcept;
  void unite(const RecordSet &other) noexcept;

  std::uint32_t largest() const noexcept { return largest_; }
  bool contains(std::uint32_t record) const noexcept;
  std::uint32_t size() const noexcept { return size_; }
  // The smallest number in the set that is greater than `record`; 0 when there is none.
  std::uint32_t after(std::uint32_t record) const noexcept;

 private:
  base::Vector<std::uint64_t> words_;
  std::uint32_t largest_ = 0;
  std::uint32_t size_ = 0;
};

}  // namespace zk::engine
