#include "engine/QueryPlan.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "base/Guard.h"
#include "engine/Error.h"
#include "engine/Expression.h"
#include "engine/Table.h"

namespace zk::engine {
namespace {

constexpr std::uint32_t kLeastMost = 256;
// With so few records in question, or this part of the table, another range is not worth its walk.
constexpr std::uint32_t kFew = 16;
constexpr std::uint32_t kFewPart = 256;

// ---- Programs

enum class Effect { kPush, kChange, kReduce };

// What an instruction other than a jump does to the stack.
Effect effectOf(Op op) {
  switch (op) {
    case Op::kNumber:
    case Op::kLogical:
    case Op::kText:
    case Op::kTextField:
    case Op::kMemoField:
    case Op::kNumberField:
    case Op::kDateField:
    case Op::kLogicalField:
    case Op::kDate:
    case Op::kDel:
    case Op::kDeleted:
    case Op::kRecordCount:
    case Op::kRecordNumber:
    case Op::kTime:
      return Effect::kPush;
    case Op::kAdd:
    case Op::kSubtract:
    case Op::kMultiply:
    case Op::kDivide:
    case Op::kPower:
    case Op::kAddDays:
    case Op::kDaysTo:
    case Op::kSubtractDays:
    case Op::kDaysBetween:
    case Op::kJoin:
    case Op::kJoinTrimmed:
    case Op::kContained:
    case Op::kCompareNumbers:
    case Op::kCompareTexts:
    case Op::kCompareLogicals:
      return Effect::kReduce;
    default:
      return Effect::kChange;
  }
}

bool isJump(Op op) {
  return op == Op::kSkipUnlessTrue || op == Op::kSkipIfTrue || op == Op::kJumpIfFalse ||
         op == Op::kJump;
}

bool isField(Op op) {
  return op == Op::kTextField || op == Op::kMemoField || op == Op::kNumberField ||
         op == Op::kDateField || op == Op::kLogicalField;
}

// The same for every record within one run; of the values that are pushed.
bool isConstant(Op op) {
  return op == Op::kNumber || op == Op::kLogical || op == Op::kText || op == Op::kDate ||
         op == Op::kTime;
}

// Whether `part`, an instruction of a program that begins `shift` later, does what `key` does.
bool same(const Instruction &part, const Instruction &key, std::size_t shift) {
  if (part.op != key.op || part.relation != key.relation || part.second != key.second) return false;
  if (isJump(key.op)) return part.first == key.first + shift;
  if (part.first != key.first) return false;
  if (isField(key.op)) return part.field == key.field;
  if (key.op == Op::kNumber) return part.number == key.number;
  if (key.op == Op::kLogical) return part.logical == key.logical;
  if (key.op == Op::kText) {
    return std::string_view(part.text, part.second) == std::string_view(key.text, key.second);
  }
  return true;
}

bool has(const Program &program, std::initializer_list<Op> ops) {
  return std::any_of(program.code.begin(), program.code.end(), [ops](const Instruction &each) {
    return std::find(ops.begin(), ops.end(), each.op) != ops.end();
  });
}

const Field *onlyField(const Program &program) {
  const Instruction &first = program.code.front();
  return program.code.size() == 1 && isField(first.op) ? first.field : nullptr;
}

// ---- Tags

bool isUsable(const Tag &tag) {
  if (tag.problem() != kOk || !tag.header().filter.empty()) return false;
  // A candidate tag has all records.
  if ((tag.header().options & kOptionUnique) != 0) return false;
  const Program &key = tag.expression().program();
  return !has(key, {Op::kDate, Op::kTime, Op::kRecordCount});
}

// ---- Ranges

Relation turned(Relation relation) {
  switch (relation) {
    case Relation::kLess:
      return Relation::kGreater;
    case Relation::kLessOrEqual:
      return Relation::kGreaterOrEqual;
    case Relation::kGreater:
      return Relation::kLess;
    case Relation::kGreaterOrEqual:
      return Relation::kLessOrEqual;
    default:
      return relation;
  }
}

// The keys that have the relation to a constant whose own keys, if there are any, lie between
// `before` and `behind`. Unless they are `exact` there may be others between the two.
bool putRange(Relation relation, const KeyPlace &before, const KeyPlace &behind, bool exact,
              KeyRange &range) {
  switch (relation) {
    case Relation::kEqual:
      range.from = before;
      range.to = behind;
      return true;
    case Relation::kLess:
      range.to = exact ? before : behind;
      return true;
    case Relation::kLessOrEqual:
      range.to = behind;
      return true;
    case Relation::kGreater:
      range.from = exact ? behind : before;
      return true;
    case Relation::kGreaterOrEqual:
      range.from = before;
      return true;
    default:
      return false;
  }
}

KeyPlace placeOf(const SeekKey &key, bool behind) {
  KeyPlace place;
  std::memcpy(place.bytes, key.bytes, key.length);
  place.length = key.length;
  place.behindEquals =
      key.sought == SoughtKey::kBehind || (key.sought == SoughtKey::kEqual && behind);
  return place;
}

// How far a key may be from the number that it stands for: another program's arithmetic may differ
// in the last bits, but a field's whole number is nobody's problem.
double slackOf(const Tag &tag, double number) {
  const Program &key = tag.expression().program();
  const bool whole = number == std::floor(number);
  if (key.type == ValueType::kDate || (whole && onlyField(key) != nullptr)) return 0;
  constexpr double kSlack = 1e-12;
  return std::fabs(number) * kSlack;
}

bool numberRange(const Tag &tag, Relation relation, double number, KeyRange &range) {
  if (!std::isfinite(number)) return false;
  const double slack = slackOf(tag, number);
  return putRange(relation, placeOf(tag.keyOf(number - slack), false),
                  placeOf(tag.keyOf(number + slack), true), slack == 0, range);
}

// A relation looks at as many bytes as its right text has. That is the constant; or, when it stands
// on the left, the key's text, which then needs a length that is known.
bool textRange(const Tag &tag, Relation relation, std::string_view text, bool constantIsLeft,
               KeyRange &range) {
  const Program &key = tag.expression().program();
  if (constantIsLeft && has(key, {Op::kTrim, Op::kLeftTrim})) return false;
  const std::size_t compared = constantIsLeft ? key.length : text.size();
  KeyPlace before;
  before.length = std::min<std::size_t>(compared, tag.layout().length);
  std::memset(before.bytes, ' ', before.length);
  text.copy(reinterpret_cast<char *>(before.bytes), before.length);
  KeyPlace behind = before;
  behind.behindEquals = true;
  return putRange(relation, before, behind, before.length == compared, range);
}

}  // namespace

bool QueryPlan::make(RecordSet &records, base::Vector<std::uint32_t> &order) noexcept {
  const Context::Quiet quiet(table_.context());  // the scan finds out what matters
  return base::guarded(
      false, [&] { return findTags() && findRecords(records) && putInOrder(records, order); });
}

bool QueryPlan::findTags() {
  for (const base::Owned<IndexFile> &index : table_.indexes()) {
    for (const base::Owned<Tag> &tag : index->tags()) {
      if (isUsable(*tag)) tags_.push_back(tag.get());
    }
  }
  // Of several tags with one key the selected one saves more.
  const auto selected = std::find(tags_.begin(), tags_.end(), table_.selectedTag());
  if (selected != tags_.end()) std::iter_swap(selected, tags_.begin());
  return !tags_.empty();
}

bool QueryPlan::putInOrder(const RecordSet &records, base::Vector<std::uint32_t> &order) {
  if (table_.selectedTag() == nullptr) return true;
  return table_.selectedTag()->order(selectedKeys_, records, order) == kOk;
}

bool QueryPlan::findRecords(RecordSet &records) {
  const base::Vector<Instruction> &code = condition_.program().code;
  count_ = table_.recordCount();
  most_ = std::max(count_ / 4, kLeastMost);
  parts_.reserve(condition_.program().stackDepth);
  for (std::size_t at = 0; at <= code.size() && !failed_; ++at) {
    while (!branches_.empty() && branches_.back().end == at) close();
    if (at < code.size()) read(code[at], at);
  }
  if (failed_) return false;
  for (const TagRange &range : parts_.back().ranges) {
    if (range.tag == table_.selectedTag()) selectedKeys_ = range.keys;
  }
  if (!collect(parts_.back()) || failed_) return false;
  records = std::move(parts_.back().set);
  return true;
}

void QueryPlan::Part::forget() noexcept {
  hasSet = false;
  ranges.clear();
}

QueryPlan::Part QueryPlan::pop() {
  Part part = std::move(parts_.back());
  parts_.pop_back();
  return part;
}

void QueryPlan::read(const Instruction &instruction, std::size_t at) {
  if (isJump(instruction.op)) return open(instruction);
  switch (effectOf(instruction.op)) {
    case Effect::kPush:
      parts_.emplace_back();
      parts_.back().begin = at;
      parts_.back().constant = isConstant(instruction.op);
      return;
    case Effect::kChange:
      parts_.back().forget();
      return;
    case Effect::kReduce:
      return relate(instruction, at);
  }
}

// A branch begins; or, in the middle of an IIF(), its first result is done. Of what follows nothing
// more need be known after .AND. when few records are left, after .OR. when its left side is
// unknown, and in an IIF() at all.
void QueryPlan::open(const Instruction &instruction) {
  Part left = pop();
  if (instruction.op == Op::kJump) {
    Branch &iif = branches_.back();
    iif.left.constant = iif.left.constant && left.constant;
    iif.op = Op::kJump;
    iif.end = instruction.first;
    muteUntil(instruction.first);
    return;
  }
  bool useless = true;
  if (instruction.op == Op::kSkipUnlessTrue) useless = few(left);
  if (instruction.op == Op::kSkipIfTrue) useless = !collect(left);
  if (useless) muteUntil(instruction.first);
  branches_.push_back({instruction.op, instruction.first, std::move(left)});
}

void QueryPlan::muteUntil(std::size_t end) noexcept { mutedUntil_ = std::max(mutedUntil_, end); }

void QueryPlan::close() {
  Branch branch = std::move(branches_.back());
  branches_.pop_back();
  Part &left = branch.left;
  Part &right = parts_.back();
  left.constant = left.constant && right.constant;
  if (branch.op == Op::kSkipUnlessTrue) {
    for (const TagRange &range : right.ranges) restrict(left, range);
    if (right.hasSet) restrict(left, std::move(right.set));
  } else if (branch.op == Op::kSkipIfTrue && left.hasSet && collect(right)) {
    left.set.unite(right.set);
    if (left.set.size() > most_) left.forget();
  } else {
    left.forget();
  }
  right = std::move(left);
}

// An operation on two values, a relation perhaps.
void QueryPlan::relate(const Instruction &instruction, std::size_t end) {
  const Part right = pop();
  Part &left = parts_.back();
  left.forget();
  const bool relation =
      instruction.op == Op::kCompareTexts || instruction.op == Op::kCompareNumbers;
  TagRange range;
  if (relation && left.constant != right.constant && end >= mutedUntil_ &&
      findRange(instruction, left, right, end, range)) {
    left.ranges.push_back(range);
  }
  left.constant = left.constant && right.constant;
}

bool QueryPlan::findRange(const Instruction &relation, const Part &left, const Part &right,
                          std::size_t end, TagRange &range) {
  const bool constantIsLeft = left.constant;
  range.tag = constantIsLeft ? tagOf(right.begin, end) : tagOf(left.begin, right.begin);
  if (range.tag == nullptr) return false;

  const bool texts = relation.op == Op::kCompareTexts;
  Value value{};
  if (condition_.evaluatePart(constantIsLeft ? left.begin : right.begin,
                              constantIsLeft ? right.begin : end,
                              texts ? ValueType::kCharacter : ValueType::kNumeric, value) != kOk) {
    return false;
  }
  const Relation direction = constantIsLeft ? turned(relation.relation) : relation.relation;
  return texts ? textRange(*range.tag, direction, value.text, constantIsLeft, range.keys)
               : numberRange(*range.tag, direction, value.number, range.keys);
}

// ---- What is known of a part

void QueryPlan::restrict(Part &part, const TagRange &range) {
  for (TagRange &own : part.ranges) {
    if (own.tag == range.tag) return own.keys.intersect(range.keys);
  }
  part.ranges.push_back(range);
}

void QueryPlan::restrict(Part &part, RecordSet &&set) {
  if (part.hasSet) {
    part.set.intersect(set);
  } else {
    part.set = std::move(set);
  }
  part.hasSet = true;
}

bool QueryPlan::few(const Part &part) const noexcept {
  return part.hasSet && part.set.size() <= std::max(kFew, count_ / kFewPart);
}

// Makes a set of the ranges. False when nothing is known. Ranges that end on both sides are likely
// to have fewer records.
bool QueryPlan::collect(Part &part) {
  for (const bool bounded : {true, false}) {
    for (const TagRange &range : part.ranges) {
      if (range.keys.bounded() == bounded && !few(part) && !failed_) collect(range, part);
    }
  }
  part.ranges.clear();
  return part.hasSet;
}

void QueryPlan::collect(const TagRange &range, Part &part) {
  RecordSet records(count_);
  failed_ = range.tag->collect(range.keys, most_, records) != kOk;
  if (!failed_ && records.size() <= most_) restrict(part, std::move(records));
}

// The tag whose key is that part of the condition; null when there is none.
Tag *QueryPlan::tagOf(std::size_t begin, std::size_t end) const noexcept {
  const Instruction *const part = condition_.program().code.data() + begin;
  const auto place = std::find_if(tags_.begin(), tags_.end(), [&](const Tag *tag) {
    const base::Vector<Instruction> &key = tag->expression().program().code;
    return key.size() == end - begin &&
           std::equal(key.begin(), key.end(), part, [begin](const auto &keys, const auto &parts) {
             return same(parts, keys, begin);
           });
  });
  return place != tags_.end() ? *place : nullptr;
}

}  // namespace zk::engine
