// What the change of one record means for the table's open indexes: which keys leave and enter
// which tags, and writing that together with the record (Change.h).
//
// Everything that can be refused (an expression that overflows, a key that a unique tag has, a
// lock, memory) is refused by `collect`, before anything is written.
#pragma once

#include <cstdint>

#include "engine/Index.h"

namespace zk::engine {

class Table;
class TagEditor;

class IndexUpdate {
 public:
  explicit IndexUpdate(Table &table) noexcept : table_(table) {}
  // Gives up what was begun and not finished.
  ~IndexUpdate();
  IndexUpdate(const IndexUpdate &) = delete;
  IndexUpdate &operator=(const IndexUpdate &) = delete;

  // The record buffer is to be appended as record `number`; the record count is part of every
  // index's state, so all of them are concerned.
  int collectAppend(std::uint32_t number) noexcept;
  // The record buffer is to be written over record `number`. The keys that leave are those of the
  // record as it is stored.
  int collectUpdate(std::uint32_t number) noexcept;

  // In this order: before the record, after the record and before the count, after the count.
  int begin() noexcept;
  int writePages() noexcept;
  int finish() noexcept;
  // After `begin`: the record is neither the old nor the new one.
  void loseRecord() noexcept { step_ = Step::kPages; }

 private:
  enum class Step { kCollecting, kBegun, kPages, kDone };

  int evaluateAll(std::uint32_t number, bool stored) noexcept;
  bool dropUnchanged() noexcept;
  int collect(std::uint32_t number) noexcept;
  int collectTag(IndexFile &index, Tag &tag, std::uint32_t number) noexcept;
  int keyIsMissing(IndexFile &index, Tag &tag, TagEditor &editor, std::uint32_t number) noexcept;
  int mismatch(IndexFile &index) noexcept;
  template <typename Operation>
  int forEachBegun(Operation operation) noexcept;

  Table &table_;
  Step step_ = Step::kCollecting;
  bool appending_ = false;
};

}  // namespace zk::engine
