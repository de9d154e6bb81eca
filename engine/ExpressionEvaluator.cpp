#include "engine/ExpressionEvaluator.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <utility>

#include "base/Number.h"
#include "engine/Calendar.h"
#include "engine/Error.h"
#include "engine/ExpressionText.h"
#include "engine/Table.h"
#include "platform/System.h"

namespace zk::engine {
namespace {

// A damaged number counts as a blank one.
double numberOf(const Field &field) {
  const double value = field.toDouble();
  return std::isfinite(value) ? value : 0.0;
}

double dateOf(const Field &field) {
  return static_cast<double>(parseStoredDate({field.table->record() + field.offset, field.width}));
}

bool logicalOf(const Field &field) {
  const char mark = field.width > 0 ? field.table->record()[field.offset] : ' ';
  return mark == 'T' || mark == 't' || mark == 'Y' || mark == 'y';
}

double partOfDate(Op op, const CivilDate &date) {
  if (op == Op::kDay) return date.day;
  return op == Op::kMonth ? date.month : static_cast<double>(date.year);
}

template <typename T>
bool holds(Relation relation, const T &left, const T &right) {
  switch (relation) {
    case Relation::kEqual:
      return left == right;
    case Relation::kNotEqual:
      return left != right;
    case Relation::kLess:
      return left < right;
    case Relation::kLessOrEqual:
      return left <= right;
    case Relation::kGreater:
      return left > right;
    default:
      return left >= right;
  }
}

}  // namespace

bool calculate(Op op, double left, double right, double &result) noexcept {
  switch (op) {
    case Op::kAdd:
      result = left + right;
      break;
    case Op::kSubtract:
      result = left - right;
      break;
    case Op::kMultiply:
      result = left * right;
      break;
    case Op::kDivide:
      if (right == 0) return false;
      result = left / right;
      break;
    case Op::kPower:
      result = std::pow(left, right);
      break;
    default:
      return false;
  }
  return std::isfinite(result);
}

void Evaluator::prepare(const Program &program) {
  stack_.resize(program.stackDepth + 1);
  poolSize_ = program.poolSize + 1;  // so that an empty text has a place too
  pool_.reset(static_cast<char *>(base::allocate(poolSize_)));
  if (pool_ == nullptr) throw std::bad_alloc();
  beginRun();
}

void Evaluator::beginRun() noexcept {
  const platform::LocalTime now = platform::localTime();
  today_ = checkedJulian(
      {now.date.year, static_cast<unsigned>(now.date.month), static_cast<unsigned>(now.date.day)});
  std::memcpy(timeOfDay_, "00:00:00", sizeof timeOfDay_);
  putDigits(timeOfDay_, static_cast<unsigned>(now.hour), 2);
  putDigits(timeOfDay_ + 3, static_cast<unsigned>(now.minute), 2);
  putDigits(timeOfDay_ + 6, static_cast<unsigned>(now.second), 2);
}

int Evaluator::run(const Program &program, std::size_t begin, std::size_t end,
                   Table &table) noexcept {
  top_ = stack_.data();
  const Instruction *const code = program.code.data();
  const Instruction *const last = code + end;
  for (const Instruction *at = code + begin; at != last;) {
    const Instruction &instruction = *at++;
    switch (instruction.op) {
      case Op::kSkipUnlessTrue:
      case Op::kSkipIfTrue:
        if (top_->logical == (instruction.op == Op::kSkipIfTrue)) {
          at = code + instruction.first;
        } else {
          --top_;
        }
        break;
      case Op::kJumpIfFalse:
        if (!(top_--)->logical) at = code + instruction.first;
        break;
      case Op::kJump:
        at = code + instruction.first;
        break;
      default: {
        const int status = perform(instruction, table);
        if (status != kOk) return status;
      }
    }
  }
  return kOk;
}

int Evaluator::perform(const Instruction &instruction, Table &table) noexcept {
  switch (instruction.op) {
    case Op::kNumber:
      push().number = instruction.number;
      return kOk;
    case Op::kLogical:
      push().logical = instruction.logical;
      return kOk;
    case Op::kText:
      push().text = {instruction.text, instruction.second};
      return kOk;
    case Op::kTextField: {
      const Field &field = *instruction.field;
      push().text = {field.table->record() + field.offset, field.width};
      return kOk;
    }
    case Op::kMemoField:
      return instruction.field->text(push().text);
    case Op::kNumberField:
      push().number = numberOf(*instruction.field);
      return kOk;
    case Op::kDateField:
      push().number = dateOf(*instruction.field);
      return kOk;
    case Op::kLogicalField:
      push().logical = logicalOf(*instruction.field);
      return kOk;
    case Op::kNot:
      top_->logical = !top_->logical;
      return kOk;
    case Op::kCompareLogicals: {
      Slot &left = reduce();
      left.logical = holds(instruction.relation, left.logical, top_[1].logical);
      return kOk;
    }
    case Op::kNegate:
      top_->number = -top_->number;
      return kOk;
    case Op::kAdd:
    case Op::kSubtract:
    case Op::kMultiply:
    case Op::kDivide:
    case Op::kPower:
    case Op::kAddDays:
    case Op::kDaysTo:
    case Op::kSubtractDays:
    case Op::kDaysBetween:
    case Op::kCompareNumbers:
      return performOnNumbers(instruction);
    case Op::kContained: {
      Slot &left = reduce();
      left.logical = top_[1].text.find(left.text) != std::string_view::npos;
      return kOk;
    }
    case Op::kCompareTexts: {
      Slot &left = reduce();
      left.logical = holds(instruction.relation, compareTexts(left.text, top_[1].text), 0);
      return kOk;
    }
    case Op::kJoin:
    case Op::kJoinTrimmed:
      return join(instruction.op == Op::kJoinTrimmed);
    default:
      return call(instruction, table);
  }
}

// ---- Numbers and dates

int Evaluator::performOnNumbers(const Instruction &instruction) noexcept {
  Slot &left = reduce();
  const double right = top_[1].number;
  switch (instruction.op) {
    case Op::kCompareNumbers:
      left.logical = holds(instruction.relation, left.number, right);
      return kOk;
    case Op::kAddDays:
      return addDays(left, right);
    case Op::kSubtractDays:
      return addDays(left, -right);
    case Op::kDaysTo: {
      const double days = left.number;
      left.number = right;
      return addDays(left, days);
    }
    case Op::kDaysBetween:
      left.number = left.number == 0 || right == 0 ? 0 : left.number - right;
      return kOk;
    default:
      return calculate(instruction.op, left.number, right, left.number) ? kOk : kErrOverflow;
  }
}

int Evaluator::addDays(Slot &date, double days) noexcept {
  if (date.number == 0) return kOk;
  date.number += std::trunc(days);
  const bool inCalendar = date.number >= static_cast<double>(kFirstJulian) &&
                          date.number <= static_cast<double>(kLastJulian);
  return inCalendar ? kOk : kErrOverflow;
}

// ---- Texts

// Left and right come to lie one behind the other where the left one's piece begins. The one that
// is in the way is moved first.
int Evaluator::join(bool trimmed) noexcept {
  Slot &left = top_[-1];
  const Slot &right = top_[0];
  const std::size_t total = left.text.size() + right.text.size();
  if (!makeRoom(left.poolStart + total)) return kErrMemory;
  char *const begin = pool_.get() + left.poolStart;
  const std::size_t kept = trimmed ? withoutTrailingBlanks(left.text).size() : left.text.size();
  const auto place = [](char *to, std::string_view text) {
    if (!text.empty()) std::memmove(to, text.data(), text.size());
  };
  const bool leftFirst = left.poolEnd != left.poolStart;
  if (leftFirst) place(begin, left.text);
  place(begin + kept, right.text);
  if (!leftFirst) place(begin, left.text.substr(0, kept));
  std::memset(begin + kept + right.text.size(), ' ', left.text.size() - kept);
  --top_;
  left.text = {begin, total};
  left.poolEnd = left.poolStart + total;
  return kOk;
}

// SUBSTR(): a text in the pool gives up what it no longer needs there.
void Evaluator::cut(const Instruction &instruction) noexcept {
  Slot &slot = *top_;
  slot.text = slot.text.substr(std::min<std::size_t>(instruction.first, slot.text.size()),
                               instruction.second);
  if (slot.poolEnd == slot.poolStart) return;
  char *const begin = pool_.get() + slot.poolStart;
  std::memmove(begin, slot.text.data(), slot.text.size());
  slot.text = {begin, slot.text.size()};
  slot.poolEnd = slot.poolStart + slot.text.size();
}

int Evaluator::makeUpper(std::uint8_t codePage) noexcept {
  const std::size_t length = top_->text.size();
  if (!makeRoom(top_->poolStart + length)) return kErrMemory;
  char *const begin = pool_.get() + top_->poolStart;
  upperText(codePage, top_->text, begin);
  top_->text = {begin, length};
  top_->poolEnd = top_->poolStart + length;
  return kOk;
}

// ---- Functions

int Evaluator::call(const Instruction &instruction, Table &table) noexcept {
  switch (instruction.op) {
    case Op::kDate:
      push().number = static_cast<double>(today_);
      return kOk;
    case Op::kTime:
      push().text = {timeOfDay_, sizeof timeOfDay_};
      return kOk;
    case Op::kDel:
      push().text = table.deleted() ? "*" : " ";
      return kOk;
    case Op::kDeleted:
      push().logical = table.deleted();
      return kOk;
    case Op::kRecordCount:
      push().number = table.recordCount();
      return kOk;
    case Op::kRecordNumber:
      push().number = table.recordNumber();
      return kOk;
    case Op::kTrim:
      top_->text = withoutTrailingBlanks(top_->text);
      return kOk;
    case Op::kLeftTrim:
      top_->text = withoutLeadingBlanks(top_->text);
      return kOk;
    case Op::kSubstr:
      cut(instruction);
      return kOk;
    case Op::kUpper:
      return makeUpper(table.header().codePage);
    case Op::kChr: {
      if (!(top_->number > -1 && top_->number < 256)) return kErrOverflow;
      char *const out = makeText(1);
      if (out == nullptr) return kErrMemory;
      *out = static_cast<char>(static_cast<unsigned char>(top_->number));
      return kOk;
    }
    case Op::kStr: {
      char *const out = makeText(instruction.second);
      if (out == nullptr) return kErrMemory;
      formatNumber(top_->number, static_cast<int>(instruction.first), out, instruction.second);
      return kOk;
    }
    case Op::kVal:
    case Op::kCtod:
    case Op::kStod:
      top_->number = readText(instruction.op);
      return kOk;
    default:
      return callOnDate(instruction.op);
  }
}

int Evaluator::callOnDate(Op op) noexcept {
  Slot &slot = *top_;
  const auto julian = static_cast<std::int64_t>(slot.number);
  if (op == Op::kDay || op == Op::kMonth || op == Op::kYear) {
    if (julian != 0) slot.number = partOfDate(op, civilFromJulian(julian));
    return kOk;
  }
  char date[kDateTextSize];
  op == Op::kDtoc ? formatShownDate(julian, date) : formatStoredDate(julian, date);
  char *const out = makeText(sizeof date);
  if (out == nullptr) return kErrMemory;
  std::memcpy(out, date, sizeof date);
  return kOk;
}

// VAL(), CTOD(), STOD().
double Evaluator::readText(Op op) noexcept {
  Slot &slot = *top_;
  slot.poolEnd = slot.poolStart;
  if (op == Op::kVal) return base::toDouble(slot.text);
  return static_cast<double>(op == Op::kCtod ? parseShownDate(slot.text)
                                             : parseStoredDate(slot.text));
}

// ---- The stacks

Evaluator::Slot &Evaluator::push() noexcept {
  const std::size_t poolTop = top_->poolEnd;
  Slot &slot = *++top_;
  slot.poolStart = slot.poolEnd = poolTop;
  return slot;
}

Evaluator::Slot &Evaluator::reduce() noexcept {
  Slot &slot = *--top_;
  slot.poolEnd = slot.poolStart;
  return slot;
}

char *Evaluator::makeText(std::size_t length) noexcept {
  Slot &slot = *top_;
  if (!makeRoom(slot.poolStart + length)) return nullptr;
  char *const begin = pool_.get() + slot.poolStart;
  slot.text = {begin, length};
  slot.poolEnd = slot.poolStart + length;
  return begin;
}

// Grows only for texts made of memos; the views into the pool follow it.
bool Evaluator::makeRoom(std::size_t size) noexcept {
  if (size <= poolSize_) return true;
  const std::size_t newSize = std::max(size, 2 * poolSize_);
  base::OwnedBlock<char> grown(static_cast<char *>(base::allocate(newSize)));
  if (grown == nullptr) return false;
  std::memcpy(grown.get(), pool_.get(), poolSize_);
  for (Slot *slot = stack_.data() + 1; slot <= top_; ++slot) {
    if (slot->poolEnd == slot->poolStart) continue;
    slot->text = {grown.get() + (slot->text.data() - pool_.get()), slot->text.size()};
  }
  pool_ = std::move(grown);
  poolSize_ = newSize;
  return true;
}

}  // namespace zk::engine
