// A query: the records of a table for which a condition holds, in the table's selected order.
//
// While it runs the table's file lock is held as a shared lock, so that nobody changes what is
// being read; other readers and queries go on.
//
// Where the table's tags tell which records are in question (QueryPlan.h), the condition is
// evaluated for these alone and no other record is read. What is found is what a scan finds. Only
// an error can make a difference: a scan ends at a record for which the condition cannot be
// evaluated (-440), which tags may have ruled out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/Expression.h"
#include "engine/File.h"
#include "engine/RecordSet.h"

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

  // The records in question; null when that is all of them.
  const RecordSet *candidates() const noexcept { return planned_ ? &candidates_ : nullptr; }

 private:
  int toMatch(int status) noexcept;
  int toFirst() noexcept;
  int toNext() noexcept;
  int toCandidate(std::uint32_t previous) noexcept;

  Table &table_;
  base::Owned<Expression> condition_;
  RangeLock records_;
  RangeLock behind_;
  bool scanning_ = false;
  bool planned_ = false;
  RecordSet candidates_;
  // With a selected tag, the candidates in its order, and how many of them are done.
  base::Vector<std::uint32_t> order_;
  std::size_t done_ = 0;
};

}  // namespace zk::engine
