// Which records a query must look at: those that the table's tags leave in question.
//
// A relation between the key expression of a tag and a part that is the same for all records, on
// either side, is a range of the tag's keys, and its records are a set. .AND. intersects the ranges
// of one tag, and sets; .OR. unites sets. The rest of a condition is unknown, which .AND. passes
// over and which makes .OR. unknown. A set has every record that matches and may have others: the
// condition is evaluated for each.
//
// Key expressions are recognised by their programs, so spelling does not matter. Tags that may lack
// records (a filter, or the unique option: such tags may keep one record of equal keys) do not
// count, nor do keys that change without their record (DATE(), TIME(), RECCOUNT()).
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Memory.h"
#include "engine/ExpressionProgram.h"
#include "engine/RecordSet.h"
#include "engine/Tag.h"

namespace zk::engine {

class Expression;
class Table;

class QueryPlan {
 public:
  // `condition` is logical and in a run (beginRun). The table's records and indexes stay as they
  // are while the plan is made and used.
  QueryPlan(Table &table, Expression &condition) noexcept : table_(table), condition_(condition) {}

  // Puts the records in question into `records`, and when a tag is selected, those of them that are
  // in it also into `order`, as it has them. False, with nothing reported, when a scan is better:
  // nothing is known, the set would be a large part of the table, a tag cannot be read, or memory
  // is refused. The positions of the table's tags are lost.
  bool make(RecordSet &records, base::Vector<std::uint32_t> &order) noexcept;

 private:
  struct TagRange {
    Tag *tag;
    KeyRange keys;
  };
  // A value that the program, as far as it was read, leaves on the stack. A condition's records in
  // question are in all of the ranges, which have tags of their own each, and in the set.
  struct Part {
    std::size_t begin = 0;  // its first instruction
    bool constant = false;
    bool hasSet = false;
    RecordSet set;
    base::Vector<TagRange> ranges;

    void forget() noexcept;
  };
  // An .AND., .OR. or IIF() that is not at its end: what came before, and where the end is.
  struct Branch {
    Op op;
    std::size_t end;
    Part left;
  };

  bool findTags();
  bool findRecords(RecordSet &records);
  bool putInOrder(const RecordSet &records, base::Vector<std::uint32_t> &order);
  void read(const Instruction &instruction, std::size_t at);
  void open(const Instruction &instruction);
  void close();
  void relate(const Instruction &instruction, std::size_t end);
  bool findRange(const Instruction &relation, const Part &left, const Part &right, std::size_t end,
                 TagRange &range);
  void restrict(Part &part, const TagRange &range);
  void restrict(Part &part, RecordSet &&set);
  bool collect(Part &part);
  void collect(const TagRange &range, Part &part);

  Tag *tagOf(std::size_t begin, std::size_t end) const noexcept;
  Part pop();
  void muteUntil(std::size_t end) noexcept;
  bool few(const Part &part) const noexcept;

  Table &table_;
  Expression &condition_;
  base::Vector<Tag *> tags_;
  base::Vector<Part> parts_;
  base::Vector<Branch> branches_;
  std::size_t mutedUntil_ = 0;  // what is known of the parts before this instruction is of no use
  std::uint32_t count_ = 0;     // the table's records
  std::uint32_t most_ = 0;      // a set of more is no better than a scan
  KeyRange selectedKeys_;       // what matches has such keys in the selected tag
  bool failed_ = false;
};

}  // namespace zk::engine
