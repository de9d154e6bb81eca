// What stands between the operators: literals, fields, brackets, signs, calls.
#include "engine/ExpressionCompiler.h"

#include <algorithm>
#include <cstring>

#include "base/Number.h"
#include "engine/Error.h"
#include "engine/FileNames.h"
#include "engine/Table.h"
#include "platform/System.h"

namespace zk::engine {
namespace {

constexpr ValueType kCharacter = ValueType::kCharacter;
constexpr ValueType kNumeric = ValueType::kNumeric;
constexpr ValueType kDate = ValueType::kDate;
constexpr ValueType kLogical = ValueType::kLogical;

constexpr int kDeepestNesting = 100;
constexpr std::size_t kLongestFieldName = 11;

// False for kinds that expressions do not know: their values would have to be guessed.
bool fieldValue(const Field &field, Op &op, ValueType &type, std::size_t &length) {
  length = 0;
  switch (field.kind) {
    case FieldKind::kText:
      op = Op::kTextField;
      type = kCharacter;
      length = field.width;
      return true;
    case FieldKind::kMemo:
    case FieldKind::kForeignMemo:
      op = Op::kMemoField;
      type = kCharacter;
      length = kUnboundedLength;
      return true;
    case FieldKind::kNumber:
    case FieldKind::kInteger:
    case FieldKind::kCurrency:
    case FieldKind::kDouble:
      op = Op::kNumberField;
      type = kNumeric;
      return true;
    case FieldKind::kDate:
      op = Op::kDateField;
      type = kDate;
      return true;
    case FieldKind::kLogical:
      op = Op::kLogicalField;
      type = kLogical;
      return true;
    default:
      return false;
  }
}

std::uint32_t wholeNumber(double value) {
  if (!(value > 0)) return 0;
  return value < UINT32_MAX ? static_cast<std::uint32_t>(value) : UINT32_MAX;
}

}  // namespace

bool Compiler::parseOperand(Operand &out) {
  if (nesting_ > kDeepestNesting) return tooLarge();
  switch (token_.kind) {
    case Token::kNumber:
      return parseNumber(out);
    case Token::kText:
      return parseText(out);
    case Token::kTrue:
    case Token::kFalse: {
      Instruction instruction(Op::kLogical);
      instruction.logical = token_.kind == Token::kTrue;
      advance();
      return push(instruction, kLogical, 0, out);
    }
    case Token::kName:
      return parseName(out);
    case Token::kOpen:
      return parseBrackets(out);
    case Token::kNot:
    case Token::kPlus:
    case Token::kMinus:
      return parsePrefix(token_.kind, out);
    case Token::kEnd:
    case Token::kClose:
    case Token::kComma:
      return fail(kErrNotComplete);
    case Token::kUnterminatedText:
      return fail(kErrUnterminatedText);
    default:
      return fail(kErrValue);
  }
}

// .NOT. applies to a whole relation, a sign to the next operand only.
bool Compiler::parsePrefix(Token::Kind kind, Operand &out) {
  advance();
  ++nesting_;
  const bool parsed = kind == Token::kNot ? parseBinary(kRelation, out) : parseOperand(out);
  --nesting_;
  if (!parsed) return false;
  if (out.type != (kind == Token::kNot ? kLogical : kNumeric)) return fail(kErrSubexpressionType);
  if (kind == Token::kNot) {
    emit(Op::kNot);
  } else if (kind == Token::kMinus && isConstant(out, program_.code.size())) {
    program_.code.back().number *= -1;
  } else if (kind == Token::kMinus) {
    emit(Op::kNegate);
  }
  return true;
}

bool Compiler::parseBrackets(Operand &out) {
  advance();
  ++nesting_;
  if (!parseBinary(kOr, out)) return false;
  --nesting_;
  if (token_.kind != Token::kClose) {
    const bool missing = token_.kind == Token::kEnd || token_.kind == Token::kComma;
    return unexpected(missing ? kErrRightBracket : kErrOperator);
  }
  advance();
  return true;
}

bool Compiler::parseNumber(Operand &out) {
  Instruction instruction(Op::kNumber);
  instruction.number = base::toDouble(token_.text);
  advance();
  return push(instruction, kNumeric, 0, out);
}

bool Compiler::parseText(Operand &out) {
  const std::string_view text = token_.text;
  Instruction instruction(Op::kText);
  instruction.text = text.data();
  instruction.second = static_cast<std::uint32_t>(text.size());
  advance();
  return push(instruction, kCharacter, text.size(), out);
}

bool Compiler::parseName(Operand &out) {
  const std::string_view name = token_.text;
  advance();
  if (token_.kind == Token::kArrow) return parseAlias(name, out);
  if (token_.kind != Token::kOpen) return parseField(&table_, name, out);
  const bool isIif = sameWord(name, "IIF");
  const Function *function = isIif ? nullptr : findFunction(name);
  if (!isIif && function == nullptr) return fail(kErrFunction);
  advance();
  ++nesting_;
  const bool parsed = isIif ? parseIif(out) : parseFunction(*function, out);
  --nesting_;
  return parsed;
}

// ---- Fields

bool Compiler::parseAlias(std::string_view alias, Operand &out) {
  Table *table = findAlias(alias);
  if (table == nullptr) return fail(kErrAlias);
  advance();
  if (token_.kind == Token::kEnd) return fail(kErrNotComplete);
  if (token_.kind != Token::kName) return fail(kErrValue);
  const std::string_view name = token_.text;
  advance();
  return parseField(table, name, out);
}

Table *Compiler::findAlias(std::string_view alias) noexcept {
  const unsigned char *upper = platform::upperCaseMap();
  const auto same = [upper](char a, char b) {
    return upper[static_cast<unsigned char>(a)] == upper[static_cast<unsigned char>(b)];
  };
  const auto isAliasOf = [&](const Table &table) {
    const std::string_view name = baseName(table.path());
    return std::equal(name.begin(), name.end(), alias.begin(), alias.end(), same);
  };
  if (sameWord(alias, "FIELD") || isAliasOf(table_)) return &table_;
  Table *table = table_.context().firstTable();
  while (table != nullptr && !isAliasOf(*table)) table = table->next();
  return table;
}

bool Compiler::parseField(Table *table, std::string_view name, Operand &out) {
  char terminated[kLongestFieldName + 1] = {};
  if (name.size() > kLongestFieldName) return fail(kErrValue);
  std::memcpy(terminated, name.data(), name.size());
  const Field *field = table->lookUpField(terminated);
  if (field == nullptr) return fail(kErrValue);
  if (table != &table_) program_.usesOtherTable = true;
  return compileField(*field, out);
}

bool Compiler::compileField(const Field &field, Operand &out) {
  Instruction instruction(Op::kTextField);
  ValueType type;
  std::size_t length;
  if (!fieldValue(field, instruction.op, type, length)) return fail(kErrSubexpressionType);
  if (instruction.op == Op::kMemoField) program_.usesMemo = true;
  instruction.field = &field;
  return push(instruction, type, length, out);
}

// ---- Functions

bool Compiler::expectComma() {
  if (token_.kind == Token::kComma) {
    advance();
    return true;
  }
  if (token_.kind == Token::kClose) return fail(kErrParameterCount);
  return unexpected(token_.kind == Token::kEnd ? kErrRightBracket : kErrCommaOrBracket);
}

bool Compiler::expectClose() {
  if (token_.kind == Token::kClose) {
    advance();
    return true;
  }
  if (token_.kind == Token::kComma) return fail(kErrParameterCount);
  return unexpected(token_.kind == Token::kEnd ? kErrRightBracket : kErrCommaOrBracket);
}

bool Compiler::parseIif(Operand &out) {
  if (token_.kind == Token::kClose) return fail(kErrParameterCount);
  Operand condition, yes, no;
  if (!parseBinary(kOr, condition) || !expectComma()) return false;
  if (condition.type != kLogical) return fail(kErrSubexpressionType);
  const std::size_t toNo = program_.code.size();
  emit(Op::kJumpIfFalse);
  --depth_;
  if (!parseBinary(kOr, yes) || !expectComma()) return false;
  const std::size_t toEnd = program_.code.size();
  emit(Op::kJump);
  setTarget(toNo);
  --depth_;
  poolTop_ = yes.poolStart;
  if (!parseBinary(kOr, no) || !expectClose()) return false;
  setTarget(toEnd);
  if (yes.type != no.type) return fail(kErrSubexpressionType);
  if (yes.length != no.length) return fail(kErrIifLength);
  out = condition;
  return setResult(yes.type, yes.length, out);
}

bool Compiler::parseArguments(std::size_t most, Arguments &arguments) {
  if (token_.kind == Token::kClose) {
    advance();
    return true;
  }
  while (arguments.count < most) {
    if (!parseBinary(kOr, arguments.operands[arguments.count++])) return false;
    if (token_.kind != Token::kComma) return expectClose();
    advance();
  }
  return fail(kErrParameterCount);
}

bool Compiler::parseFunction(const Function &function, Operand &out) {
  const Operand here = {.begin = program_.code.size(), .poolStart = poolTop_};
  Arguments arguments;
  if (!parseArguments(function.parameters.size(), arguments)) return false;
  if (arguments.count < function.required) return fail(kErrParameterCount);
  for (std::size_t i = 0; i < arguments.count; ++i) {
    if (!parameterFits(function.parameters[i], arguments.operands[i].type)) {
      return fail(kErrSubexpressionType);
    }
  }
  Constants constants;
  if (!takeConstants(function, arguments, constants)) return false;

  Instruction instruction(function.op);
  const std::size_t length =
      bindFunction(function, constants, arguments.operands[0].length, instruction);
  if (arguments.count == 0) return push(instruction, function.result, length, out);
  program_.code.push_back(instruction);
  out = here;
  return setResult(function.result, length, out);
}

// Moves the constant arguments, which come last, from the code into `constants`.
bool Compiler::takeConstants(const Function &function, const Arguments &arguments,
                             Constants &constants) {
  base::Vector<Instruction> &code = program_.code;
  const std::size_t first = std::min(function.parameters.find('n'), arguments.count);
  for (std::size_t i = first; i < arguments.count; ++i) {
    const std::size_t end = i + 1 < arguments.count ? arguments.operands[i + 1].begin : code.size();
    if (!isConstant(arguments.operands[i], end)) return fail(kErrNotConstant);
    constants.values[constants.count++] = wholeNumber(code[arguments.operands[i].begin].number);
  }
  for (std::size_t i = 0; i < constants.count; ++i) code.pop_back();
  depth_ -= constants.count;
  return true;
}

}  // namespace zk::engine
