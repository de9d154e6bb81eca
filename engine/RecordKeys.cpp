#include "engine/RecordKeys.h"

#include "engine/Table.h"

namespace zk::engine {

int RecordKeys::compilePart(Table &table, std::string_view source, base::Owned<Expression> &part) {
  const int status = Expression::compile(table, source, part);
  if (status != kOk) return status;
  const char *const text = part->source().c_str();
  if (part->usesMemo()) return table.context().fail(kErrSubexpressionType, text);
  // Another table could be closed while this one's tags still refer to its records.
  return part->usesOtherTable() ? table.context().fail(kErrAlias, text) : kOk;
}

int RecordKeys::compile(Table &table, std::string_view key, std::string_view filter) {
  int status = compilePart(table, key, key_);
  if (status != kOk || filter.empty()) return status;
  status = compilePart(table, filter, filter_);
  if (status != kOk || filter_->type() == ValueType::kLogical) return status;
  return table.context().fail(kErrUnexpectedResult, filter_->source().c_str(),
                              "Filter should be Logical");
}

void RecordKeys::beginRun() noexcept {
  key_->beginRun();
  if (filter_ != nullptr) filter_->beginRun();
}

int RecordKeys::evaluate(unsigned char *key, bool &inTag) noexcept {
  inTag = true;
  const int status = filter_ != nullptr ? filter_->evaluateCondition(inTag) : kOk;
  return status == kOk && inTag ? evaluateKey(key) : status;
}

int RecordKeys::evaluateKey(unsigned char *key) noexcept {
  Value value;
  const int status = key_->evaluate(value);
  if (status == kOk) form_.put(value, key);
  return status;
}

}  // namespace zk::engine
