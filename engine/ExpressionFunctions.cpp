#include "engine/ExpressionFunctions.h"

#include <algorithm>

#include "engine/ExpressionLexer.h"
#include "engine/ExpressionText.h"

namespace zk::engine {
namespace {

constexpr ValueType kCharacter = ValueType::kCharacter;
constexpr ValueType kNumeric = ValueType::kNumeric;
constexpr ValueType kDate = ValueType::kDate;
constexpr ValueType kLogical = ValueType::kLogical;

constexpr std::uint32_t kStrLength = 10;
constexpr std::uint32_t kLongestStr = 255;
constexpr std::size_t kTimeSize = 8;  // HH:MM:SS

constexpr Function kFunctions[] = {
    {"CHR", "N", 1, kCharacter, Op::kChr},
    {"CTOD", "C", 1, kDate, Op::kCtod},
    {"DATE", "", 0, kDate, Op::kDate},
    {"DAY", "D", 1, kNumeric, Op::kDay},
    {"DEL", "", 0, kCharacter, Op::kDel},
    {"DELETED", "", 0, kLogical, Op::kDeleted},
    {"DTOC", "D", 1, kCharacter, Op::kDtoc},
    {"DTOS", "D", 1, kCharacter, Op::kDtos},
    {"LEFT", "Cn", 2, kCharacter, Op::kSubstr},
    {"LTRIM", "C", 1, kCharacter, Op::kLeftTrim},
    {"MONTH", "D", 1, kNumeric, Op::kMonth},
    {"PAGENO", "", 0, kNumeric, Op::kNumber},  // 0: no report is printed
    {"RECCOUNT", "", 0, kNumeric, Op::kRecordCount},
    {"RECNO", "", 0, kNumeric, Op::kRecordNumber},
    {"STOD", "C", 1, kDate, Op::kStod},
    {"STR", "Nnn", 1, kCharacter, Op::kStr},
    {"SUBSTR", "Cnn", 2, kCharacter, Op::kSubstr},
    {"TIME", "", 0, kCharacter, Op::kTime},
    {"TRIM", "C", 1, kCharacter, Op::kTrim},
    {"UPPER", "C", 1, kCharacter, Op::kUpper},
    {"VAL", "C", 1, kNumeric, Op::kVal},
    {"YEAR", "D", 1, kNumeric, Op::kYear},
};

std::size_t bindStr(const Constants &constants, Instruction &instruction) {
  const std::uint32_t length = constants.count > 0 ? constants.values[0] : kStrLength;
  const std::uint32_t decimals = constants.count > 1 ? constants.values[1] : 0;
  instruction.first = std::min(decimals, kLongestStr);
  instruction.second = std::min(length, kLongestStr);
  return instruction.second;
}

std::size_t bindSubstr(std::uint32_t position, std::uint32_t length, std::size_t argumentLength,
                       Instruction &instruction) {
  instruction.first = position > 0 ? position - 1 : 0;
  instruction.second = length;
  if (argumentLength != kUnboundedLength) {
    const std::size_t rest =
        argumentLength > instruction.first ? argumentLength - instruction.first : 0;
    return std::min<std::size_t>(rest, length);
  }
  return length <= kLongestText ? length : kUnboundedLength;
}

}  // namespace

const Function *findFunction(std::string_view name) noexcept {
  for (const Function &function : kFunctions) {
    if (sameWord(function.name, name)) return &function;
  }
  return nullptr;
}

bool parameterFits(char parameter, ValueType type) noexcept {
  switch (parameter) {
    case 'C':
      return type == kCharacter;
    case 'D':
      return type == kDate;
    default:
      return type == kNumeric;
  }
}

std::size_t bindFunction(const Function &function, const Constants &constants,
                         std::size_t argumentLength, Instruction &instruction) noexcept {
  switch (function.op) {
    case Op::kStr:
      return bindStr(constants, instruction);
    case Op::kSubstr:
      if (function.required == function.parameters.size()) {  // LEFT()
        return bindSubstr(1, constants.values[0], argumentLength, instruction);
      }
      return bindSubstr(constants.values[0], constants.count > 1 ? constants.values[1] : UINT32_MAX,
                        argumentLength, instruction);
    case Op::kTrim:
    case Op::kLeftTrim:
    case Op::kUpper:
      return argumentLength;
    case Op::kChr:
    case Op::kDel:
      return 1;
    case Op::kTime:
      return kTimeSize;
    case Op::kDtoc:
    case Op::kDtos:
      return kDateTextSize;
    default:
      return 0;
  }
}

}  // namespace zk::engine
