// Checks one index file of a table: header, tag directory, every tag, and which pages are in use.
//
// It opens the file by itself, since a damaged one does not open as an index.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/CheckFindings.h"
#include "engine/IndexBuilder.h"
#include "engine/IndexHeader.h"
#include "engine/TreeCheck.h"

namespace zk::engine {

class Table;

class IndexCheck {
 public:
  IndexCheck(Table &table, Findings &findings) noexcept : table_(table), findings_(findings) {}

  // Opens the file of that native path, checks it and closes it. 0; -60 when it cannot be opened,
  // -70 -120 -920. Throws std::bad_alloc.
  int run(const char *path, OpenMode mode);

  // Whether something was found that goes away when the file is written anew.
  bool damaged() const noexcept { return damaged_; }
  // Null, or why it must not be written anew.
  const char *rebuildObstacle() const noexcept { return obstacle_; }
  // What to write it from, when nothing is in the way.
  TagDefinitions &definitions() noexcept { return definitions_; }
  IndexLayout layout() const noexcept { return layout_; }

 private:
  struct TagPlace {
    base::String name;
    std::uint32_t offset;
  };
  class NameSink;

  int checkFile();
  void checkState(const IndexState &state) noexcept;
  int checkDirectory(const IndexHeader &header);
  int readHeader(std::uint32_t offset, IndexHeader &header, bool &good);
  int checkTag(const TagPlace &place);
  int checkTagTree(const IndexHeader &header, const char *name);
  void addDefinition(const char *name, const IndexHeader &header);
  void claimHeader(std::uint32_t offset, const char *name) noexcept;
  int checkFreePages(std::uint32_t first) noexcept;

  Table &table_;
  Findings &findings_;
  CheckedIndex index_;
  base::Vector<TagPlace> tags_;
  TagDefinitions definitions_;
  IndexLayout layout_ = IndexLayout::kCompound;
  const char *obstacle_ = nullptr;
  bool damaged_ = false;
};

}  // namespace zk::engine
