#include "engine/Query.h"

#include "engine/QueryPlan.h"
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
  table_.recordCount();  // looks at the file: a scan believes what is known
  if (condition_ != nullptr) {
    condition_->beginRun();
    planned_ = QueryPlan(table_, *condition_).make(candidates_, order_);
  }
  table_.beginScan();
  scanning_ = true;
  return kOk;
}

int Query::first() noexcept { return toMatch(toFirst()); }
int Query::next() noexcept { return toMatch(toNext()); }

int Query::toMatch(int status) noexcept {
  while (status == kOk && condition_ != nullptr) {
    bool matches = false;
    status = condition_->evaluateCondition(matches);
    if (status != kOk || matches) break;
    status = toNext();
  }
  return status;
}

// ---- To the first and the next record that may match

int Query::toFirst() noexcept {
  if (!planned_) return table_.top();
  done_ = 0;
  if (table_.selectedTag() != nullptr && order_.empty()) {
    const int status = table_.top();  // a tag without entries has an end of its own
    return status == kOk ? table_.goEnd() : status;
  }
  return toCandidate(0);
}

int Query::toNext() noexcept {
  return planned_ ? toCandidate(table_.recordNumber()) : table_.skip(1);
}

int Query::toCandidate(std::uint32_t previous) noexcept {
  std::uint32_t record = 0;
  if (table_.selectedTag() == nullptr) {
    record = candidates_.after(previous);
  } else if (done_ < order_.size()) {
    record = order_[done_++];
  }
  return record != 0 ? table_.go(record) : table_.goEnd();
}

}  // namespace zk::engine
