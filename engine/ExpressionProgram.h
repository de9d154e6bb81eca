// A compiled expression: a postfix program over typed values.
// Types are settled when it is compiled, so an operation never looks at those of its operands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/Field.h"

namespace zk::engine {

class Table;

enum class ValueType : std::uint8_t { kCharacter, kNumeric, kDate, kLogical };

enum class Op : std::uint8_t {
  // Values
  kNumber,
  kLogical,
  kText,
  kTextField,
  kMemoField,
  kNumberField,
  kDateField,
  kLogicalField,
  // Numbers and dates
  kNegate,
  kAdd,
  kSubtract,
  kMultiply,
  kDivide,
  kPower,
  kAddDays,       // date + number
  kDaysTo,        // number + date
  kSubtractDays,  // date - number
  kDaysBetween,
  // Texts
  kJoin,
  kJoinTrimmed,
  kContained,
  // Relations and logic
  kCompareNumbers,  // dates too
  kCompareTexts,
  kCompareLogicals,
  kNot,
  kSkipUnlessTrue,  // .AND.: leaves a false and jumps, or takes a true away
  kSkipIfTrue,      // .OR.
  kJumpIfFalse,     // IIF(): takes the condition away
  kJump,
  // Functions
  kChr,
  kCtod,
  kDate,
  kDay,
  kDel,
  kDeleted,
  kDtoc,
  kDtos,
  kLeftTrim,
  kMonth,
  kRecordCount,
  kRecordNumber,
  kStod,
  kStr,
  kSubstr,
  kTime,
  kTrim,
  kUpper,
  kVal,
  kYear,
};

enum class Relation : std::uint8_t {
  kEqual,
  kNotEqual,
  kLess,
  kLessOrEqual,
  kGreater,
  kGreaterOrEqual,
};

struct Instruction {
  explicit Instruction(Op code) noexcept : op(code) {}

  Op op;
  Relation relation = Relation::kEqual;
  // kJump...: the instruction to go to. kSubstr: bytes to leave out. kStr: decimals.
  std::uint32_t first = 0;
  // kText, kSubstr, kStr: length.
  std::uint32_t second = 0;
  union {
    double number = 0;  // kNumber
    bool logical;       // kLogical
    const char *text;   // kText
    const Field *field;
  };
};

struct Program {
  base::Vector<Instruction> code;
  ValueType type = ValueType::kLogical;
  std::size_t length = 0;      // of the longest text that can come out
  std::size_t stackDepth = 0;  // values at most
  std::size_t poolSize = 0;    // bytes of texts at most, those of memos not counted
  bool usesMemo = false;
  bool usesOtherTable = false;
};

// The longest text that is not made of memos.
constexpr std::size_t kLongestText = 1 << 20;
// The length of a text that has no limit: a memo's.
constexpr std::size_t kUnboundedLength = SIZE_MAX;

// A result of the arithmetic that the compiler does too. False when it is no finite number.
bool calculate(Op op, double left, double right, double &result) noexcept;

}  // namespace zk::engine
