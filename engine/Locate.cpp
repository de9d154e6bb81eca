#include "engine/Locate.h"

#include "base/Guard.h"
#include "engine/Table.h"

namespace zk::engine {
namespace {

// Where matches are dense a block would be read for each of them.
constexpr int kReadsBeforeScan = 16;
constexpr std::int64_t kProgressStep = 4096;

// Reads blocks of records, from when it is begun to the end of its scope.
class BlockReads {
 public:
  explicit BlockReads(Table &table) noexcept : table_(table) {}
  ~BlockReads() {
    if (begun_) table_.endScan();
  }
  BlockReads(const BlockReads &) = delete;
  BlockReads &operator=(const BlockReads &) = delete;

  void begin() noexcept {
    table_.recordCount();  // looks at the file: a scan believes what is known
    table_.beginScan();
    begun_ = true;
  }

 private:
  Table &table_;
  bool begun_ = false;
};

}  // namespace

Locate::Locate(Table &table, std::int32_t tagNumber, std::string_view condition)
    : table_(table), tagNumber_(tagNumber), source_(condition) {}

int Locate::begin(Table &table, std::int32_t tagNumber, std::string_view condition) noexcept {
  table.locate().reset();
  const int status = base::guarded(kErrMemory, [&] { return start(table, tagNumber, condition); });
  if (status != kErrMemory || table.context().errorCode() != 0) return status;
  return table.context().fail(kErrMemory, table.path().c_str());
}

int Locate::start(Table &table, std::int32_t tagNumber, std::string_view condition) {
  base::Owned<Locate> made = base::make<Locate>(table, tagNumber, condition);
  if (made == nullptr) throw std::bad_alloc();
  const int status = made->compile();
  if (status != kOk) return status;
  table.locate() = std::move(made);
  return table.locate()->toMatch(table.top());
}

int Locate::compile() {
  condition_.reset();
  if (source_.find_first_not_of(' ') == base::String::npos) return kOk;
  const int status = Expression::compile(table_, source_, condition_);
  if (status != kOk) return status;
  readsOtherTable_ = condition_->usesOtherTable();
  return condition_->requireLogical();
}

int Locate::next() noexcept {
  int status = kOk;
  // The other table may have been closed since the last call.
  if (readsOtherTable_) status = base::guarded(kErrMemory, [this] { return compile(); });
  if (status == kErrMemory) table_.context().fail(status, table_.path().c_str());
  return status == kOk ? toMatch(table_.skip(1)) : status;
}

int Locate::toMatch(int status) noexcept {
  // In a tag's order neighbours lie anywhere; what nobody else can change is kept in memory anyway.
  const bool blocks = table_.selectedTag() == nullptr && table_.othersMayWrite();
  BlockReads reads(table_);
  for (std::int64_t passed = 0; status == kOk; ++passed) {
    bool holds = condition_ == nullptr;
    if (condition_ != nullptr) status = condition_->evaluateCondition(holds);
    reportProgress();
    if (status != kOk || holds) break;
    if (blocks && passed == kReadsBeforeScan) reads.begin();
    status = table_.skip(1);
  }
  return status;
}

void Locate::reportProgress() noexcept {
  if (++seen_ % kProgressStep != 0 || table_.context().progress == nullptr) return;
  table_.context().reportProgress("Locating", seen_, table_.recordCount());
}

}  // namespace zk::engine
