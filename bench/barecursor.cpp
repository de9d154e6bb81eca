#include "barecursor.h"

#include <cstdlib>
#include <cstring>

#include "zk/lnklist.h"

namespace zk::bench {
namespace {

template <typename T>
T *allocated() {
  return static_cast<T *>(std::malloc(sizeof(T)));
}

LnkList *newList() {
  auto *list = allocated<LnkList>();
  *list = {};
  return list;
}

void append(LnkList *list, void *data) {
  auto *node = allocated<LnkNode>();
  *node = {data, nullptr, list->last};
  (list->last != nullptr ? list->last->next : list->first) = node;
  list->last = node;
  ++list->length;
}

template <typename Free>
void destroy(LnkList *list, Free freeData) {
  for (LnkNode *node = list->first; node != nullptr;) {
    LnkNode *next = node->next;
    freeData(node->data);
    std::free(node);
    node = next;
  }
  std::free(list);
}

void freeField(void *data) {
  std::free(static_cast<DbFldNode *>(data)->value);
  std::free(data);
}

void freeRecord(void *data) {
  auto *record = static_cast<DbCursorNode *>(data);
  std::free(record->tblName);
  destroy(record->fldList, freeField);
  std::free(record);
}

}  // namespace

char *copied(const char *text, std::size_t length) {
  char *copy = static_cast<char *>(std::malloc(length + 1));
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  return copy;
}

DbCursor *newBareCursor() { return newList(); }
DbFldList *newBareFields() { return newList(); }

void appendBareField(DbFldList *fields, const FieldLayout &layout, const char *text,
                     std::size_t length) {
  auto *field = allocated<DbFldNode>();
  std::strcpy(field->name, layout.name);
  field->width = layout.width;
  field->prec = layout.decimals;
  field->type = layout.type;
  field->value = copied(text, length);
  append(fields, field);
}

void appendBareRecord(DbCursor *cursor, DbFldList *fields, const char *tableName) {
  auto *record = allocated<DbCursorNode>();
  *record = {fields, copied(tableName, std::strlen(tableName))};
  append(cursor, record);
}

void destroyBareCursor(DbCursor *cursor) { destroy(cursor, freeRecord); }

}  // namespace zk::bench
