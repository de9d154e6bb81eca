// What one change of a table writes to one index file: collected in memory while the other writers
// are kept out, then written in one go. Until `begin`ning to write nothing has happened to the
// file.
//
// While it is written a mark stands in the directory's header (IndexState); a writer that dies
// leaves it there, and the index is known to be behind its table. In exclusive mode the mark stands
// from the first change to the next flush.
#pragma once

#include <cstdint>

#include "base/Memory.h"
#include "engine/File.h"
#include "engine/IndexHeader.h"
#include "engine/IndexPage.h"

namespace zk::engine {

class IndexFile;
class Tag;

class IndexChange {
 public:
  explicit IndexChange(IndexFile &index) noexcept : index_(index) {}
  IndexChange(const IndexChange &) = delete;
  IndexChange &operator=(const IndexChange &) = delete;

  // Keeps other writers out, until `finish` or `abandon`. 0, 50, or -310 when the index is behind
  // its table.
  int begin() noexcept;
  // The table has so many records now, with the other writers kept out. 0, or -310 when the index
  // was left with another number.
  int expectRecords(std::uint32_t count) noexcept;
  bool begun() const noexcept { return begun_; }

  // ---- Collected in memory

  // Pages as they will be.
  int readPage(std::uint32_t offset, IndexPage &page) noexcept;
  int putPage(std::uint32_t offset, const IndexPage &page) noexcept;
  // A place for a page, which has to be put then: a free one, or behind the end of the file.
  int allocatePage(std::uint32_t &offset) noexcept;
  int freePage(std::uint32_t offset) noexcept;
  std::uint32_t rootOf(const Tag &tag) const noexcept;
  int setRoot(Tag &tag, std::uint32_t root) noexcept;
  // The keys of the leaf that is being looked at.
  LeafKeys &leaf() noexcept { return leaf_; }

  // ---- Written, in this order

  // From here on the index counts as changing.
  int beginWriting() noexcept;
  // What makes the file longer: where space is short, this fails before anything is lost.
  int writeNewPages() noexcept;
  int writePages() noexcept;
  // Ends the change, which added so many records to the table.
  int finish(std::uint32_t added) noexcept;

  // Forgets what was collected, while no page but new ones was written.
  void abandon() noexcept;
  // Ends a change that cannot be finished: the index does not tell all of the table, which
  // everybody sees until it is repaired.
  void fail() noexcept;

  // In exclusive mode: takes the mark away that the changes since the last time left.
  int settle(std::uint32_t recordCount) noexcept;
  // The file was replaced.
  void forget() noexcept;

 private:
  struct ChangedPage {
    std::uint32_t offset;
    bool isNew;  // behind the end of the file
    IndexPage page;
  };
  struct ChangedRoot {
    Tag *tag;
    std::uint32_t root;
  };

  ChangedPage *changed(std::uint32_t offset) noexcept;
  int writeThose(bool newOnes) noexcept;
  int end() noexcept;

  IndexFile &index_;
  RangeLock lock_;
  bool begun_ = false;
  bool writing_ = false;
  bool unsettled_ = false;
  IndexState state_;
  std::uint32_t recordCount_ = 0;  // of the table, as the index was left with
  std::uint64_t fileEnd_ = 0;
  base::Vector<ChangedPage> pages_;
  base::Vector<ChangedRoot> roots_;
  LeafKeys leaf_;
};

}  // namespace zk::engine
