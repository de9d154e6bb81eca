// Pack: the live records of a table, and their memos, written to a new pair of files; then its open
// indexes, written anew. From before the files are replaced until an index is written a mark tells
// that it is behind the table.
#pragma once

#include <cstdint>

#include "base/Memory.h"
#include "engine/FilePair.h"
#include "engine/Memo.h"

namespace zk::engine {

class Table;

class Packer {
 public:
  explicit Packer(Table &table) noexcept : table_(table), files_(table_context()) {}
  // 0 and the table is the packed one, positioned nowhere; or a code and the table is as it was.
  // Throws std::bad_alloc.
  int run();

 private:
  Context &table_context() const noexcept;
  int copyAll();
  int copyHeader();
  int copyRecords();
  int copyMemos(char *record);
  int finishFile();
  int replaceFiles();
  int markIndexes() noexcept;

  Table &table_;
  FilePair files_;
  MemoText memoBuffer_;
  std::uint32_t kept_ = 0;
  std::uint64_t end_ = 0;  // of the new table file so far
};

}  // namespace zk::engine
