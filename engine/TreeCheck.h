// Checks one tree of an index file from its root to its keys: the pages and what they say of each
// other. It reads every page by itself and believes nothing that another page says.
#pragma once

#include <algorithm>
#include <cstdint>

#include "base/Memory.h"
#include "engine/CheckFindings.h"
#include "engine/File.h"
#include "engine/IndexPage.h"

namespace zk::engine {

// Which pages of an index file are in use.
class PageUse {
 public:
  // Of as many as can be named. Throws std::bad_alloc.
  explicit PageUse(std::uint64_t fileLength)
      : claimed_(
            static_cast<std::size_t>(std::min(fileLength, kNamedBytes) / kIndexPageSize / 8 + 1)) {}
  bool isClaimed(std::uint32_t offset) const noexcept {
    return (claimed_[offset / kIndexPageSize / 8] & bitOf(offset)) != 0;
  }
  // For a place within the file. False when it is in use already.
  bool claim(std::uint32_t offset) noexcept {
    if (isClaimed(offset)) return false;
    claimed_[offset / kIndexPageSize / 8] |= bitOf(offset);
    return true;
  }

 private:
  static constexpr std::uint64_t kNamedBytes = std::uint64_t{1} << 32;
  static unsigned char bitOf(std::uint32_t offset) {
    return static_cast<unsigned char>(1 << offset / kIndexPageSize % 8);
  }
  base::Vector<unsigned char> claimed_;
};

// An index file that is being checked.
struct CheckedIndex {
  File file;
  std::uint64_t fileLength = 0;
  base::Owned<PageUse> pages;
};

// A key of a tree, and the page where it lies.
struct TreeKey {
  const unsigned char *key;
  std::uint32_t record;
  std::uint32_t page;
};

// Takes the keys of a tree from the first to the last, up to where they do not ascend or cannot be
// read.
class KeySink {
 public:
  virtual int take(const TreeKey &key) = 0;

 protected:
  ~KeySink() = default;
};

class TreeCheck {
 public:
  // `name` says in findings whose tree it is. With `comparable` false the fill byte of the keys is
  // not known, and nothing is said about their order.
  TreeCheck(CheckedIndex &index, Findings &findings, const char *name, const KeyLayout &layout,
            bool comparable) noexcept;

  // 0, a code of the sink's, -70, -920. Throws std::bad_alloc.
  int run(std::uint32_t root, KeySink &sink);

  // Whether the sink was given all the keys, in order.
  bool sound() const noexcept { return damages_ == 0 && ordered_; }

 private:
  static constexpr std::uint32_t kDepthLimit = 64;

  // An interior page on the way to the page that is being looked at.
  struct Level {
    std::uint32_t offset = 0;
    IndexPage page;
    InteriorEntries entries;
    std::uint32_t at = 0;
    // When the child at `at` was begun.
    std::uint64_t keysBefore = 0;
    std::uint32_t damagesBefore = 0;
  };
  // The page that was met last at a depth.
  struct Row {
    std::uint32_t page = kNoPage;
    std::uint32_t right = kNoPage;
    bool known = true;  // false behind a page that could not be read
  };

  int visit(std::uint32_t offset, KeySink &sink);
  int descend(std::uint32_t offset, const IndexPage &page);
  int visitLeaf(std::uint32_t offset, const IndexPage &page, KeySink &sink);
  void checkHead(std::uint32_t offset, const IndexPage &page) noexcept;
  void checkLeafSpace(std::uint32_t offset, const IndexPage &page) noexcept;
  void checkKey(std::uint32_t offset, std::uint32_t i) noexcept;
  void finishChild(Level &level) noexcept;
  void checkRowEnds() noexcept;
  void damage() noexcept;
  std::uint32_t depth() const noexcept { return static_cast<std::uint32_t>(levels_.size()); }

  CheckedIndex &index_;
  Findings &findings_;
  const char *const name_;
  const KeyLayout layout_;
  const bool comparable_;

  base::Vector<Level> levels_;
  Row rows_[kDepthLimit];
  std::uint32_t leafDepth_ = kDepthLimit;
  LeafKeys leaf_;
  unsigned char lastKey_[kLongestKey];
  std::uint32_t lastRecord_ = 0;
  std::uint64_t keys_ = 0;
  std::uint32_t damages_ = 0;
  bool ordered_ = true;
};

}  // namespace zk::engine
