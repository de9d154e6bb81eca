#include "zk/extras.h"

#include <cstring>

#include "SRC/Engine.h"
#include "base/Guard.h"
#include "engine/Check.h"
#include "engine/Error.h"
#include "engine/Locate.h"
#include "platform/Path.h"
#include "platform/System.h"
#include "platform/Version.h"

using namespace zk;

const char *zk_Lib_version(void) { return ZK_VERSION_TEXT; }

// ---- The engine's last error

int32_t zk_DbError_code(void) {
  const engine::Context *context = accessContext();
  return context != nullptr ? context->errorCode() : 0;
}

const char *zk_DbError_text(void) {
  const engine::Context *context = accessContext();
  return context != nullptr ? context->errorText() : "";
}

const char *zk_DbError_file(void) {
  const engine::Context *context = accessContext();
  return context != nullptr ? context->errorFile() : "";
}

const char *zk_DbError_codeText(int32_t code) { return engine::errorText(code); }

// ---- Tables

int zk_Db_getInfo(int32_t tableId, ZkDbInfo *info) {
  engine::Table *table = tableById(tableId);
  if (table == nullptr || info == nullptr) return 0;
  const engine::Header &header = table->header();
  const platform::Date updated = table->lastUpdate();
  info->version = header.version;
  info->codePage = header.codePage;
  info->updateYear = updated.year;
  info->updateMonth = updated.month;
  info->updateDay = updated.day;
  info->recordCount = static_cast<int32_t>(table->recordCount());
  info->recordLength = header.recordLength;
  info->headerLength = header.headerLength;
  info->fieldCount = static_cast<int32_t>(table->fields().size());
  info->readOnly = table->readOnlyReason() != nullptr;
  info->memoBlockSize = static_cast<int32_t>(table->memoBlockSize());
  return 1;
}

const char *zk_Db_readOnlyReason(int32_t tableId) {
  const engine::Table *table = tableById(tableId);
  return table != nullptr && table->readOnlyReason() != nullptr ? table->readOnlyReason() : "";
}

const char *zk_Db_getFileName(int32_t tableId) {
  const engine::Table *table = tableById(tableId);
  return table != nullptr ? table->path().c_str() : "";
}

int zk_Db_goRec(int32_t tableId, int32_t recordNumber) {
  engine::Table *table = tableById(tableId);
  return table != nullptr ? table->go(recordNumber) : noTableStatus();
}

int zk_Db_locate(int32_t tableId, int32_t tagNumber, const char *condition) {
  engine::Table *table = tableById(tableId);
  if (table == nullptr) return noTableStatus();
  selectOrder(*table, tagNumber);
  return engine::Locate::begin(*table, tagNumber, condition != nullptr ? condition : "");
}

int zk_Db_locateNext(int32_t tableId) {
  engine::Table *table = tableById(tableId);
  if (table == nullptr) return noTableStatus();
  engine::Locate *locate = table->locate().get();
  if (locate == nullptr) {
    return table->context().fail(engine::kErrParameter, table->path().c_str());
  }
  selectOrder(*table, locate->tagNumber());
  return locate->next();
}

int32_t zk_Db_getFldLength(int32_t tableId, const char *field) {
  const engine::Table *table = tableById(tableId);
  const engine::Field *found =
      table != nullptr && field != nullptr ? table->findField(field) : nullptr;
  std::string_view text;
  if (found == nullptr || found->text(text) != engine::kOk) return -1;
  return text.size() <= INT32_MAX ? static_cast<int32_t>(text.size()) : INT32_MAX;
}

int zk_Db_flush(int32_t tableId) {
  engine::Table *table = tableById(tableId);
  return table != nullptr ? table->flush() : noTableStatus();
}

int32_t zk_Db_getLockAttempts(void) {
  const engine::Context *context = prepareAccess();
  return context != nullptr ? context->settings.lockAttempts : -1;
}

int32_t zk_Db_setLockAttempts(int32_t attempts) {
  engine::Context *context = prepareAccess();
  if (context == nullptr) return -1;
  const int32_t previous = context->settings.lockAttempts;
  context->settings.lockAttempts = attempts < -1 ? -1 : attempts;
  return previous;
}

void zk_Db_setProgress(ZkProgressFn progress, void *user) {
  engine::Context *context = prepareAccess();
  if (context == nullptr) return;
  context->progress = progress;
  context->progressUser = user;
}

int zk_Db_setErrorBoxes(int show) {
  engine::Context *context = prepareAccess();
  if (context == nullptr) return 0;
  const bool previous = context->settings.showErrorBoxes;
  context->settings.showErrorBoxes = show != 0;
  return previous;
}

ZkContext *zk_Db_context(void) { return handleOf(accessContext()); }

