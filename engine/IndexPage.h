// The pages of an index file: 512 bytes each, named by their byte offset in the file. Numbers are
// little-endian unless marked BE; kNoPage means "none".
//
//   0..1  attributes, a sum: 0 interior, 1 root, 2 leaf (newer FoxPro also sets 4)
//   2..3  number of keys          4..7  left sibling          8..11  right sibling
//
//   Interior page, from 12: entries of key (full length), record number (BE), child page (BE). An
//   entry holds the last key and record number of its child.
//
//   Leaf page:
//   12..13  free bytes between entries and keys        14..17  mask of the record number
//   18, 19  masks of duplicate and trailing count      20, 21, 22  bits of the three
//   23      bytes of an entry                          24..511 entries from the front, the bytes of
//                                                      the keys from the end backwards
//   An entry is a number of that many bytes: record number in the low bits, then the duplicate
//   count (bytes that the key shares with the one before), then the trailing count (fill bytes
//   dropped at its end). The bytes between are stored; the first key's end the page.
//
// Order: key bytes as unsigned numbers, then record number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/Memory.h"
#include "engine/Bytes.h"

namespace zk::engine {

constexpr std::size_t kIndexPageSize = 512;
constexpr std::uint32_t kNoPage = 0xFFFFFFFF;
constexpr std::uint32_t kLongestKey = 240;
constexpr std::size_t kInteriorHead = 12;
constexpr std::uint16_t kRootPage = 1;
constexpr std::uint16_t kLeafPage = 2;

// The keys of one tag.
struct KeyLayout {
  std::uint32_t length = 0;
  unsigned char fill = ' ';  // what trailing counts count: blank for texts, else 0
};

struct IndexPage {
  unsigned char bytes[kIndexPageSize];

  std::uint16_t attributes() const { return readLittle16(bytes); }
  bool isLeaf() const { return (attributes() & kLeafPage) != 0; }
  std::uint32_t count() const { return readLittle16(bytes + 2); }
  std::uint32_t left() const { return readLittle32(bytes + 4); }
  std::uint32_t right() const { return readLittle32(bytes + 8); }
  void setHead(std::uint16_t attributes, std::size_t count, std::uint32_t left,
               std::uint32_t right) {
    writeLittle16(bytes, attributes);
    writeLittle16(bytes + 2, static_cast<std::uint16_t>(count));
    writeLittle32(bytes + 4, left);
    writeLittle32(bytes + 8, right);
  }
};

// A free page: the next one's offset (or none), then this text, which tells it from a page that is
// in use. Lists that other programs made are left alone.
constexpr char kFreePageName[] = "ZKFREE";
inline bool isFreePage(const IndexPage &page) {
  return std::memcmp(page.bytes + 4, kFreePageName, sizeof kFreePageName) == 0;
}

// Where a key stands relative to another: key bytes first, then record numbers.
inline int compareKeys(const unsigned char *a, std::uint32_t recordA, const unsigned char *b,
                       std::uint32_t recordB, std::size_t length) {
  const int order = std::memcmp(a, b, length);
  if (order != 0) return order;
  return recordA < recordB ? -1 : recordA > recordB ? 1 : 0;
}

// A place between entries: behind all that sort before the key, or (`behindEquals`) behind those
// that begin with it as well.
struct KeyBound {
  // `record` counts as part of a whole key when it is not 0.
  KeyBound(const unsigned char *key, std::size_t length, std::uint32_t record,
           bool behindEquals) noexcept;

  // Whether an entry lies before the place. Of its key at least 8 bytes can be read, whatever they
  // are behind its end.
  bool isBehind(const unsigned char *other, std::uint32_t otherRecord) const noexcept {
    const std::uint64_t otherWord = readBig64(other) & mask;
    return otherWord != word ? otherWord < word : restIsBehind(other, otherRecord);
  }
  // The same for an entry that begins with the key.
  bool equalIsBehind(std::uint32_t otherRecord) const noexcept {
    return record != 0 && otherRecord != record ? otherRecord < record : behindEquals;
  }

  const unsigned char *key;
  std::size_t length;
  std::uint32_t record;
  bool behindEquals;

 private:
  bool restIsBehind(const unsigned char *other, std::uint32_t otherRecord) const noexcept;

