// The linked list without traces, for the families that are built on it.
#pragma once

#include "zk/lnklist.h"

#include "base/Memory.h"

namespace zk {

// An empty list; null when refused.
inline LnkList *newList() noexcept {
  auto *list = static_cast<LnkList *>(base::allocate(sizeof(LnkList)));
  if (list != nullptr) *list = {0, nullptr, nullptr, nullptr};
  return list;
}

// A node between `prev` and `next`, either of which may be missing; null when refused.
inline LnkNode *insertNode(LnkList &list, void *data, LnkNode *prev, LnkNode *next) noexcept {
  auto *node = static_cast<LnkNode *>(base::allocate(sizeof(LnkNode)));
  if (node == nullptr) return nullptr;
  *node = {data, next, prev};
  (prev != nullptr ? prev->next : list.first) = node;
  (next != nullptr ? next->prev : list.last) = node;
  ++list.length;
  return node;
}

// The new tail; null when refused. The cursor stays.
inline LnkNode *appendNode(LnkList &list, void *data) noexcept {
  return insertNode(list, data, list.last, nullptr);
}

// Takes a node out of the chain without releasing it or looking at the cursor.
inline void unlinkNode(LnkList &list, LnkNode &node) noexcept {
  (node.prev != nullptr ? node.prev->next : list.first) = node.next;
  (node.next != nullptr ? node.next->prev : list.last) = node.prev;
  --list.length;
}

// Null when `index` is not a position of the list.
LnkNode *nodeAt(const LnkList &list, int32_t index) noexcept;

// Moves all nodes of `other` to the end of `list`; the cursor of `list` stays.
void spliceNodes(LnkList &list, LnkList &other) noexcept;

// zk_LnkList_qSort, which traces; false when memory was refused.
bool quickSort(LnkList *list, ZkCompareFn compare);

void clearList(LnkList &list, ZkFreeDataFn freeData);
// Null is ignored.
void destroyList(LnkList *list, ZkFreeDataFn freeData);

}  // namespace zk
