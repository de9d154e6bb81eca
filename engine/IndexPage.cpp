#include "engine/IndexPage.h"

#include <algorithm>
#include <bit>

namespace zk::engine {
namespace {

constexpr std::size_t kLeafHead = 24;
constexpr std::size_t kLeafSpace = kIndexPageSize - kLeafHead;
constexpr std::uint32_t kLargestEntry = 8;

// An entry, with what lies behind it cut off.
std::uint64_t readEntry(const unsigned char *bytes, std::uint32_t size,
                        const unsigned char *pageEnd) {
  // In one piece, unless that goes past the page.
  if (bytes + 8 <= pageEnd) return readLittle64(bytes) & ~std::uint64_t{0} >> (64 - 8 * size);
  std::uint64_t entry = 0;
  for (std::uint32_t i = 0; i < size; ++i) entry |= static_cast<std::uint64_t>(bytes[i]) << (8 * i);
  return entry;
}

void writeEntry(unsigned char *bytes, std::uint32_t size, std::uint64_t entry) {
  for (std::uint32_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(entry >> (8 * i));
}

constexpr std::uint64_t maskOf(std::uint32_t bits) { return (std::uint64_t{1} << bits) - 1; }

std::uint32_t bitsFor(std::uint64_t largest) {
  std::uint32_t bits = 1;
  while (maskOf(bits) < largest) ++bits;
  return bits;
}

// How the entries of a leaf are packed.
struct LeafForm {
  std::uint32_t count;
  std::uint32_t entryBytes;
  std::uint32_t duplicateAt;  // bits of the record number before it
  std::uint32_t trailingAt;
  std::uint64_t recordMask;
  std::uint64_t duplicateMask;
  std::uint64_t trailingMask;

  // False when the page is no such leaf.
  bool read(const IndexPage &page) {
    const std::uint32_t recordBits = page.bytes[20];
    const std::uint32_t duplicateBits = page.bytes[21];
    const std::uint32_t trailingBits = page.bytes[22];
    count = page.count();
    entryBytes = page.bytes[23];
    duplicateAt = recordBits;
    trailingAt = recordBits + duplicateBits;
    if (!page.isLeaf() || count * entryBytes > kLeafSpace) return false;
    if (count == 0) return true;
    if (entryBytes == 0 || entryBytes > kLargestEntry || recordBits == 0 || recordBits > 32 ||
        trailingAt + trailingBits > 8 * entryBytes || duplicateBits > 8 || trailingBits > 8) {
      return false;
    }
    recordMask = maskOf(recordBits);
    duplicateMask = maskOf(duplicateBits);
    trailingMask = maskOf(trailingBits);
    return true;
  }

  // The two counts of an entry, of 8 bits at most.
  std::size_t duplicateOf(std::uint64_t entry) const {
    return static_cast<std::size_t>(entry >> duplicateAt & duplicateMask);
  }
  std::size_t trailingOf(std::uint64_t entry) const {
    return static_cast<std::size_t>(entry >> trailingAt & trailingMask);
  }
};

// The fill bytes at the end of a key. Whole words are looked at where there are.
std::uint32_t trailingFill(const unsigned char *key, const KeyLayout &layout) {
  constexpr std::uint64_t kEveryByte = 0x0101010101010101;
  std::uint32_t end = layout.length;
  for (; end >= 8; end -= 8) {
    const std::uint64_t other = readBig64(key + end - 8) ^ layout.fill * kEveryByte;
    if (other != 0) {
      return layout.length - end + static_cast<std::uint32_t>(std::countr_zero(other)) / 8;
    }
  }
  while (end > 0 && key[end - 1] == layout.fill) --end;
  return layout.length - end;
}

// The bytes that two keys begin with alike.
std::uint32_t sharedBytes(const unsigned char *a, const unsigned char *b, std::uint32_t length) {
  std::uint32_t i = 0;
  for (; i + 8 <= length; i += 8) {
    const std::uint64_t other = readBig64(a + i) ^ readBig64(b + i);
    if (other != 0) return i + static_cast<std::uint32_t>(std::countl_zero(other)) / 8;
  }
  while (i < length && a[i] == b[i]) ++i;
  return i;
}

// Keys are copied in whole pieces, past their end: the next key lies there and comes later.
constexpr std::size_t kPiece = 16;

void copyPieces(unsigned char *to, const unsigned char *from, std::size_t size) {
  std::size_t at = 0;
  do {
    unsigned char piece[kPiece];  // the two may overlap
    std::memcpy(piece, from + at, kPiece);
    std::memcpy(to + at, piece, kPiece);
    at += kPiece;
  } while (at < size);
}

// How many of the first `count` entries lie before the place. Which half to go on with is nothing
// that a processor could foresee: there is no branch.
template <typename Entries>
std::uint32_t countBehind(const Entries &entries, std::uint32_t count, const KeyBound &bound) {
  std::uint32_t low = 0;
  while (count > 0) {
    const std::uint32_t half = count / 2;
    const bool behind = bound.isBehind(entries.key(low + half), entries.record(low + half));
    low += behind ? half + 1 : 0;
    count = behind ? count - half - 1 : half;
  }
  return low;
}

}  // namespace

// ---- Places

KeyBound::KeyBound(const unsigned char *boundKey, std::size_t keyLength, std::uint32_t boundRecord,
                   bool behind) noexcept
    : key(boundKey), length(keyLength), record(boundRecord), behindEquals(behind) {
  unsigned char first[sizeof word] = {};
  std::memcpy(first, key, std::min(length, sizeof first));
  word = readBig64(first);
  if (length < sizeof word) mask = length == 0 ? 0 : mask << (64 - 8 * length);
}

bool KeyBound::restIsBehind(const unsigned char *other, std::uint32_t otherRecord) const noexcept {
  const int order = length > sizeof word
                        ? std::memcmp(other + sizeof word, key + sizeof word, length - sizeof word)
                        : 0;
  return order != 0 ? order < 0 : equalIsBehind(otherRecord);
}

// ---- Interior pages

bool InteriorEntries::open(const IndexPage &page, const KeyLayout &layout) noexcept {
  if (page.isLeaf() || page.count() == 0 || page.count() > capacity(layout)) return false;
  first_ = page.bytes + kInteriorHead;
  length_ = layout.length;
  count_ = page.count();
  return true;
}

void InteriorEntries::put(IndexPage &page, const KeyLayout &layout, std::uint32_t i,
                          const unsigned char *key, std::uint32_t record,
                          std::uint32_t child) noexcept {
  unsigned char *entry = page.bytes + kInteriorHead + i * (layout.length + 8);
  std::memmove(entry, key, layout.length);
  writeBig32(entry + layout.length, record);
  writeBig32(entry + layout.length + 4, child);
}

std::uint32_t InteriorEntries::find(const KeyBound &bound) const noexcept {
  return countBehind(*this, count_ - 1, bound);
}

// ---- Leaves, read

LeafKeys::~LeafKeys() {
  base::release(keys_);
  base::release(records_);
}

bool LeafKeys::reserve(std::uint32_t count, std::size_t length) noexcept {
  if (count > capacity_) {
    void *grown = base::reallocate(records_, count * sizeof(std::uint32_t));
    if (grown == nullptr) return false;
    records_ = static_cast<std::uint32_t *>(grown);
    capacity_ = count;
  }
  const std::size_t bytes = count * length + 2 * kPiece;
  if (bytes > keyBytes_) {
    void *grown = base::reallocate(keys_, bytes);
    if (grown == nullptr) return false;
    keys_ = static_cast<unsigned char *>(grown);
    keyBytes_ = bytes;
  }
  return true;
}

LeafKeys::Result LeafKeys::read(const IndexPage &page, const KeyLayout &layout) noexcept {
  clear();
  LeafForm form;
  if (!form.read(page)) return Result::kDamaged;
  const std::uint32_t count = form.count;
  if (!reserve(count, layout.length)) return Result::kNoMemory;
  length_ = layout.length;

  // What the loop needs, apart: it writes bytes, which could be anything.
  const std::size_t length = layout.length;
  const unsigned char fill = layout.fill;
  const unsigned char *const pageEnd = page.bytes + kIndexPageSize;
  const unsigned char *entries = page.bytes + kLeafHead;
  const std::uint32_t entryBytes = form.entryBytes;
  const unsigned char *const entriesEnd = entries + count * entryBytes;
  const unsigned char *stored = pageEnd;
  unsigned char *key = keys_;
  std::uint32_t *record = records_;
  std::size_t before = 0;  // bytes of the key before
  for (; entries != entriesEnd; entries += entryBytes, key += length) {
    const std::uint64_t entry = readEntry(entries, entryBytes, pageEnd);
    const std::size_t duplicate = form.duplicateOf(entry);
    const std::size_t trailing = form.trailingOf(entry);
    if (duplicate + trailing > length || duplicate > before) return Result::kDamaged;
    const std::size_t size = length - duplicate - trailing;
    if (size > static_cast<std::size_t>(stored - entriesEnd)) return Result::kDamaged;
    stored -= size;
    copyPieces(key, key - before, duplicate);
    if (stored + size + kPiece <= pageEnd) {
      copyPieces(key + duplicate, stored, size);
    } else {
      std::memcpy(key + duplicate, stored, size);
    }
    if (trailing > 0) std::memset(key + duplicate + size, fill, trailing);
    *record++ = static_cast<std::uint32_t>(entry & form.recordMask);
    before = length;
  }
  count_ = count;
  return Result::kDone;
}

// While the entries lie before the key, it is known how many bytes they share with it: an entry
// that shares more with the one before lies there as well.
LeafSearch::Result LeafSearch::find(const IndexPage &page, const KeyLayout &layout,
                                    const unsigned char *key) noexcept {
  LeafForm form;
  if (!form.read(page)) return Result::kDamaged;
  const std::size_t length = layout.length;
  const unsigned char *const pageEnd = page.bytes + kIndexPageSize;
  const unsigned char *entries = page.bytes + kLeafHead;
  const unsigned char *const entriesEnd = entries + form.count * form.entryBytes;
  const unsigned char *stored = pageEnd;
  std::size_t matched = 0;
  std::size_t before = 0;  // bytes of the key before
  for (at = 0; at < form.count; ++at, entries += form.entryBytes) {
    const std::uint64_t entry = readEntry(entries, form.entryBytes, pageEnd);
    const std::size_t duplicate = form.duplicateOf(entry);
    const std::size_t trailing = form.trailingOf(entry);
    if (duplicate + trailing > length || duplicate > before) return Result::kDamaged;
    const std::size_t size = length - duplicate - trailing;
    if (size > static_cast<std::size_t>(stored - entriesEnd)) return Result::kDamaged;
    stored -= size;
    before = length;
    if (duplicate > matched) continue;
    unsigned char byte = 0;
    for (matched = duplicate; matched < length; ++matched) {
      byte = matched < duplicate + size ? stored[matched - duplicate] : layout.fill;
      if (byte != key[matched]) break;
    }
    if (matched == length) {
      record = static_cast<std::uint32_t>(entry & form.recordMask);
      return Result::kFound;
    }
    if (byte > key[matched]) break;
  }
  return Result::kNotFound;
}

std::uint32_t LeafKeys::find(const KeyBound &bound) const noexcept {
  return countBehind(*this, count_, bound);
}

// ---- Leaves, written

void LeafWriter::begin(IndexPage &page, const KeyLayout &layout,
                       std::uint32_t largestRecord) noexcept {
  constexpr std::uint32_t kUsualEntry = 3;
  page_ = &page;
  layout_ = layout;
  countBits_ = bitsFor(layout.length);
  entryBytes_ = kUsualEntry;
  while (8 * entryBytes_ - 2 * countBits_ < 32 &&
         maskOf(8 * entryBytes_ - 2 * countBits_) < largestRecord) {
    ++entryBytes_;
  }
  recordBits_ = 8 * entryBytes_ - 2 * countBits_;
  if (recordBits_ > 32) recordBits_ = 32;
  count_ = 0;
  free_ = kLeafSpace;
  keysAt_ = kIndexPageSize;
  std::memset(page.bytes, 0, sizeof page.bytes);
}

bool LeafWriter::add(const unsigned char *key, std::uint32_t record) noexcept {
  if (record > maskOf(recordBits_)) return false;
  const std::uint32_t trailing = trailingFill(key, layout_);
  const std::uint32_t used = layout_.length - trailing;
  std::uint32_t duplicate = 0;
  if (count_ > 0) {
    // What the key before dropped is not shared: there are readers that do not fill it in.
    duplicate = std::min({sharedBytes(key, previous_, layout_.length), used, previousUsed_});
  }
  const std::size_t stored = layout_.length - duplicate - trailing;
  if (entryBytes_ + stored > free_) return false;
  const std::uint64_t entry = record | static_cast<std::uint64_t>(duplicate) << recordBits_ |
                              static_cast<std::uint64_t>(trailing) << (recordBits_ + countBits_);
  writeEntry(page_->bytes + kLeafHead + count_ * entryBytes_, entryBytes_, entry);
  keysAt_ -= stored;
  std::memcpy(page_->bytes + keysAt_, key + duplicate, stored);
  std::memcpy(previous_, key, layout_.length);
  previousUsed_ = used;
  free_ -= entryBytes_ + stored;
  ++count_;
  return true;
}

void LeafWriter::finish(std::uint16_t attributes, std::uint32_t left,
                        std::uint32_t right) noexcept {
  page_->setHead(attributes, count_, left, right);
  unsigned char *bytes = page_->bytes;
  writeLittle16(bytes + 12, static_cast<std::uint16_t>(free_));
  writeLittle32(bytes + 14, static_cast<std::uint32_t>(maskOf(recordBits_)));
  bytes[18] = static_cast<unsigned char>(maskOf(countBits_));
  bytes[19] = bytes[18];
  bytes[20] = static_cast<unsigned char>(recordBits_);
  bytes[21] = static_cast<unsigned char>(countBits_);
  bytes[22] = bytes[21];
  bytes[23] = static_cast<unsigned char>(entryBytes_);
}

}  // namespace zk::engine
