// Puts keys into a tag and takes them out. What changes is collected in the index file's change
// (IndexChange.h), which has begun.
//
// A leaf whose keys no longer fit one page is split: in the middle, or, when the key is the last or
// first of the tag, so that the old page stays full. A leaf that became empty leaves the tree and
// is used again; leaves that only have few keys left are not joined.
#pragma once

#include <cstdint>

#include "engine/IndexChange.h"
#include "engine/IndexPage.h"

namespace zk::engine {

class IndexFile;
class Tag;

class TagEditor {
 public:
  TagEditor(IndexFile &index, Tag &tag) noexcept;

  // 0; -910 when the entry is there already, or is not there to be removed; -310 for a damaged
  // page; -70 -120 -920.
  int insert(const unsigned char *key, std::uint32_t record) noexcept;
  int remove(const unsigned char *key, std::uint32_t record) noexcept;

  // Whether the key is in the tag for a record other than `record`.
  int hasKeyOfOther(const unsigned char *key, std::uint32_t record, bool &result) noexcept;

 private:
  static constexpr int kDepthLimit = 64;
  // One key more than a page holds makes two pages, or three around a large key; pages of other
  // writers may be denser than this library packs them.
  static constexpr std::uint32_t kMostParts = 8;

  // Entries of an interior page, as they lie there: key, record, child.
  struct Children {
    unsigned char bytes[kIndexPageSize + kMostParts * (kLongestKey + 8)];
    std::uint32_t count = 0;
  };
  // The keys of the leaf with one more or one less.
  struct EditedLeaf;

  int toLeaf(const unsigned char *key, std::uint32_t record) noexcept;
  int readLeaf(std::uint32_t offset) noexcept;
  std::uint32_t placeOf(const unsigned char *key, std::uint32_t record) const noexcept;
  bool isAt(std::uint32_t at, const unsigned char *key, std::uint32_t record) const noexcept;

  int replaceLeaf(const EditedLeaf &keys) noexcept;
  int divide(const EditedLeaf &keys) noexcept;
  bool pack(const EditedLeaf &keys, std::uint32_t from, std::uint32_t to, IndexPage &page) noexcept;
  bool packParts(const EditedLeaf &keys, const std::uint32_t *sizes, std::uint32_t count) noexcept;
  int putParts(const EditedLeaf &keys) noexcept;

  int replaceChild(int level, const Children &children) noexcept;
  int putInterior(std::uint32_t offset, std::uint16_t attributes, std::uint32_t left,
                  std::uint32_t right, const unsigned char *entries, std::uint32_t count) noexcept;
  int splitInterior(int level, const Children &all, bool atEnd) noexcept;
  int growRoot(const Children &children) noexcept;
  int makeRoot(std::uint32_t offset) noexcept;
  int unlink(std::uint32_t offset, std::uint32_t left, std::uint32_t right) noexcept;
  int setSibling(std::uint32_t offset, bool right, std::uint32_t sibling) noexcept;
  void addChild(Children &children, const unsigned char *key, std::uint32_t record,
                std::uint32_t page) const noexcept;
  std::size_t entrySize() const noexcept { return layout_.length + 8; }

  IndexFile &index_;
  IndexChange &change_;
  Tag &tag_;
  const KeyLayout layout_;

  // The way from the root to the leaf.
  struct Step {
    std::uint32_t page;
    std::uint32_t child;  // the entry that was followed
  };
  Step path_[kDepthLimit];
  int depth_ = 0;  // interior pages on the way
  std::uint32_t leafPage_ = kNoPage;
  std::uint32_t leafLeft_ = kNoPage;
  std::uint32_t leafRight_ = kNoPage;

  // The pages that replace a leaf, and how many keys each has.
  IndexPage parts_[kMostParts];
  std::uint32_t sizes_[kMostParts];
  std::uint32_t partCount_ = 0;
};

}  // namespace zk::engine
