// An open index file: its tags, and its pages as they are read. (Changes: IndexChange.h.)
//
// A compound file (extension CDX) has a directory of tags at its beginning; a single-tag file
// (extension IDX) has its one tag's header there, and the tag takes the file's name.
#pragma once

#include <cstdint>

#include "base/Memory.h"
#include "engine/File.h"
#include "engine/IndexHeader.h"
#include "engine/IndexChange.h"
#include "engine/IndexPage.h"
#include "engine/IndexPageCache.h"
#include "engine/Tag.h"

namespace zk::engine {

class Table;

class IndexFile {
 public:
  explicit IndexFile(Table &table) noexcept : table_(table), cache_(file_), change_(*this) {}
  IndexFile(const IndexFile &) = delete;
  IndexFile &operator=(const IndexFile &) = delete;

  // Opens the file of that native path with the tags that it lists. 0; -60; -310 for anything that
  // is not an index. One that is behind its table opens all the same. Throws std::bad_alloc.
  int open(const char *path, OpenMode mode);
  // The same file, which was replaced on the disk: with tags of its own. When that fails the old
  // tags stay, to be written anew, and it counts as behind its table.
  int reopen() noexcept;

  Table &table() const noexcept { return table_; }
  File &file() noexcept { return file_; }
  const base::String &path() const noexcept { return file_.path(); }
  const base::Vector<base::Owned<Tag>> &tags() const noexcept { return tags_; }
  IndexLayout layout() const noexcept { return layout_; }
  IndexChange &change() noexcept { return change_; }

  // Looks whether another program changed the file since the last call; then everything that was
  // read before counts as old, which `version` tells. kLocked while a change is being written, and
  // when one never was finished or records came without the index; -310 when that is known.
  int refresh() noexcept;
  // Whether the index can be used, as far as is known.
  int checkUsable() noexcept { return behind_ ? fallBehind() : kOk; }
  // Keeps writers out until `lock` is released, or where no lock can be had, waits for the one that
  // is at work. 0, 50.
  int waitForWriters(RangeLock &lock) noexcept;
  // Changes with everything that is written, by anybody.
  std::uint64_t version() const noexcept { return version_; }
  // Changes with what other programs write.
  std::uint64_t foreignVersion() const noexcept { return foreignVersion_; }

  // Whether it is known not to tell all of the table: every use is -310 until it is repaired.
  bool behind() const noexcept { return behind_; }
  // Notes and reports that.
  int fallBehind() noexcept;

  // A page of the file, checked for its place. 0, -70, -310.
  int readPage(std::uint32_t offset, IndexPage &page) noexcept;
  // The same without a copy where there is one already: `page` is that, valid until the next page
  // is read, or `room`.
  int viewPage(std::uint32_t offset, IndexPage &room, const IndexPage *&page) noexcept;
  // No index has more pages than its file: the bound of every walk.
  std::uint32_t pageLimit() const noexcept {
    return static_cast<std::uint32_t>(fileLength_ / kIndexPageSize);
  }
  int damaged() noexcept { return corruptIndex(file_); }

 private:
  friend class IndexChange;

  int findOutWhetherBehind() noexcept;
  int noticeChange(const IndexState &state) noexcept;
  int readDirectory(const IndexHeader &header);
  int addTags(const LeafKeys &names);
  int addTag(std::string_view name, std::uint32_t offset);

  Table &table_;
  File file_;
  std::uint64_t fileLength_ = 0;
  IndexState state_;
  IndexPageCache cache_;
  std::uint64_t version_ = 1;
  std::uint64_t foreignVersion_ = 1;
  bool behind_ = false;
  IndexLayout layout_ = IndexLayout::kCompound;
  IndexChange change_;
  base::Vector<base::Owned<Tag>> tags_;
};

}  // namespace zk::engine
