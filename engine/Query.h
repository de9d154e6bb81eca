// A query: the records of a table for which a condition holds, in the table's selected order.
//
// While it runs the table's file lock is held as a shared lock, so that nobody changes what is
// being read; other readers and queries go on.
#pragma once

#include <string_view>

#include "base/Memory.h"
#include "engine/Expression.h"
#include "engine/File.h"

namespace zk::engine {

class Table;

class Query {
 public:
  explicit Query(Table &table) noexcept : table_(table) {}
  // Unlocks. The table stays open, on the record where the query stood.
  ~Query();
  Query(const Query &) = delete;
  Query &operator=(const Query &) = delete;

  // An empty condition selects every record. 0, or the code of what is wrong with it. Throws
  // std::bad_alloc.
  int setCondition(std::string_view source);
  // Leaves the current record and locks the table. 0, 50, or an error.
  int begin() noexcept;
  // To the first and the next record that matches: 0, kEndOfFile, or an error.
  int first() noexcept;
  int next() noexcept;

 private:
  int toMatch(int status) noexcept;

  Table &table_;
  base::Owned<Expression> condition_;
  RangeLock records_;
  RangeLock behind_;
  bool scanning_ = false;
};

}  // namespace zk::engine