ZkField *zk_Db_field(int32_t tableId, int32_t number) {
  const engine::Table *table = tableById(tableId);
  if (table == nullptr || number < 1) return nullptr;
  const auto index = static_cast<std::size_t>(number) - 1;
  return index < table->fields().size() ? handleOf(&table->fields()[index]) : nullptr;
}

// ---- Tags

int32_t zk_Tag_count(int32_t tableId) {
  const engine::Table *table = tableById(tableId);
  int32_t count = 0;
  while (table != nullptr && tagAt(*table, count) != nullptr) ++count;
  return count;
}

int zk_Tag_getInfo(int32_t tableId, int32_t number, ZkTagFacts *facts) {
  const engine::Table *table = tableById(tableId);
  if (table == nullptr || facts == nullptr || number < 1) return 0;
  const engine::Tag *tag = tagAt(*table, number - 1);
  if (tag == nullptr) return 0;
  const engine::IndexHeader &header = tag->header();
  facts->name = tag->name();
  facts->expression = header.expression.c_str();
  facts->filter = header.filter.c_str();
  facts->fileName = tag->index().path().c_str();
  facts->keyLength = header.keyLength;
  facts->unique = header.unique();
  facts->descending = header.descending;
  facts->problem = tag->problem();
  facts->tagNumber = kFirstPlacedTag + number - 1;
  facts->candidate = (header.options & engine::kOptionCandidate) != 0;
  return 1;
}

int32_t zk_Tag_keyCount(int32_t tableId, int32_t number) {
  const engine::Table *table = tableById(tableId);
  engine::Tag *tag = table != nullptr && number > 0 ? tagAt(*table, number - 1) : nullptr;
  if (tag == nullptr) return -1;
  std::uint32_t count = 0;
  int status = tag->countKeys(count);
  if (status == engine::kLocked) {
    status = table->context().fail(engine::kErrLocking, tag->index().path().c_str());
  }
  return status == engine::kOk ? static_cast<int32_t>(count) : status;
}

int zk_Tag_create(int32_t tableId, const char *fileName, const ZkTagInfo *tags, int32_t count) {
  engine::Table *table = tableById(tableId);
  if (table == nullptr) return noTableStatus();
  if (tags == nullptr || count < 1) return table->context().fail(engine::kErrParameter, fileName);
  const int status = base::guarded(engine::kErrMemory, [&] {
    engine::TagDefinitions definitions;
    for (const ZkTagInfo *tag = tags; tag != tags + count; ++tag) {
      definitions.add(
          {tag->name, tag->expression, tag->filter, tag->unique != 0, tag->descending != 0});
    }
    engine::IndexFile *index = nullptr;
    return table->createIndex(fileName, definitions.data(), definitions.size(),
                              engine::Table::Existing::kExtended, index);
  });
  if (status != engine::kErrMemory || table->context().errorCode() != 0) return status;
  return table->context().fail(engine::kErrMemory, fileName);
}

int32_t zk_Tag_find(int32_t tableId, const char *name) {
  const engine::Table *table = tableById(tableId);
  const engine::Tag *found = table != nullptr && name != nullptr ? table->findTag(name) : nullptr;
  for (int32_t place = 0; found != nullptr; ++place) {
    if (tagAt(*table, place) == found) return kFirstPlacedTag + place;
  }
  return -1;
}

// ---- Checking and repairing

int zk_Db_check(const char *fileName, const char *const *indexFiles, int repair, ZkFindingFn report,
                void *user) {
  engine::Context *shared = prepareAccess();
  if (shared == nullptr) return engine::kErrMemory;
  shared->clearError();
  // A context of its own, so that the tables of the access layer are not touched.
  engine::Context own;
  applyAccessSettings(own);
  own.settings.openProductionIndex = false;
  own.settings.lockAttempts = shared->settings.lockAttempts;
  own.progress = shared->progress;
  own.progressUser = shared->progressUser;
  const int result = engine::Check(own, report, user).run(fileName, indexFiles, repair != 0);
  if (result < 0) shared->fail(own.errorCode(), own.errorFile(), own.errorText());
  return result;
}

// ---- Host

void zk_Host_setMessagePresenter(ZkMessagePresenterFn presenter, void *user) {
  platform::setMessagePresenter(presenter, user);
}

int zk_Host_setDriveDirectory(char letter, const char *directory) {
  return platform::setDriveDirectory(letter, directory);
}

int zk_Host_nativePath(const char *name, char *out, int32_t size) {
  if (out == nullptr || size < 0) return 0;
  out[0] = '\0';
  if (name == nullptr || name[0] == '\0') return 0;
  return zk::base::guarded(0, [&] {
    const auto path = zk::platform::nativePath(name);
    if (path.size() > static_cast<std::size_t>(size)) return 0;
    std::memcpy(out, path.c_str(), path.size() + 1);
    return 1;
  });
}

int zk_Host_setProductDatabase(const char *path) { return platform::setProductDatabase(path); }