  // The first 8 bytes of the key, as far as it has them, settle most comparisons.
  std::uint64_t word;
  std::uint64_t mask = ~std::uint64_t{0};
};

// The entries of an interior page, in place.
class InteriorEntries {
 public:
  // False when the page's count does not fit a page of such keys (or is 0).
  bool open(const IndexPage &page, const KeyLayout &layout) noexcept;

  std::uint32_t count() const { return count_; }
  const unsigned char *key(std::uint32_t i) const { return entry(i); }
  std::uint32_t record(std::uint32_t i) const { return readBig32(entry(i) + length_); }
  std::uint32_t child(std::uint32_t i) const { return readBig32(entry(i) + length_ + 4); }
  // The entry whose child has the place; the last one when it is behind all.
  std::uint32_t find(const KeyBound &bound) const noexcept;

  // As many as a page of such keys takes.
  static std::uint32_t capacity(const KeyLayout &layout) {
    return static_cast<std::uint32_t>((kIndexPageSize - 12) / (layout.length + 8));
  }
  // Writes entry `i` of a page; the head is written apart.
  static void put(IndexPage &page, const KeyLayout &layout, std::uint32_t i,
                  const unsigned char *key, std::uint32_t record, std::uint32_t child) noexcept;

 private:
  const unsigned char *entry(std::uint32_t i) const { return first_ + i * (length_ + 8); }

  const unsigned char *first_ = nullptr;
  std::size_t length_ = 0;
  std::uint32_t count_ = 0;
};

// The keys of a leaf, taken apart into an array. The arrays only grow.
class LeafKeys {
 public:
  LeafKeys() noexcept = default;
  ~LeafKeys();
  LeafKeys(const LeafKeys &) = delete;
  LeafKeys &operator=(const LeafKeys &) = delete;

  enum class Result { kDone, kDamaged, kNoMemory };
  // Everything in the page is checked before it is used.
  Result read(const IndexPage &page, const KeyLayout &layout) noexcept;
  void clear() { count_ = 0; }

  std::uint32_t count() const { return count_; }
  const unsigned char *key(std::uint32_t i) const { return keys_ + i * length_; }
  std::uint32_t record(std::uint32_t i) const { return records_[i]; }
  // How many entries lie before the place.
  std::uint32_t find(const KeyBound &bound) const noexcept;

 private:
  bool reserve(std::uint32_t count, std::size_t length) noexcept;

  unsigned char *keys_ = nullptr;
  std::uint32_t *records_ = nullptr;
  std::size_t keyBytes_ = 0;
  std::uint32_t capacity_ = 0;
  std::size_t length_ = 0;
  std::uint32_t count_ = 0;
};

// The first entry of a leaf that has a whole key, found without taking the leaf apart. What is read
// on the way is checked.
struct LeafSearch {
  enum class Result { kFound, kNotFound, kDamaged };
  Result find(const IndexPage &page, const KeyLayout &layout, const unsigned char *key) noexcept;

  // What was found.
  std::uint32_t at = 0;
  std::uint32_t record = 0;
};

// Packs keys, given in order, into a leaf.
class LeafWriter {
 public:
  // `largestRecord` decides how wide the entries are.
  void begin(IndexPage &page, const KeyLayout &layout, std::uint32_t largestRecord) noexcept;
  // False, and nothing is changed, when the key does not fit any more or its record number is
  // larger than was said.
  bool add(const unsigned char *key, std::uint32_t record) noexcept;
  void finish(std::uint16_t attributes, std::uint32_t left, std::uint32_t right) noexcept;
  std::uint32_t count() const { return count_; }
  // Bytes that are left.
  std::size_t free() const { return free_; }
  // After the first add: the key of the last one.
  const unsigned char *lastKey() const { return previous_; }

 private:
  IndexPage *page_ = nullptr;
  KeyLayout layout_;
  std::uint32_t recordBits_ = 0;
  std::uint32_t countBits_ = 0;
  std::uint32_t entryBytes_ = 0;
  std::uint32_t count_ = 0;
  std::size_t free_ = 0;
  std::size_t keysAt_ = 0;  // where the bytes of the last key begin
  unsigned char previous_[kLongestKey];
  std::uint32_t previousUsed_ = 0;  // its bytes before the fill
};

}  // namespace zk::engine
