#include "engine/KeySorter.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "engine/Bytes.h"

namespace zk::engine {
namespace {

constexpr std::size_t kWordSize = 8;
constexpr std::size_t kFewPairs = 48;
constexpr std::size_t kLeastCapacity = 16;
// A pair is fetched into the processor's cache that long before it is given out.
constexpr std::size_t kFetchAhead = 12;

template <typename T>
base::OwnedBlock<T> allocateArray(std::size_t count) {
  base::OwnedBlock<T> block(static_cast<T *>(base::allocate(count * sizeof(T))));
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

KeySorter::KeySorter(WorkFile &file, std::size_t keyLength, std::size_t budget) noexcept
    : keyLength_(keyLength),
      slotSize_(keyLength <= kWordSize ? 0 : (keyLength + kWordSize - 1) / kWordSize * kWordSize),
      budget_(budget),
      runs_(file, keyLength, budget) {}

void KeySorter::begin(std::uint32_t expected) {
  const std::size_t affordable = budget_ / (2 * sizeof(Pair) + slotSize_);
  capacity_ = std::max(std::min<std::size_t>(expected, affordable), kLeastCapacity);
  pairs_ = allocateArray<Pair>(2 * capacity_);
  if (!keysInPairs()) keys_ = allocateArray<unsigned char>(capacity_ * slotSize_);
}

int KeySorter::add(const unsigned char *key, std::uint32_t record) {
  if (count_ == capacity_) {
    const int status = spill();
    if (status != kOk) return status;
  }
  Pair &pair = pairs_.get()[count_];
  pair = {store(key), record, static_cast<std::uint32_t>(count_)};
  if (count_ > 0) notePlace(pair);
  ++count_;
  ++total_;
  largestRecord_ = std::max(largestRecord_, record);
  return kOk;
}

// Puts the key into the next slot, when keys have slots; its first word.
std::uint64_t KeySorter::store(const unsigned char *key) noexcept {
  if (keyLength_ == kWordSize) return readBig64(key);
  unsigned char word[kWordSize] = {};
  if (keysInPairs()) {
    std::memcpy(word, key, keyLength_);
    return readBig64(word);
  }
  unsigned char *place = keys_.get() + count_ * slotSize_;
  std::memset(place + slotSize_ - kWordSize, 0, kWordSize);
  std::memcpy(place, key, keyLength_);
  return readBig64(key);
}

// Whether the new pair goes on where the one before it ended.
void KeySorter::notePlace(const Pair &pair) noexcept {
  const Pair &before = (&pair)[-1];
  if (before.record >= pair.record) recordsAscend_ = false;
  if (!keysAscend_) return;
  if (before.word != pair.word) {
    keysAscend_ = before.word < pair.word;
  } else {
    const int order = compareRests(before, pair, kWordSize);
    keysAscend_ = order < 0 || (order == 0 && before.record < pair.record);
  }
}

int KeySorter::compareRests(const Pair &a, const Pair &b, std::size_t from) const noexcept {
  return from < slotSize_ ? std::memcmp(slot(a) + from, slot(b) + from, slotSize_ - from) : 0;
}

const unsigned char *KeySorter::keyOf(const Pair &pair) noexcept {
  if (!keysInPairs()) return slot(pair);
  writeBig64(shortKey_, pair.word);
  return shortKey_;
}

int KeySorter::spill() {
  sortPairs();
  int status = runs_.beginRun();
  for (std::size_t i = 0; status == kOk && i < count_; ++i) {
    const Pair &pair = pairs_.get()[i];
    status = runs_.add(keyOf(pair), pair.record);
  }
  if (status == kOk) status = runs_.endRun();
  count_ = 0;
  keysAscend_ = recordsAscend_ = true;
  return status;
}

int KeySorter::sort() {
  if (runs_.empty()) {
    sortPairs();
    return kOk;
  }
  const int status = count_ > 0 ? spill() : kOk;
  pairs_.reset();
  keys_.reset();
  return status == kOk ? runs_.startMerge() : status;
}

int KeySorter::next(const unsigned char *&key, std::uint32_t &record) noexcept {
  if (!runs_.empty()) return runs_.next(key, record);
  if (given_ == count_) return kEndOfFile;
  const Pair *pair = pairs_.get() + given_++;
  if (!keysInPairs() && count_ - given_ > kFetchAhead) __builtin_prefetch(slot(pair[kFetchAhead]));
  key = keyOf(*pair);
  record = pair->record;
  return kOk;
}

// ---- Sorting in memory. Every step keeps the order of what is equal to it.

void KeySorter::sortPairs() noexcept {
  if (keysAscend_) return;
  if (!recordsAscend_) radixSort(pairs_.get(), count_, &Pair::record);
  sortRange(pairs_.get(), count_, 0);
}

// Sorts pairs that are equal before byte `from` of their keys; their words are the 8 bytes there.
void KeySorter::sortRange(Pair *pairs, std::size_t count, std::size_t from) noexcept {
  const std::size_t next = from + kWordSize;
  if (count <= kFewPairs) return sortFew(pairs, count, next);
  radixSort(pairs, count, &Pair::word);
  if (next >= slotSize_) return;
  for (Pair *const end = pairs + count; pairs != end;) {
    Pair *const first = pairs;
    const std::uint64_t word = first->word;
    while (pairs != end && pairs->word == word) ++pairs;
    if (pairs - first == 1) continue;
    for (Pair *pair = first; pair != pairs; ++pair) pair->word = readBig64(slot(*pair) + next);
    sortRange(first, static_cast<std::size_t>(pairs - first), next);
  }
}

// By their words, then by what follows these in the keys, from byte `rest` on.
void KeySorter::sortFew(Pair *pairs, std::size_t count, std::size_t rest) noexcept {
  for (std::size_t i = 1; i < count; ++i) {
    const Pair moving = pairs[i];
    std::size_t at = i;
    for (; at > 0; --at) {
      const Pair &before = pairs[at - 1];
      const bool behind = before.word != moving.word ? before.word > moving.word
                                                     : compareRests(before, moving, rest) > 0;
      if (!behind) break;
      pairs[at] = before;
    }
    pairs[at] = moving;
  }
}

template <typename Number>
void KeySorter::radixSort(Pair *pairs, std::size_t count, Number Pair::*by) noexcept {
  constexpr std::size_t kDigits = sizeof(Number);
  std::uint32_t places[kDigits][256] = {};
  for (std::size_t i = 0; i < count; ++i) {
    const Number number = pairs[i].*by;
    for (std::size_t digit = 0; digit < kDigits; ++digit)
      ++places[digit][number >> 8 * digit & 255];
  }
  Pair *from = pairs;
  Pair *to = pairs_.get() + capacity_;
  for (std::size_t digit = 0; digit < kDigits; ++digit) {
    std::uint32_t *place = places[digit];
    if (place[from->*by >> 8 * digit & 255] == count) continue;  // all the same
    std::uint32_t sum = 0;
    for (std::size_t value = 0; value < 256; ++value) sum += std::exchange(place[value], sum);
    for (std::size_t i = 0; i < count; ++i) to[place[from[i].*by >> 8 * digit & 255]++] = from[i];
    std::swap(from, to);
  }
  if (from != pairs) std::memcpy(pairs, from, count * sizeof(Pair));
}

}  // namespace zk::engine
