// An open index file: its tags, and its pages as they are read.
//
// A compound file (extension CDX) has a directory of tags at its beginning; a single-tag file
// (extension IDX) has its one tag's header there, and the tag takes the file's name.
#pragma once

#include <cstdint>

#include "base/Memory.h"
#include "engine/File.h"
#include "engine/IndexHeader.h"
#include "engine/IndexPage.h"
#include "engine/Tag.h"

namespace zk::engine {

class Table;

class IndexFile {
 public:
  explicit IndexFile(Table &table) noexcept : table_(table) {}
  IndexFile(const IndexFile &) = delete;
  IndexFile &operator=(const IndexFile &) = delete;

  // Opens the file of that native path with the tags that it lists. 0; -60; -310 for anything that
  // is not an index. Throws std::bad_alloc.
  int open(const char *path, OpenMode mode);

  Table &table() const noexcept { return table_; }
  File &file() noexcept { return file_; }
  const base::String &path() const noexcept { return file_.path(); }
  const base::Vector<base::Owned<Tag>> &tags() const noexcept { return tags_; }

  // Looks whether another program changed the file since the last call; then everything that was
  // read before counts as old, which `version` tells.
  int refresh() noexcept;
  std::uint64_t version() const noexcept { return version_; }

  // A page of the file, checked for its place. 0, -70, -310.
  int readPage(std::uint32_t offset, IndexPage &page) noexcept;
  // No index has more pages than its file: the bound of every walk.
  std::uint32_t pageLimit() const noexcept {
    return static_cast<std::uint32_t>(fileLength_ / kIndexPageSize);
  }
  int damaged() noexcept { return corruptIndex(file_); }

 private:
  int readDirectory(const IndexHeader &header);
  int addTags(const LeafKeys &names);
  int addTag(std::string_view name, std::uint32_t offset);

  Table &table_;
  File file_;
  std::uint64_t fileLength_ = 0;
  std::uint32_t counter_ = 0;
  std::uint64_t version_ = 1;
  base::Vector<base::Owned<Tag>> tags_;
};

}  // namespace zk::engine
