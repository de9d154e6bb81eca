#include "engine/IndexPage.h"

#include <algorithm>
#include <bit>

namespace zk::engine {
namespace {

constexpr std::size_t kLeafHead = 24;
constexpr std::size_t kLeafSpace = kIndexPageSize - kLeafHead;
constexpr std::uint32_t kLargestEntry = 8;

std::uint64_t readEntry(const unsigned char *bytes, std::uint32_t size) {
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

}  // namespace

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
  if (count * length > keyBytes_) {
    void *grown = base::reallocate(keys_, count * length);
    if (grown == nullptr) return false;
    keys_ = static_cast<unsigned char *>(grown);
    keyBytes_ = count * length;
  }
  return true;
}

LeafKeys::Result LeafKeys::read(const IndexPage &page, const KeyLayout &layout) noexcept {
  clear();
  const std::uint32_t count = page.count();
  const std::uint32_t recordBits = page.bytes[20];
  const std::uint32_t duplicateBits = page.bytes[21];
  const std::uint32_t trailingBits = page.bytes[22];
  const std::uint32_t entryBytes = page.bytes[23];
  if (!page.isLeaf() || count * entryBytes > kLeafSpace) return Result::kDamaged;
  if (count > 0 && (entryBytes == 0 || entryBytes > kLargestEntry || recordBits == 0 ||
                    recordBits > 32 || recordBits + duplicateBits + trailingBits > 8 * entryBytes ||
                    duplicateBits > 8 || trailingBits > 8)) {
    return Result::kDamaged;
  }
  if (!reserve(count, layout.length)) return Result::kNoMemory;
  length_ = layout.length;

  const std::size_t entriesEnd = kLeafHead + count * entryBytes;
  std::size_t keysAt = kIndexPageSize;
  unsigned char *key = keys_;
  for (std::uint32_t i = 0; i < count; ++i, key += length_) {
    const std::uint64_t entry = readEntry(page.bytes + kLeafHead + i * entryBytes, entryBytes);
    const auto duplicate = static_cast<std::size_t>(entry >> recordBits & maskOf(duplicateBits));
    const auto trailing =
        static_cast<std::size_t>(entry >> (recordBits + duplicateBits) & maskOf(trailingBits));
    if (duplicate + trailing > length_ || (i == 0 && duplicate != 0)) return Result::kDamaged;
    const std::size_t stored = length_ - duplicate - trailing;
    if (stored > keysAt - entriesEnd) return Result::kDamaged;
    keysAt -= stored;
    if (duplicate > 0) std::memcpy(key, key - length_, duplicate);
    std::memcpy(key + duplicate, page.bytes + keysAt, stored);
    std::memset(key + duplicate + stored, layout.fill, trailing);
    records_[i] = static_cast<std::uint32_t>(entry & maskOf(recordBits));
  }
  count_ = count;
  return Result::kDone;
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
