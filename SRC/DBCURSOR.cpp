#include "zk/dbfld.h"

#include <cstring>
#include <memory>

#include "SRC/DbFld.h"
#include "SRC/LnkList.h"
#include "base/Memory.h"

namespace zk {
namespace {

// The names returned last: handed out again, never read through, and forgotten with their nodes.
const char *lastCurrentName = nullptr;
const char *lastNthName = nullptr;

void forgetName(const char *name) {
  if (lastCurrentName == name) lastCurrentName = nullptr;
  if (lastNthName == name) lastNthName = nullptr;
}

void clearNode(DbCursorNode *node) {
  forgetName(node->tblName);
  base::release(node->tblName);
  zk_DbFldList_destroy(node->fldList);
  node->tblName = nullptr;
  node->fldList = nullptr;
}

void ZK_CALL destroyElement(void *node) { destroyCursorNode(static_cast<DbCursorNode *>(node)); }

struct CursorDestroyer {
  void operator()(DbCursor *cursor) const { destroyList(cursor, destroyElement); }
};
using OwnedCursor = std::unique_ptr<DbCursor, CursorDestroyer>;

DbCursorNode *nodeOf(const LnkNode *element) {
  return element != nullptr ? static_cast<DbCursorNode *>(element->data) : nullptr;
}

DbCursorNode *currentNode(const DbCursor *cursor) {
  return cursor != nullptr ? nodeOf(cursor->current) : nullptr;
}

using InsertFn = int(ZK_CALL *)(LnkList *list, void *data);

int insert(DbCursor *cursor, InsertFn into, const char *tableName, DbFldList *list) {
  if (cursor == nullptr) return 0;
  DbCursorNode *node = newCursorNode(tableName, list);
  if (node == nullptr) return 0;
  const int result = into(cursor, node);
  if (result == 0) {
    node->fldList = nullptr;  // the caller keeps it
    destroyCursorNode(node);
  }
  return result;
}

const char *nameOf(const DbCursorNode *node, const char *&last) {
  if (node != nullptr) last = node->tblName;
  return last;
}

DbFldList *listOf(const DbCursorNode *node) { return node != nullptr ? node->fldList : nullptr; }

// A whole copy or none: a name that memory was refused for is a failure here.
bool appendCopy(DbCursor *cursor, const DbCursorNode &source) {
  DbFldList *list = zk_DbFldList_copy(source.fldList);
  if (list == nullptr) return false;
  DbCursorNode *node = newCursorNode(source.tblName, list);
  if (node == nullptr) {
    zk_DbFldList_destroy(list);
    return false;
  }
  if (node->tblName != nullptr && appendNode(*cursor, node) != nullptr) return true;
  destroyCursorNode(node);
  return false;
}

}  // namespace

DbCursorNode *newCursorNode(const char *tableName, DbFldList *list) noexcept {
  auto *node = static_cast<DbCursorNode *>(base::allocate(sizeof(DbCursorNode)));
  if (node == nullptr) return nullptr;
  node->fldList = list;
  node->tblName =
      tableName != nullptr ? base::duplicate(tableName, std::strlen(tableName)) : nullptr;
  return node;
}

void destroyCursorNode(DbCursorNode *node) noexcept {
  if (node == nullptr) return;
  clearNode(node);
  base::release(node);
}

}  // namespace zk

using namespace zk;

DbCursorNode *ZK_CALL zk_DbCursorNode_create(const char *tableName, DbFldList *list) {
  return newCursorNode(tableName, list);
}

// The record stays with the caller, who releases it. That is meant.
int ZK_CALL zk_DbCursorNode_destroy(DbCursorNode *node) {
  if (node == nullptr) return 0;
  clearNode(node);
  return 1;
}

DbCursor *ZK_CALL zk_DbCursor_create(void) { return newList(); }

int ZK_CALL zk_DbCursor_destroy(DbCursor *cursor) {
  destroyList(cursor, destroyElement);
  return cursor != nullptr;
}

