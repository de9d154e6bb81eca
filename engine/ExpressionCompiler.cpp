#include "engine/ExpressionCompiler.h"

#include <algorithm>
#include <iterator>

#include "engine/Error.h"

namespace zk::engine {
namespace {

constexpr ValueType kCharacter = ValueType::kCharacter;
constexpr ValueType kNumeric = ValueType::kNumeric;
constexpr ValueType kDate = ValueType::kDate;
constexpr ValueType kLogical = ValueType::kLogical;

constexpr std::size_t kLongestSource = 65536;

// What an operator does with operands of these types.
struct Rule {
  Token::Kind kind;
  ValueType left;
  ValueType right;
  Op op;
  ValueType result;
};

constexpr Rule kRules[] = {
    {Token::kPlus, kNumeric, kNumeric, Op::kAdd, kNumeric},
    {Token::kPlus, kCharacter, kCharacter, Op::kJoin, kCharacter},
    {Token::kPlus, kDate, kNumeric, Op::kAddDays, kDate},
    {Token::kPlus, kNumeric, kDate, Op::kDaysTo, kDate},
    {Token::kMinus, kNumeric, kNumeric, Op::kSubtract, kNumeric},
    {Token::kMinus, kCharacter, kCharacter, Op::kJoinTrimmed, kCharacter},
    {Token::kMinus, kDate, kNumeric, Op::kSubtractDays, kDate},
    {Token::kMinus, kDate, kDate, Op::kDaysBetween, kNumeric},
    {Token::kTimes, kNumeric, kNumeric, Op::kMultiply, kNumeric},
    {Token::kDivide, kNumeric, kNumeric, Op::kDivide, kNumeric},
    {Token::kPower, kNumeric, kNumeric, Op::kPower, kNumeric},
    {Token::kContained, kCharacter, kCharacter, Op::kContained, kLogical},
};

bool isRelation(Token::Kind kind) {
  return kind >= Token::kEqual && kind <= Token::kGreaterOrEqual;
}

Relation relationOf(Token::Kind kind) {
  switch (kind) {
    case Token::kEqual:
      return Relation::kEqual;
    case Token::kNotEqual:
      return Relation::kNotEqual;
    case Token::kLess:
      return Relation::kLess;
    case Token::kLessOrEqual:
      return Relation::kLessOrEqual;
    case Token::kGreater:
      return Relation::kGreater;
    default:
      return Relation::kGreaterOrEqual;
  }
}

}  // namespace

int Compiler::compile() {
  if (source_.size() > kLongestSource) {
    tooLarge();
    return error_;
  }
  advance();
  Operand result;
  if (!parseBinary(kOr, result)) return error_;
  if (token_.kind != Token::kEnd) {
    unexpected(kErrOperator);
    return error_;
  }
  program_.type = result.type;
  program_.length = result.length;
  return kOk;
}

bool Compiler::fail(int code, const char *text) noexcept {
  error_ = code;
  errorText_ = text;
  return false;
}

bool Compiler::tooLarge() noexcept {
  return fail(kErrUnexpectedInformation, "Expression too large");
}

// Some token other than those that may follow a value here.
bool Compiler::unexpected(int code) noexcept {
  if (token_.kind == Token::kUnterminatedText) return fail(kErrUnterminatedText);
  return fail(token_.kind == Token::kUnknown ? kErrOperator : code);
}

// ---- Operators

int Compiler::strengthOf(Token::Kind kind) noexcept {
  switch (kind) {
    case Token::kOr:
      return kOr;
    case Token::kAnd:
      return kAnd;
    case Token::kEqual:
    case Token::kNotEqual:
    case Token::kLess:
    case Token::kLessOrEqual:
    case Token::kGreater:
    case Token::kGreaterOrEqual:
    case Token::kContained:
      return kRelation;
    case Token::kPlus:
    case Token::kMinus:
      return kSum;
    case Token::kTimes:
    case Token::kDivide:
      return kProduct;
    case Token::kPower:
      return kPower;
    default:
      return kNone;
  }
}

bool Compiler::parseBinary(int weakest, Operand &out) {
  if (!parseOperand(out)) return false;
  for (;;) {
    const Token::Kind kind = token_.kind;
    const int strength = strengthOf(kind);
    if (strength < weakest) return true;
    if (!parseRight(kind, strength, out)) return false;
  }
}

bool Compiler::parseRight(Token::Kind kind, int strength, Operand &left) {
  advance();
  if (kind == Token::kAnd || kind == Token::kOr) return parseLogic(kind, left);
  Operand right;
  if (!parseBinary(strength + 1, right)) return false;
  return isRelation(kind) ? compare(kind, left, right) : combine(kind, left, right);
}

bool Compiler::parseLogic(Token::Kind kind, Operand &left) {
  if (left.type != kLogical) return fail(kErrSubexpressionType);
  const std::size_t jump = program_.code.size();
  emit(kind == Token::kAnd ? Op::kSkipUnlessTrue : Op::kSkipIfTrue);
  --depth_;
  Operand right;
  if (!parseBinary((kind == Token::kAnd ? kAnd : kOr) + 1, right)) return false;
  if (right.type != kLogical) return fail(kErrSubexpressionType);
  setTarget(jump);
  return setResult(kLogical, 0, left);
}

bool Compiler::compare(Token::Kind kind, Operand &left, const Operand &right) {
  if (left.type != right.type) return fail(kErrSubexpressionType);
  Op op = Op::kCompareNumbers;
  if (left.type == kCharacter) op = Op::kCompareTexts;
  if (left.type == kLogical) {
    if (kind != Token::kEqual && kind != Token::kNotEqual) return fail(kErrSubexpressionType);
    op = Op::kCompareLogicals;
  }
  emit(op).relation = relationOf(kind);
  --depth_;
  return setResult(kLogical, 0, left);
}

bool Compiler::combine(Token::Kind kind, Operand &left, const Operand &right) {
  const auto *rule = std::find_if(std::begin(kRules), std::end(kRules), [&](const Rule &each) {
    return each.kind == kind && each.left == left.type && each.right == right.type;
  });
  if (rule == std::end(kRules)) return fail(kErrSubexpressionType);
  if (!fold(rule->op, left, right)) emit(rule->op);
  --depth_;
  const bool unbounded = left.length == kUnboundedLength || right.length == kUnboundedLength;
  const std::size_t length = unbounded ? kUnboundedLength : left.length + right.length;
  return setResult(rule->result, rule->result == kCharacter ? length : 0, left);
}

// Whether the operand is one number that is known now; `end` is behind its code.
bool Compiler::isConstant(const Operand &operand, std::size_t end) const noexcept {
  return operand.begin + 1 == end && program_.code[operand.begin].op == Op::kNumber;
}

// Replaces two known numbers by their result; what has none is left to fail when it is evaluated.
bool Compiler::fold(Op op, const Operand &left, const Operand &right) {
  base::Vector<Instruction> &code = program_.code;
  if (!isConstant(left, right.begin) || !isConstant(right, code.size())) return false;
  double result;
  if (!calculate(op, code[left.begin].number, code[right.begin].number, result)) return false;
  code.pop_back();
  code.back().number = result;
  return true;
}

// ---- Code

Instruction &Compiler::emit(Op op) {
  program_.code.emplace_back(op);
  return program_.code.back();
}

bool Compiler::push(Instruction instruction, ValueType type, std::size_t length, Operand &out) {
  out.begin = program_.code.size();
  out.poolStart = poolTop_;
  program_.code.push_back(instruction);
  program_.stackDepth = std::max(program_.stackDepth, ++depth_);
  return setResult(type, length, out);
}

// The operand's code now leaves this value. A text is taken to lie in the pool, wherever it does.
bool Compiler::setResult(ValueType type, std::size_t length, Operand &out) noexcept {
  out.type = type;
  out.length = length;
  poolTop_ = out.poolStart + (length == kUnboundedLength ? 0 : length);
  program_.poolSize = std::max(program_.poolSize, poolTop_);
  return poolTop_ <= kLongestText ? true : tooLarge();
}

void Compiler::setTarget(std::size_t jump) noexcept {
  program_.code[jump].first = static_cast<std::uint32_t>(program_.code.size());
}

}  // namespace zk::engine
