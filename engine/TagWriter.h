// Writes the pages of a new index file: trees of full pages, from keys that come in order.
//
// Leaves lie in the file from left to right; an interior page gets its place when its first child
// is full, so that it lies among its children.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Memory.h"
#include "engine/File.h"
#include "engine/IndexPage.h"

namespace zk::engine {

// The end of a file that grows, in memory. What is put where the file is already written goes
// there at once.
class PageWriter {
 public:
  // Throws std::bad_alloc.
  explicit PageWriter(File &file);

  // The place of `size` bytes that will be put later. Should the file be too large for that, the
  // next put or finish fails.
  std::uint32_t allocate(std::size_t size = kIndexPageSize) noexcept;
  int put(std::uint32_t place, const void *bytes, std::size_t size) noexcept;
  int finish() noexcept;

 private:
  int writeWindow() noexcept;

  File &file_;
  base::Vector<unsigned char> window_;
  std::uint64_t windowAt_ = 0;
  std::uint64_t end_ = 0;
};

class TreeWriter {
 public:
  // `firstPage` is the place of the leftmost leaf. No record number may be larger than was said.
  TreeWriter(PageWriter &pages, const KeyLayout &layout, std::uint32_t largestRecord,
             std::uint32_t firstPage) noexcept;

  // In ascending order. Throws std::bad_alloc.
  int add(const unsigned char *key, std::uint32_t record);
  // Writes what is left. Throws std::bad_alloc.
  int finish(std::uint32_t &root);

  // The key of the last add; only when there was one.
  const unsigned char *lastKey() const noexcept { return leaf_.lastKey(); }

 private:
  // An interior page in the making.
  struct Level {
    IndexPage page;
    std::uint32_t place;
    std::uint32_t left;
    std::uint32_t count;
  };

  int finishLeaf(std::uint16_t attributes, std::uint32_t right) noexcept;
  int addChild(std::size_t level, const unsigned char *key, std::uint32_t record,
               std::uint32_t child);
  int finishLevel(std::size_t level, std::uint32_t right);

  PageWriter &pages_;
  const KeyLayout layout_;
  const std::uint32_t largestRecord_;
  IndexPage leafPage_;
  LeafWriter leaf_;
  std::uint32_t leafPlace_;
  std::uint32_t leafLeft_ = kNoPage;
  std::uint32_t lastRecord_ = 0;
  base::Vector<Level> levels_;  // the first above the leaves
};

}  // namespace zk::engine
