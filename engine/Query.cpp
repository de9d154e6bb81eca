#include "engine/Query.h"

#include "engine/Table.h"

namespace zk::engine {

Query::~Query() {
  if (scanning_) table_.endScan();
}

int Query::setCondition(std::string_view source) {
  condition_.reset();
  if (source.find_first_not_of(' ') == std::string_view::npos) return kOk;
  const int status = Expression::compile(table_, source, condition_);
  return status == kOk ? condition_->requireLogical() : status;
}

int Query::begin() noexcept {
  int status = table_.leaveRecord();
  if (status == kOk) status = table_.lockForReading(records_, behind_);
  if (status != kOk) return status;
  if (condition_ != nullptr) condition_->beginRun();
  table_.beginScan();
  scanning_ = true;
  return kOk;
}

int Query::first() noexcept { return toMatch(table_.top()); }
int Query::next() noexcept { return toMatch(table_.skip(1)); }

int Query::toMatch(int status) noexcept {
  while (status == kOk && condition_ != nullptr) {
    bool matches = false;
    status = condition_->evaluateCondition(matches);
    if (status != kOk || matches) break;
    status = table_.skip(1);
  }
  return status;
}

}  // namespace zk::engine