int ZK_CALL zk_DbCursor_insStart(DbCursor *cursor, const char *tableName, DbFldList *list) {
  return insert(cursor, zk_LnkList_insStart, tableName, list);
}

int ZK_CALL zk_DbCursor_insEnd(DbCursor *cursor, const char *tableName, DbFldList *list) {
  return insert(cursor, zk_LnkList_insEnd, tableName, list);
}

int ZK_CALL zk_DbCursor_modCurr(DbCursor *cursor, const char *tableName, DbFldList *list) {
  if (cursor == nullptr || cursor->current == nullptr) return 0;
  DbCursorNode *node = newCursorNode(tableName, list);
  if (node == nullptr) return 0;
  DbCursorNode *old = currentNode(cursor);
  if (old != nullptr && old->fldList == list) old->fldList = nullptr;  // it moves to the new node
  return zk_LnkList_modCurr(cursor, node, destroyElement);
}

int ZK_CALL zk_DbCursor_delCurr(DbCursor *cursor) {
  return zk_LnkList_delCurr(cursor, destroyElement);
}

int ZK_CALL zk_DbCursor_delNth(DbCursor *cursor, int32_t index) {
  return zk_LnkList_delNth(cursor, index, destroyElement);
}

uint32_t ZK_CALL zk_DbCursor_length(const DbCursor *cursor) { return zk_LnkList_length(cursor); }

int ZK_CALL zk_DbCursor_start(DbCursor *cursor) { return zk_LnkList_start(cursor); }

int ZK_CALL zk_DbCursor_end(DbCursor *cursor) { return zk_LnkList_end(cursor); }

int ZK_CALL zk_DbCursor_skip(DbCursor *cursor, int32_t count) {
  return zk_LnkList_skip(cursor, count);
}

int ZK_CALL zk_DbCursor_next(DbCursor *cursor) { return zk_LnkList_next(cursor); }

int ZK_CALL zk_DbCursor_prev(DbCursor *cursor) { return zk_LnkList_prev(cursor); }

int ZK_CALL zk_DbCursor_eol(const DbCursor *cursor) { return zk_LnkList_eol(cursor); }

DbCursorNode *ZK_CALL zk_DbCursor_getCurr(const DbCursor *cursor) {
  return static_cast<DbCursorNode *>(zk_LnkList_getCurr(cursor));
}

DbCursorNode *ZK_CALL zk_DbCursor_getNth(DbCursor *cursor, int32_t index) {
  return static_cast<DbCursorNode *>(zk_LnkList_getNth(cursor, index));
}

int ZK_CALL zk_DbCursor_join(DbCursor *cursor, DbCursor *other) {
  return zk_LnkList_join(cursor, other);
}

DbFldList *ZK_CALL zk_DbCursor_getCurrFldList(const DbCursor *cursor) {
  return listOf(currentNode(cursor));
}

DbFldList *ZK_CALL zk_DbCursor_getNthFldList(DbCursor *cursor, int32_t index) {
  return listOf(zk_DbCursor_getNth(cursor, index));
}

const char *ZK_CALL zk_DbCursor_getCurrTblName(const DbCursor *cursor) {
  return nameOf(currentNode(cursor), lastCurrentName);
}

const char *ZK_CALL zk_DbCursor_getNthTblName(DbCursor *cursor, int32_t index) {
  return nameOf(zk_DbCursor_getNth(cursor, index), lastNthName);
}

DbCursor *ZK_CALL zk_DbCursor_copy(const DbCursor *cursor) {
  OwnedCursor copy(cursor != nullptr ? newList() : nullptr);
  if (copy == nullptr) return nullptr;
  for (const LnkNode *element = cursor->first; element != nullptr; element = element->next) {
    const DbCursorNode *node = nodeOf(element);
    if (node == nullptr || node->tblName == nullptr || node->fldList == nullptr) continue;
    if (!appendCopy(copy.get(), *node)) return nullptr;
  }
  return copy->length > 0 ? copy.release() : nullptr;
}
