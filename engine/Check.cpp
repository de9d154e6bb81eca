#include "engine/Check.h"

#include <algorithm>
#include <utility>

#include "base/Guard.h"
#include "engine/FileNames.h"
#include "engine/IndexCheck.h"
#include "engine/Table.h"
#include "platform/Path.h"

namespace zk::engine {
namespace {

using platform::IoStatus;

bool canBeWritten(const char *path) noexcept {
  platform::NativeFile file;
  const IoStatus status =
      platform::openFile(path, platform::Access::kReadWrite, platform::Creation::kOpenExisting,
                         platform::Sharing::kAll, file);
  if (status == IoStatus::kOk) platform::closeFile(file);
  return status == IoStatus::kOk;
}

}  // namespace

void Check::TableCloser::operator()(Table *table) const noexcept { table->close(); }

int Check::run(const char *tableName, const char *const *indexFiles, bool repair) noexcept {
  if (tableName == nullptr || tableName[0] == '\0') return context_.fail(kErrParameter, tableName);
  const int status =
      base::guarded(kErrMemory, [&] { return start(tableName, indexFiles, repair); });
  if (status == kErrMemory && context_.errorCode() == 0) context_.fail(kErrMemory, tableName);
  // The soft code could be taken for so many findings.
  if (status == kLocked) return context_.fail(kErrLocking, tableName);
  return status == kOk ? static_cast<int>(result_) : status;
}

int Check::start(const char *tableName, const char *const *indexFiles, bool repair) {
  const base::String path = platform::nativePath(withDefaultExtension(tableName, "DBF").c_str());
  OpenTable table;
  int status = repair ? openAlone(path.c_str(), table) : open(path.c_str(), table);
  if (status != kOk) return reportUnopened(path, status);
  status = listIndexes(*table, indexFiles);
  // Nobody writes meanwhile.
  RangeLock records;
  RangeLock behind;
  if (status == kOk) status = table->lockForReading(records, behind);
  if (status != kOk) return status;

  Findings found(report_, user_);
  TableCheck firstCheck(*table, found);
  status = checkAll(*table, found, firstCheck);
  result_ = found.count();
  if (status == kOk && repair) status = mendAll(*table, found, firstCheck);
  if (status != kOk || !anythingMended_) return status;

  Findings left(report_, user_, "left: ");
  TableCheck secondCheck(*table, left);
  status = checkAll(*table, left, secondCheck);
  result_ = left.count();
  return status;
}

// ---- Opening

int Check::open(const char *path, OpenTable &table) noexcept {
  context_.clearError();
  context_.settings.openMode = static_cast<int>(mode_);
  table.reset(Table::open(context_, path));
  return table != nullptr ? kOk : context_.errorCode();
}

// As the only opener, waiting as the lock attempts say.
int Check::openAlone(const char *path, OpenTable &table) noexcept {
  int status = open(path, table);
  if (status != kOk) return status;
  // Nobody but the caller could close that handle: waiting for it would never end.
  if (isOpenTwice(*table)) return kLocked;
  table.reset();
  if (!canBeWritten(path)) {
    return context_.fail(kErrWriting, path, "Attempt to write to a read-only file");
  }
  mode_ = OpenMode::kExclusive;
  context_.settings.readOnlyFallback = false;
  LockWait wait(context_);
  for (;;) {
    status = open(path, table);
    if (status != kErrOpening) return status;
    if (!wait.again()) return kLocked;
  }
}

// Files that are there, but are no table or do not go with it, are findings.
int Check::reportUnopened(const base::String &path, int status) {
  const base::String file(context_.errorFile());
  const bool isMemo = !file.empty() && file != path;
  if (status != kErrNotATable && !(status == kErrOpening && isMemo)) return status;
  Findings found(report_, user_);
  found.beginFile(file.empty() ? path : file);
  if (status == kErrOpening) {
    found.add("the memo file cannot be opened");
  } else if (isMemo) {
    found.add("header: the block size of the memo file is 0");
  } else {
    found.add("header: what it says of fields and lengths is no table");
  }
  found.endFile();
  context_.clearError();
  result_ = found.count();
  return kOk;
}

// The production index comes first; each file once.
int Check::listIndexes(const Table &table, const char *const *indexFiles) {
  if (table.header().hasProductionIndex()) {
    indexPaths_.push_back(platform::nativePath(companionName(table.path().c_str(), "CDX").c_str()));
  }
  for (; indexFiles != nullptr && *indexFiles != nullptr; ++indexFiles) {
    base::String path = platform::nativePath(withDefaultExtension(*indexFiles, "CDX").c_str());
    platform::FileIdentity identity;
    if (platform::identifyPath(path.c_str(), identity) != IoStatus::kOk) {
      return context_.fail(kErrOpening, path.c_str());
    }
    const bool known = std::any_of(indexPaths_.begin(), indexPaths_.end(), [&](const auto &other) {
      platform::FileIdentity otherIdentity;
      return platform::identifyPath(other.c_str(), otherIdentity) == IoStatus::kOk &&
             otherIdentity == identity;
    });
    if (!known) indexPaths_.push_back(std::move(path));
  }
  return kOk;
}

// ---- Checking

int Check::checkAll(Table &table, Findings &findings, TableCheck &records) {
  rebuilds_.clear();
  table.beginScan();
  int status = records.run();
  for (const base::String &path : indexPaths_) {
    if (status == kOk) status = checkIndex(table, findings, path);
  }
  table.endScan();
  return status;
}

int Check::checkIndex(Table &table, Findings &findings, const base::String &path) {
  if (!platform::pathExists(path.c_str())) {
    findings.beginFile(path);
    findings.add("the table's production index is missing");
    findings.endFile();
    return kOk;
  }
  IndexCheck check(table, findings);
  const int status = check.run(path.c_str(), mode_);
  if (status == kOk && check.damaged()) {
    rebuilds_.push_back(
        {path, std::move(check.definitions()), check.layout(), check.rebuildObstacle()});
  }
  return status;
}

// ---- Mending

int Check::mendAll(Table &table, Findings &findings, TableCheck &records) {
  int status = kOk;
  if (records.mendable()) {
    findings.beginFile(table.path());
    status = records.mend();
    if (status == kOk) findings.note("mended: the header counts %u records", table.recordCount());
    anythingMended_ = true;
  }
  for (Rebuild &index : rebuilds_) {
    if (status == kOk) status = rebuild(table, findings, index);
  }
  return status;
}

int Check::rebuild(Table &table, Findings &findings, Rebuild &index) {
  findings.beginFile(index.path);
  if (index.obstacle != nullptr) {
    findings.note("not written anew: %s", index.obstacle);
    return kOk;
  }
  const std::size_t count = index.definitions.size();
  const int status =
      IndexBuilder(table).build(index.path.c_str(), index.definitions.data(), count, index.layout);
  if (status == kOk) {
    findings.note("mended: written anew with %u tags", static_cast<unsigned>(count));
    anythingMended_ = true;
    return kOk;
  }
  // What the records themselves are in the way of is left as it is.
  if (status != kErrUnique && status != kErrOverflow && status != kErrParameter) return status;
  findings.note("not written anew: %s (%d)", context_.errorText(), status);
  context_.clearError();
  return kOk;
}

}  // namespace zk::engine
