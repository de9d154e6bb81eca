// A search that goes from one record that matches to the next, a call at a time: between the calls
// the table is the caller's, to read, change or move in, and nothing is locked. It goes on from the
// current record.
//
// Unlike a query (Query.h) it looks at every record of the order, and what other programs change
// meanwhile is seen as in any walk.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/Expression.h"

namespace zk::engine {

class Table;

class Locate {
 public:
  // Use begin; this is for its machinery. Throws std::bad_alloc.
  Locate(Table &table, std::int32_t tagNumber, std::string_view condition);
  Locate(const Locate &) = delete;
  Locate &operator=(const Locate &) = delete;

  // Makes a search the table's one and goes to its first record, in the selected order: 0,
  // kEndOfFile, or an error. An empty condition selects every record; one that is wrong leaves the
  // table without a search.
  static int begin(Table &table, std::int32_t tagNumber, std::string_view condition) noexcept;

  // To the next record that matches: 0, kEndOfFile, or an error.
  int next() noexcept;

  // The number under which the caller knows the order, to select it for `next`.
  std::int32_t tagNumber() const noexcept { return tagNumber_; }

 private:
  static int start(Table &table, std::int32_t tagNumber, std::string_view condition);
  int compile();
  int toMatch(int status) noexcept;
  void reportProgress() noexcept;

  Table &table_;
  const std::int32_t tagNumber_;
  const base::String source_;
  base::Owned<Expression> condition_;  // null: every record
  bool readsOtherTable_ = false;
  std::int64_t seen_ = 0;  // records that were looked at
};

}  // namespace zk::engine
