// Sorts the keys of a tag: pairs of key and record number, by key bytes, then record number.
//
// Pairs are kept in memory up to a budget; past it sorted runs go to a working file and are merged
// in the end (KeyRuns). In memory a pair is sorted by 8 bytes of its key at a time, taken as a
// number: radix passes, and only what is equal so far goes on to the next 8 bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Memory.h"
#include "engine/KeyRuns.h"
#include "engine/WorkFile.h"

namespace zk::engine {

class KeySorter {
 public:
  static constexpr std::size_t kDefaultBudget = std::size_t{64} << 20;

  // Keys of `keyLength` bytes, 1 to 240. The working file is created when it is needed.
  KeySorter(WorkFile &file, std::size_t keyLength, std::size_t budget = kDefaultBudget) noexcept;
  KeySorter(const KeySorter &) = delete;
  KeySorter &operator=(const KeySorter &) = delete;

  // Makes room for as many pairs as will come, as far as the budget goes. Throws std::bad_alloc.
  void begin(std::uint32_t expected);
  // Throws std::bad_alloc.
  int add(const unsigned char *key, std::uint32_t record);
  // After the last pair. Throws std::bad_alloc.
  int sort();
  // The pairs in order, then kEndOfFile. A key is valid until the next call.
  int next(const unsigned char *&key, std::uint32_t &record) noexcept;

  std::uint64_t count() const noexcept { return total_; }
  std::uint32_t largestRecord() const noexcept { return largestRecord_; }

 private:
  // A pair on its way through the sort.
  struct Pair {
    std::uint64_t word;  // the 8 bytes of the key that are being sorted by
    std::uint32_t record;
    std::uint32_t slot;  // of the key's bytes
  };

  bool keysInPairs() const noexcept { return slotSize_ == 0; }
  const unsigned char *slot(const Pair &pair) const noexcept {
    return keys_.get() + pair.slot * slotSize_;
  }
  const unsigned char *keyOf(const Pair &pair) noexcept;
  int compareRests(const Pair &a, const Pair &b, std::size_t from) const noexcept;
  std::uint64_t store(const unsigned char *key) noexcept;
  void notePlace(const Pair &pair) noexcept;

  int spill();
  void sortPairs() noexcept;
  void sortRange(Pair *pairs, std::size_t count, std::size_t from) noexcept;
  void sortFew(Pair *pairs, std::size_t count, std::size_t from) noexcept;
  template <typename Number>
  void radixSort(Pair *pairs, std::size_t count, Number Pair::*by) noexcept;

  const std::size_t keyLength_;
  const std::size_t slotSize_;  // whole words; 0 when one word holds a key
  const std::size_t budget_;
  KeyRuns runs_;

  base::OwnedBlock<Pair> pairs_;  // twice the capacity: the second half is for radix passes
  base::OwnedBlock<unsigned char> keys_;
  std::size_t capacity_ = 0;
  std::size_t count_ = 0;
  bool keysAscend_ = true;     // the pairs in memory came in order
  bool recordsAscend_ = true;  // their record numbers did
  std::size_t given_ = 0;      // how many next gave from memory
  unsigned char shortKey_[8];

  std::uint64_t total_ = 0;
  std::uint32_t largestRecord_ = 0;
};

}  // namespace zk::engine
