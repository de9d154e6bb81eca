#include "zk/intlist.h"

#include <cstdarg>

#include "SRC/LnkList.h"

using namespace zk;

namespace {

// The cursor stays; false when refused.
bool appendInteger(IntList &list, int32_t value) {
  IntListNode *node = zk_IntListNode_create(value);
  if (node == nullptr) return false;
  if (appendNode(list, node) != nullptr) return true;
  base::release(node);
  return false;
}

}  // namespace

ZK_EXTERN_C_BEGIN

IntListNode *ZK_CALL zk_IntListNode_create(int32_t value) {
  auto *node = static_cast<IntListNode *>(base::allocate(sizeof(IntListNode)));
  if (node != nullptr) *node = {value};
  return node;
}

int ZK_CALL zk_IntListNode_destroy(IntListNode *node) {
  if (node == nullptr) return 0;
  base::release(node);
  return 1;
}

IntList *ZK_CALL zk_IntList_create(const int32_t *first, ...) {
  IntList *list = newList();
  if (list == nullptr) return nullptr;
  va_list rest;
  va_start(rest, first);
  for (const int32_t *value = first; value != nullptr; value = va_arg(rest, const int32_t *)) {
    appendInteger(*list, *value);
  }
  va_end(rest);
  list->current = list->first;
  return list;
}

int ZK_CALL zk_IntList_destroy(IntList *list) {
  if (list == nullptr) return 0;
  destroyList(list, base::release);
  return 1;
}

IntList *ZK_CALL zk_IntList_copy(const IntList *list) {
  IntList *copy = newList();
  if (copy == nullptr || list == nullptr) return copy;
  for (const LnkNode *node = list->first; node != nullptr; node = node->next) {
    const auto *integer = static_cast<const IntListNode *>(node->data);
    if (integer != nullptr && !appendInteger(*copy, integer->value)) {
      zk_IntList_destroy(copy);
      return nullptr;
    }
  }
  return copy;
}

int ZK_CALL zk_IntList_insEnd(IntList *list, int32_t value) {
  return list != nullptr && appendInteger(*list, value);
}

int32_t *ZK_CALL zk_IntList_getCurr(const IntList *list) {
  auto *node = static_cast<IntListNode *>(zk_LnkList_getCurr(list));
  return node != nullptr ? &node->value : nullptr;
}

int ZK_CALL zk_IntList_start(IntList *list) { return zk_LnkList_start(list); }
int ZK_CALL zk_IntList_next(IntList *list) { return zk_LnkList_next(list); }
int ZK_CALL zk_IntList_eol(const IntList *list) { return zk_LnkList_eol(list); }
uint32_t ZK_CALL zk_IntList_length(const IntList *list) { return zk_LnkList_length(list); }

ZK_EXTERN_C_END
