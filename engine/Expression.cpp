#include "engine/Expression.h"

#include <new>

#include "engine/Error.h"
#include "engine/ExpressionCompiler.h"
#include "engine/Table.h"

namespace zk::engine {

Expression::Expression(Table &table, std::string_view source) : table_(table), source_(source) {}

int Expression::compile(Table &table, std::string_view source, base::Owned<Expression> &out) {
  out.reset();
  auto expression = base::make<Expression>(table, source);
  if (expression == nullptr) throw std::bad_alloc();
  Compiler compiler(table, expression->source_, expression->program_);
  const int status = compiler.compile();
  if (status != kOk) return expression->fail(status, compiler.errorText());
  expression->evaluator_.prepare(expression->program_);
  out = std::move(expression);
  return kOk;
}

int Expression::fail(int code, const char *text) noexcept {
  return table_.context().fail(code, source_.c_str(), text);
}

FieldKind Expression::numberKind() const noexcept {
  const Instruction &first = program_.code.front();
  const bool field = program_.code.size() == 1 && first.op == Op::kNumberField;
  return field ? first.field->kind : FieldKind::kNumber;
}

int Expression::requireLogical() noexcept {
  if (type() == ValueType::kLogical) return kOk;
  return fail(kErrUnexpectedResult, "Expecting logical result.");
}

void Expression::beginRun() noexcept { evaluator_.beginRun(); }

int Expression::evaluate(Value &out) noexcept {
  return evaluatePart(0, program_.code.size(), program_.type, out);
}

int Expression::evaluatePart(std::size_t begin, std::size_t end, ValueType type,
                             Value &out) noexcept {
  const int status = evaluator_.run(program_, begin, end, table_);
  if (status == kErrOverflow || status == kErrMemory) return fail(status);
  if (status != kOk) return status;
  const Evaluator::Slot &result = evaluator_.result();
  // Adding 0 makes a negative zero positive.
  out = {type, result.logical, result.number + 0.0, result.text};
  if (type != ValueType::kCharacter) out.text = {};
  return kOk;
}

int Expression::evaluateCondition(bool &holds) noexcept {
  int status = requireLogical();
  Value value{};
  if (status == kOk) status = evaluate(value);
  holds = status == kOk && value.logical;
  return status;
}

}  // namespace zk::engine
