// Checks a table file and its memo file: the header against the file's length, then every record.
#pragma once

#include <cstdint>

#include "base/Memory.h"
#include "engine/CheckFindings.h"
#include "engine/MemoCheck.h"

namespace zk::engine {

class Table;

class TableCheck {
 public:
  TableCheck(Table &table, Findings &findings) noexcept : table_(table), findings_(findings) {}

  // 0, -70 -120 -920. Throws std::bad_alloc.
  int run();

  // After run: whether `mend` has something to do, which is to make the header count the whole
  // records of a file that is shorter than it says, and to put the end mark behind the last.
  bool mendable() const noexcept { return countIsLarge_ || tornTail_; }
  int mend() noexcept;

 private:
  int checkLength() noexcept;
  int checkRecords(MemoCheck *memos);
  int checkRecord(std::uint32_t number, MemoCheck *memos);
  void checkCell(const Field &field, const char *bytes, std::uint32_t number) noexcept;

  Table &table_;
  Findings &findings_;
  std::uint32_t records_ = 0;  // whole ones that the header counts
  bool countIsLarge_ = false;
  bool tornTail_ = false;
};

}  // namespace zk::engine
