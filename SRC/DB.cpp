// Table access by integer ids.
#include "zk/db.h"

#include <cstring>
#include <new>

#include "SRC/DbFld.h"
#include "SRC/Engine.h"
#include "SRC/LnkList.h"
#include "base/Guard.h"
#include "base/Memory.h"
#include "base/Number.h"
#include "engine/Query.h"
#include "engine/Table.h"

namespace zk {
namespace {

using engine::Field;
using engine::Table;

constexpr int kUnknown = 1;
constexpr int32_t kNone = -1;
constexpr std::size_t kFieldTextSize = 512;  // of zk_Db_getFldStr, the terminator included

// The context lives in static storage and is never destroyed: at unload the host's allocator may be
// gone.
alignas(engine::Context) unsigned char contextStorage[sizeof(engine::Context)];
engine::Context *context = nullptr;

std::string_view withoutTrailingBlanks(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

const Field *fieldOf(int32_t tableId, const char *name) {
  const Table *table = tableById(tableId);
  return table != nullptr && name != nullptr ? table->findField(name) : nullptr;
}

// An operation on an open table that gives the engine's status.
template <typename Operation>
int onTable(int32_t tableId, Operation operation) {
  Table *table = tableById(tableId);
  return table != nullptr ? operation(*table) : noTableStatus();
}

// A positioning operation: the tag number chooses the order first.
template <typename Operation>
int inOrder(int32_t tableId, int32_t tagNumber, Operation operation) {
  Table *table = tableById(tableId);
  if (table == nullptr) return noTableStatus();
  selectOrder(*table, tagNumber);
  return operation(*table);
}

// An assignment to a field by name.
template <typename Assignment>
int assign(int32_t tableId, const char *name, Assignment assignment) {
  const Field *field = fieldOf(tableId, name);
  return field != nullptr && assignment(*field) == engine::kOk ? 0 : 1;
}

int32_t registerTable(Table *table) {
  if (table == nullptr) return kNone;
  const int32_t tableId = zk_DbRef_add(handleOf(table));
  if (tableId == kNone) {
    table->close();
    context->fail(engine::kErrMemory);
  }
  return tableId;
}

int storeNode(Table &table, const DbFldNode *node) {
  if (node == nullptr || node->value == nullptr) return 1;
  const Field *field = table.findField(node->name);
  if (field == nullptr) return 1;
  const std::string_view value = node->value;
  int status;
  switch (field->type) {
    case 'F':
    case 'N':
      status = field->assignDouble(base::toDouble(value));
      break;
    case 'L':
      // The number itself becomes the byte, not a letter: meant, callers depend on it.
      status = field->assignByte(static_cast<char>(base::toInt32(value)));
      break;
    default:
      status = field->assignText(value);
      break;
  }
  return status == engine::kOk ? 0 : 1;
}

// ---- Records as field lists

// Null when memory is refused.
DbFldNode *nodeOf(const Field &field) {
  std::string_view text;
  // A memo that cannot be read is empty; the error stays in the context.
  if (field.text(text) == engine::kErrMemory) return nullptr;
  return newFieldNode(field.name, static_cast<int32_t>(field.width), field.decimals, field.type,
                      text.data() != nullptr ? text.data() : "", text.size());
}

// Memory was refused on the way: recorded, and null for the caller.
std::nullptr_t outOfMemory(const Table &table) {
  table.context().fail(engine::kErrMemory, table.path().c_str());
  return nullptr;
}

bool appendAllFields(const Table &table, DbFldList *list) {
  for (const Field &field : table.fields()) {
    if (!appendFieldNode(list, nodeOf(field))) return false;
  }
  return true;
}

// Leading blanks are kept here, of numbers too, unlike in a list made from the fields: meant.
bool fillNode(const Table &table, DbFldNode &node) {
  const Field *field = table.findField(node.name);
  if (field == nullptr) {
    node.width = 1;
    node.prec = 0;
    node.type = 'C';
    return setFieldText(&node, "", 0);
  }
  std::string_view text;
  if (field->text(text) == engine::kErrMemory) return false;
  text = withoutTrailingBlanks(text);
  node.width = static_cast<int32_t>(field->width);
  node.prec = field->decimals;
  node.type = field->type;
  return setFieldText(&node, text.empty() ? "" : text.data(), text.size());
}

DbFldList *readRecord(const Table &table, DbFldList *list) {
  if (list != nullptr && list->length > 0) {
    for (LnkNode *node = list->first; node != nullptr; node = node->next) {
      if (node->data == nullptr) continue;
      if (!fillNode(table, *static_cast<DbFldNode *>(node->data))) return outOfMemory(table);
    }
    return list;
  }
  DbFldList *const filled = list != nullptr ? list : newList();
  if (filled == nullptr) return outOfMemory(table);
  if (appendAllFields(table, filled)) return filled;
  if (list == nullptr) zk_DbFldList_destroy(filled);
  return outOfMemory(table);
}

// A record for a cursor: all fields, or those of a template.
DbFldList *readRecordLike(const Table &table, const DbFldList *fields) {
  if (fields == nullptr) return readRecord(table, nullptr);
  DbFldList *copy = zk_DbFldList_copy(fields);
  if (copy == nullptr) return outOfMemory(table);
  DbFldList *filled = readRecord(table, copy);
  if (filled == nullptr) zk_DbFldList_destroy(copy);
  return filled;
}

bool appendRecord(DbCursor *cursor, const Table &table, const char *tableName,
                  const DbFldList *fields) {
  DbFldList *record = readRecordLike(table, fields);
  if (record == nullptr) return false;
  DbCursorNode *node = newCursorNode(tableName, record);
  if (node == nullptr) {
    zk_DbFldList_destroy(record);
  } else if ((tableName == nullptr || node->tblName != nullptr) &&
             appendNode(*cursor, node) != nullptr) {
    return true;
  } else {
    destroyCursorNode(node);
  }
  outOfMemory(table);
  return false;
}

// The current record and those that `next` goes to, until it says end of file; null, with nothing
// leaked, when it says anything else or memory is refused.
template <typename Next>
DbCursor *collect(const Table &table, const char *tableName, const DbFldList *fields, int status,
                  Next next) {
  DbCursor *cursor = zk_DbCursor_create();
  if (cursor == nullptr) return outOfMemory(table);
  while (status == engine::kOk) {
    status = appendRecord(cursor, table, tableName, fields) ? next() : engine::kErrMemory;
  }
  if (status == engine::kEndOfFile) return cursor;
  zk_DbCursor_destroy(cursor);
  return nullptr;
}

}  // namespace

engine::Context *accessContext() noexcept { return context; }

engine::Context *prepareAccess() noexcept {
  if (context == nullptr) {
    context = new (contextStorage) engine::Context();
    applyAccessSettings(*context);
  }
  return prepareRegistries() ? context : nullptr;
}

}  // namespace zk

using namespace zk;

// ---- Opening and closing

int zk_Db_init(void) { return prepareAccess() != nullptr; }

int32_t zk_Db_openDb(const char *fileName) { return zk_Db_openDbEx(fileName, 0); }

int32_t zk_Db_openDbEx(const char *fileName, int mode) {
  if (prepareAccess() == nullptr) return kNone;
  context->clearError();
  context->settings.openMode = mode;
  Table *table = Table::open(*context, fileName);
  context->settings.openMode = 0;
  return registerTable(table);
}

int32_t zk_Db_createDb(const char *fileName, const DbFldList *fields) {
  if (prepareAccess() == nullptr) return kNone;
  context->clearError();
  if (fields == nullptr) {
    context->fail(engine::kErrParameter, fileName);
    return kNone;
  }
  base::OwnedBlock<engine::FieldDefinition> definitions(static_cast<engine::FieldDefinition *>(
      base::allocate((fields->length + 1) * sizeof(engine::FieldDefinition))));
  if (definitions == nullptr) {
    context->fail(engine::kErrMemory, fileName);
    return kNone;
  }
  std::size_t count = 0;
  for (const LnkNode *node = fields->first; node != nullptr; node = node->next) {
    const auto *field = static_cast<const DbFldNode *>(node->data);
    if (field == nullptr) continue;
    definitions.get()[count++] = {field->name, field->type, field->width, field->prec};
  }
  return registerTable(Table::create(*context, fileName, definitions.get(), count));
}

int zk_Db_freeFldInfo(ZkFieldInfo *fields, int32_t count) {
  if (fields == nullptr) return 0;
  for (int32_t i = 0; i < count; ++i) base::release(fields[i].name);
  base::release(fields);
  return 1;
}

int zk_Db_closeDb(int32_t tableId) {
  Table *table = tableById(tableId);
  if (table == nullptr) return noTableStatus();
  forgetTable(table);
  zk_DbRef_delTags(tableId);
  return table->close();
}

int zk_Db_closeAll(void) {
  if (context == nullptr) return 1;
  context->clearError();
  if (engine::isAnyWaiting()) return engine::kLocked;
  forgetAllTables();
  return context->closeAll();
}

int zk_Db_rendx(void) { return -1; }

// ---- Index files

int32_t zk_Db_openNdx(int32_t tableId, const char *fileName) {
  Table *table = tableById(tableId);
  engine::IndexFile *index = nullptr;
  if (table == nullptr || table->openIndex(fileName, index) != engine::kOk) return kNone;
  const int32_t tagId = zk_DbTagRef_add(tableId, handleOf(index));
  if (tagId == kNone) table->context().fail(engine::kErrMemory, fileName);
  return tagId;
}

int32_t zk_Db_createNdx(int32_t tableId, const char *fileName, const char *tagInfo, int unique) {
  Table *table = tableById(tableId);
  if (table == nullptr) return kNone;
  const int32_t tagId = zk_DbTagRef_add(tableId, nullptr);
  ZkIndex *index = zk_Cb_i4create(handleOf(table), fileName, tagInfo, tagId, unique);
  // A failure gives the id back all the same: meant, callers depend on it.
  if (index == nullptr) {
    zk_DbTagRef_del(tagId);
  } else {
    zk_DbTagRef_update(tagId, index);
  }
  return tagId;
}

int zk_Db_closeNdx(int32_t tagId) {
  if (context != nullptr) context->clearError();
  engine::IndexFile *index = engine::liveIndex(zk_DbTagRef_selNdx(tagId));
  if (index == nullptr) return kUnknown;
  zk_DbTagRef_del(tagId);
  // The engine keeps a production index open as long as its table.
  Table &table = index->table();
  return table.isProductionIndex(index) ? engine::kOk : table.closeIndex(index);
}

// ---- Position

int zk_Db_topRec(int32_t tableId, int32_t tagNumber) {
  return inOrder(tableId, tagNumber, [](Table &table) { return table.top(); });
}

int zk_Db_botRec(int32_t tableId, int32_t tagNumber) {
  return inOrder(tableId, tagNumber, [](Table &table) { return table.bottom(); });
}

int zk_Db_nextRec(int32_t tableId, int32_t tagNumber) {
  return inOrder(tableId, tagNumber, [](Table &table) { return table.skip(1); });
}

int zk_Db_prevRec(int32_t tableId, int32_t tagNumber) {
  return inOrder(tableId, tagNumber, [](Table &table) { return table.skip(-1); });
}

int zk_Db_seekStr(const char *key, int32_t tableId, int32_t tagNumber) {
  const std::string_view text = key != nullptr ? key : "";
  return inOrder(tableId, tagNumber, [text](Table &table) { return table.seek(text); });
}

int zk_Db_seekDouble(double key, int32_t tableId, int32_t tagNumber) {
  return inOrder(tableId, tagNumber, [key](Table &table) { return table.seek(key); });
}

int zk_Db_eof(int32_t tableId) {
  return onTable(tableId, [](const Table &table) { return table.atEnd() ? 1 : 0; });
}

int zk_Db_bof(int32_t tableId) {
  return onTable(tableId, [](const Table &table) { return table.atBeginning() ? 1 : 0; });
}

int zk_Db_deleted(int32_t tableId) {
  return onTable(tableId, [](Table &table) { return table.deleted() ? 1 : 0; });
}

int zk_Db_delRec(int32_t tableId) {
  return onTable(tableId, [](Table &table) {
    table.setDeleted(true);
    return 0;
  });
}

int zk_Db_undelRec(int32_t tableId) {
  return onTable(tableId, [](Table &table) {
    table.setDeleted(false);
    return 0;
  });
}

int zk_Db_packDb(int32_t tableId) {
  return onTable(tableId, [](Table &table) {
    const int status = table.pack();
    return status == engine::kEndOfFile ? engine::kOk : status;  // nothing was left over
  });
}

int32_t zk_Db_getRecordCount(int32_t tableId) {
  Table *table = tableById(tableId);
  return table != nullptr ? static_cast<int32_t>(table->recordCount()) : 0;
}

int32_t zk_Db_getRecordNo(int32_t tableId) {
  const Table *table = tableById(tableId);
  return table != nullptr ? static_cast<int32_t>(table->recordNumber()) : 0;
}

// ---- Writing records

int zk_Db_appRec(int32_t tableId) {
  return onTable(tableId, [](Table &table) {
    const int status = table.appendBlank();
    if (status != engine::kOk) return status;
    table.writeCurrent();  // its status is not passed on
    return 0;
  });
}

int zk_Db_appendStart(int32_t tableId) {
  return onTable(tableId, [](Table &table) { return table.appendStart(); });
}

int zk_Db_append(int32_t tableId) {
  return onTable(tableId, [](Table &table) { return table.append(); });
}

int zk_Db_writeRec(int32_t tableId) {
  return onTable(tableId, [](Table &table) {
    table.writeCurrent();  // its status is not passed on
    return 0;
  });
}

int zk_Db_modRec(int32_t tableId, const DbFldList *list) {
  return onTable(tableId, [list](Table &table) {
    if (list == nullptr) return 0;
    int result = 0;
    for (const LnkNode *node = list->first; node != nullptr; node = node->next) {
      if (storeNode(table, static_cast<const DbFldNode *>(node->data)) != 0) result = 1;
    }
    table.writeCurrent();
    return result;
  });
}

int zk_Db_updFld(ZkTable *table, const DbFldNode *node) {
  Table *live = engine::liveTable(table);
  if (live == nullptr) return 1;
  live->context().clearError();
  return storeNode(*live, node);
}

// ---- Fields of the current record

int zk_Db_assignFldStr(int32_t tableId, const char *field, const char *text) {
  if (text == nullptr) return 1;
  return assign(tableId, field, [text](const Field &found) { return found.assignText(text); });
}

int zk_Db_assignFldStrN(int32_t tableId, const char *field, const char *text, int32_t length) {
  if (text == nullptr) return 1;
  const std::string_view value(text, length > 0 ? static_cast<std::size_t>(length) : 0);
  return assign(tableId, field, [value](const Field &found) { return found.assignText(value); });
}

int zk_Db_assignFldDouble(int32_t tableId, const char *field, double value) {
  return assign(tableId, field, [value](const Field &found) { return found.assignDouble(value); });
}

int zk_Db_assignFldInt(int32_t tableId, const char *field, int32_t value) {
  return assign(tableId, field, [value](const Field &found) { return found.assignDouble(value); });
}

const char *zk_Db_getFldStr(int32_t tableId, const char *field) {
  static char buffer[kFieldTextSize];
  std::string_view text;
  const Field *found = fieldOf(tableId, field);  // before writing: the name may be our last result
  if (found != nullptr) found->text(text);
  text = withoutTrailingBlanks(text);
  if (text.size() > kFieldTextSize - 1) text = text.substr(0, kFieldTextSize - 1);
  if (!text.empty()) std::memcpy(buffer, text.data(), text.size());
  buffer[text.size()] = '\0';
  return buffer;
}

double zk_Db_getFldDouble(int32_t tableId, const char *field) {
  const Field *found = fieldOf(tableId, field);
  return found != nullptr ? found->toDouble() : 0.0;
}

int32_t zk_Db_getFldInt(int32_t tableId, const char *field) {
  const Field *found = fieldOf(tableId, field);
  return found != nullptr ? found->toInt() : 0;
}

int32_t zk_Db_cpyFldN(int32_t tableId, const char *field, char *buffer, int32_t size) {
  const Field *found = fieldOf(tableId, field);
  if (buffer == nullptr) return 0;
  buffer[0] = '\0';
  std::string_view text;
  if (found == nullptr || size < 1 || found->text(text) != engine::kOk) return 0;
  const std::size_t length =
      text.size() < static_cast<std::size_t>(size) ? text.size() : static_cast<std::size_t>(size);
  if (length > 0) std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
  return static_cast<int32_t>(length);
}

int zk_Db_padVal(char *text, int32_t tableId, const char *field) {
  const Field *found = fieldOf(tableId, field);
  if (found == nullptr || text == nullptr) return 1;
  std::size_t length = std::strlen(text);
  if (length >= found->width) return 0;
  std::memset(text + length, ' ', found->width - length);
  text[found->width] = '\0';
  return 0;
}

// ---- Reading whole records

DbFldNode *zk_DbFldNode_fromFld(const ZkField *field) {
  const Field *live = engine::liveField(field);
  return live != nullptr ? nodeOf(*live) : nullptr;
}

DbFldList *zk_Db_readRec(int32_t tableId, DbFldList *list) {
  const Table *table = tableById(tableId);
  return table != nullptr ? readRecord(*table, list) : nullptr;
}

DbFldList *zk_Db_readCurrRec(ZkTable *table, DbFldList *list) {
  const Table *live = engine::liveTable(table);
  if (live == nullptr) return nullptr;
  live->context().clearError();
  return readRecord(*live, list);
}

DbFldList *zk_Db_struct(int32_t tableId) { return zk_Db_readRec(tableId, nullptr); }

DbCursor *zk_Db_readTable(int32_t tableId, const char *tableName, const DbFldList *fields) {
  Table *table = tableById(tableId);
  if (table == nullptr) return nullptr;
  int status = table->top();
  if (status != engine::kOk) return nullptr;
  table->beginScan();
  DbCursor *cursor = collect(*table, tableName, fields, status, [table] { return table->skip(1); });
  table->endScan();
  return cursor;
}

DbCursor *zk_Db_query(int32_t tableId, const char *condition, const char *tableName,
                      const DbFldList *fields) {
  Table *table = tableById(tableId);
  if (table == nullptr) return nullptr;
  DbCursor *cursor = nullptr;
  const bool compiled = base::guarded(false, [&] {
    engine::Query query(*table);
    int status = query.setCondition(condition != nullptr ? condition : "");
    if (status == engine::kOk) status = query.begin();
    if (status == engine::kOk) status = query.first();
    if (status != engine::kOk) return true;
    cursor = collect(*table, tableName, fields, status, [&query] { return query.next(); });
    return true;
  });
  return compiled ? cursor : outOfMemory(*table);
}
