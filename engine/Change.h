// One change of a table: memo texts, record, index keys and count, begun and ended together under
// the locks that it needs. Everything that makes a change whole for other programs and after a kill
// is here.
//
// Order of locks: record, append, memo, index files. Order of writing: memo blocks; the indexes'
// marks; the record; the pages of the indexes; the count that makes an appended record exist; the
// end of the marks.
#pragma once

#include <cstdint>

#include "engine/File.h"

namespace zk::engine {

class IndexUpdate;
class Table;

class Change {
 public:
  explicit Change(Table &table) noexcept : table_(table) {}

  // Writes the record buffer behind the last record; `number` is its number then.
  int append(std::uint32_t &number) noexcept;
  // Writes the record buffer over record `number`.
  int update(std::uint32_t number) noexcept;

 private:
  bool changesMemos() const noexcept;
  int lockMemos() noexcept;
  int writeMemos() noexcept;
  int appendRecord(std::uint32_t number) noexcept;
  int appendIndexed(std::uint32_t number) noexcept;
  int updateIndexed(std::uint32_t number) noexcept;
  int overwriteRecord(std::uint32_t number, IndexUpdate &indexes) noexcept;
  std::uint64_t recordLockByte(std::uint32_t number) const noexcept;
  int finish(int status) noexcept;

  Table &table_;
  RangeLock lock_;  // record or append
  RangeLock memoLock_;
};

}  // namespace zk::engine
