#include "zk/lnklist.h"

#include <algorithm>
#include <cstdarg>

#include "SRC/LnkList.h"
#include "SRC/Trace.h"
#include "base/Guard.h"
#include "base/Memory.h"

namespace zk {

LnkNode *nodeAt(const LnkList &list, int32_t index) noexcept {
  if (index < 0) return nullptr;
  LnkNode *node = list.first;
  while (node != nullptr && index-- > 0) node = node->next;
  return node;
}

void spliceNodes(LnkList &list, LnkList &other) noexcept {
  if (other.first != nullptr && other.last != nullptr) {
    (list.last != nullptr ? list.last->next : list.first) = other.first;
    other.first->prev = list.last;
    list.last = other.last;
    list.length += other.length;
  }
  other = {0, nullptr, nullptr, nullptr};
}

void clearList(LnkList &list, ZkFreeDataFn freeData) {
  while (list.first != nullptr) {
    LnkNode *node = list.first;
    list.first = node->next;
    if (freeData != nullptr && node->data != nullptr) freeData(node->data);
    base::release(node);
    --list.length;
  }
  // The length of a partition's half was never counted.
  list = {0, nullptr, nullptr, nullptr};
}

void destroyList(LnkList *list, ZkFreeDataFn freeData) {
  if (list == nullptr) return;
  clearList(*list, freeData);
  base::release(list);
}

namespace {

constexpr TraceFamily kTrace{ZK_DIAG_LNKLIST, "SRC\\LNKLIST.cpp"};

int stepForward(LnkList &list) {
  if (list.current != nullptr) list.current = list.current->next;
  return list.current != nullptr;
}

int stepBack(LnkList &list) {
  if (list.current != nullptr) list.current = list.current->prev;
  return list.current != nullptr;
}

int insertBefore(LnkList &list, void *data) {
  LnkNode *at = list.current != nullptr ? list.current : list.first;
  LnkNode *node = insertNode(list, data, at != nullptr ? at->prev : nullptr, at);
  if (node == nullptr) return 0;
  list.current = at != nullptr ? at : node;
  return 1;
}

int insertAfter(LnkList &list, void *data) {
  LnkNode *at = list.current != nullptr ? list.current : list.last;
  LnkNode *node = insertNode(list, data, at, at != nullptr ? at->next : nullptr);
  if (node == nullptr) return 0;
  list.current = at != nullptr ? at : node;
  return 1;
}

void *findPivot(const LnkList &list, ZkCompareFn compare) {
  if (list.first == nullptr || list.first->data == nullptr) return nullptr;
  void *first = list.first->data;
  for (const LnkNode *node = list.first->next; node != nullptr; node = node->next) {
    if (node->data == nullptr) continue;
    const int order = compare(node->data, first);
    if (order != 0) return order < 0 ? first : node->data;
  }
  return nullptr;
}

// A merge sort of data pointers. Its bounds never depend on what the comparison answers.
class MergeSort {
 public:
  explicit MergeSort(ZkCompareFn compare) : compare_(compare) {}

  // Sorts `items`; `scratch` holds the same elements beforehand.
  void sort(void **scratch, void **items, std::size_t count) const {
    if (count <= kRunLength) return insertionSort(items, count);
    const std::size_t half = count / 2;
    sort(items, scratch, half);
    sort(items + half, scratch + half, count - half);
    merge(scratch, half, count, items);
  }

 private:
  // Below this many elements insertion takes fewer steps than merging.
  static constexpr std::size_t kRunLength = 8;

  // Callers promise to take null as the first argument only.
  bool isBefore(const void *a, const void *b) const {
    if (b != nullptr) return compare_(a, b) < 0;
    return a != nullptr && compare_(b, a) > 0;
  }

  void insertionSort(void **items, std::size_t count) const {
    for (std::size_t i = 1; i < count; ++i) {
      void *item = items[i];
      std::size_t hole = i;
      for (; hole > 0 && isBefore(item, items[hole - 1]); --hole) items[hole] = items[hole - 1];
      items[hole] = item;
    }
  }

  // Merges the sorted parts [0, half) and [half, count) of `from` into `to`.
  void merge(void **from, std::size_t half, std::size_t count, void **to) const {
    void **left = from;
    void **const leftEnd = from + half;
    void **right = leftEnd;
    void **const rightEnd = from + count;
    if (isBefore(*right, leftEnd[-1])) {
      while (left != leftEnd && right != rightEnd) {
        // Without a branch: which side comes next cannot be predicted.
        const bool takeRight = isBefore(*right, *left);
        *to++ = takeRight ? *right : *left;
        right += takeRight;
        left += !takeRight;
      }
    }
    std::copy(right, rightEnd, std::copy(left, leftEnd, to));
  }

  ZkCompareFn compare_;
};

void sortByMerging(LnkList &list, ZkCompareFn compare) {
  base::Vector<void *> items;
  items.reserve(list.length);
  for (const LnkNode *node = list.first; node != nullptr; node = node->next) {
    items.push_back(node->data);
  }
  base::Vector<void *> scratch(items);

  MergeSort(compare).sort(scratch.data(), items.data(), items.size());

  auto item = items.begin();
  for (LnkNode *node = list.first; node != nullptr && item != items.end(); node = node->next) {
    node->data = *item++;
  }
  list.current = nullptr;
}

}  // namespace

bool quickSort(LnkList *list, ZkCompareFn compare) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_qSort);
  if (list == nullptr || compare == nullptr || findPivot(*list, compare) == nullptr) return true;
  return base::guarded(false, [&] {
    sortByMerging(*list, compare);
    return true;
  });
}

}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

LnkList *ZK_CALL zk_LnkList_create(void *first, ...) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_create);
  LnkList *list = newList();
  if (list == nullptr) return nullptr;
  va_list rest;
  va_start(rest, first);
  for (void *data = first; data != nullptr; data = va_arg(rest, void *)) appendNode(*list, data);
  va_end(rest);
  list->current = list->first;
  return list;
}

int ZK_CALL zk_LnkList_destroy(LnkList *list, ZkFreeDataFn freeData) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_destroy);
  if (list == nullptr) return 0;
  const int result = zk_LnkList_delAll(list, freeData);
  base::release(list);
  return result;
}

int ZK_CALL zk_LnkList_delAll(LnkList *list, ZkFreeDataFn freeData) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_delAll);
  if (list == nullptr) return 0;
  clearList(*list, freeData);
  return 1;
}

int ZK_CALL zk_LnkList_insStart(LnkList *list, void *data) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_insStart);
  return list != nullptr && insertNode(*list, data, nullptr, list->first) != nullptr;
}

int ZK_CALL zk_LnkList_insEnd(LnkList *list, void *data) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_insEnd);
  return list != nullptr && appendNode(*list, data) != nullptr;
}

int ZK_CALL zk_LnkList_insBefore(LnkList *list, void *data) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_insBefore);
  return list != nullptr ? insertBefore(*list, data) : 0;
}

int ZK_CALL zk_LnkList_insAfter(LnkList *list, void *data) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_insAfter);
  return list != nullptr ? insertAfter(*list, data) : 0;
}

// Null data at `index` means "insert behind it", as callers have come to expect.
int ZK_CALL zk_LnkList_insNth(LnkList *list, int32_t index, void *data) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_insNth);
  if (list == nullptr) return 0;
  return zk_LnkList_getNth(list, index) != nullptr ? insertBefore(*list, data)
                                                   : insertAfter(*list, data);
}

int ZK_CALL zk_LnkList_delCurr(LnkList *list, ZkFreeDataFn freeData) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_delCurr);
  if (list == nullptr || list->current == nullptr) return 0;
  LnkNode *node = list->current;
  list->current = node->next != nullptr ? node->next : node->prev;
  unlinkNode(*list, *node);
  if (freeData != nullptr && node->data != nullptr) freeData(node->data);
  base::release(node);
  return 1;
}

int ZK_CALL zk_LnkList_delNth(LnkList *list, int32_t index, ZkFreeDataFn freeData) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_delNth);
  return zk_LnkList_getNth(list, index) != nullptr ? zk_LnkList_delCurr(list, freeData) : 0;
}

int ZK_CALL zk_LnkList_start(LnkList *list) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_start);
  if (list == nullptr) return 0;
  list->current = list->first;
  return list->current != nullptr;
}

int ZK_CALL zk_LnkList_end(LnkList *list) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_end);
  if (list == nullptr) return 0;
  list->current = list->last;
  return list->current != nullptr;
}

int ZK_CALL zk_LnkList_skip(LnkList *list, int32_t count) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_skip);
  if (list == nullptr) return 0;
  for (; count > 0 && list->current != nullptr; --count) stepForward(*list);
  for (; count < 0 && list->current != nullptr; ++count) stepBack(*list);
  return list->current != nullptr;
}

int ZK_CALL zk_LnkList_next(LnkList *list) { return list != nullptr ? stepForward(*list) : 0; }

int ZK_CALL zk_LnkList_prev(LnkList *list) { return list != nullptr ? stepBack(*list) : 0; }

int ZK_CALL zk_LnkList_eol(const LnkList *list) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_eol);
  return list == nullptr || list->current == nullptr;
}

int ZK_CALL zk_LnkList_isLast(const LnkList *list) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_isLast);
  return list != nullptr && list->current == list->last;
}

uint32_t ZK_CALL zk_LnkList_length(const LnkList *list) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_length);
  return list != nullptr ? list->length : 0;
}

void *ZK_CALL zk_LnkList_getCurr(const LnkList *list) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_getCurr);
  return list != nullptr && list->current != nullptr ? list->current->data : nullptr;
}

int ZK_CALL zk_LnkList_modCurr(LnkList *list, void *data, ZkFreeDataFn freeData) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_modCurr);
  if (list == nullptr || list->current == nullptr) return 0;
  LnkNode *node = list->current;
  if (freeData != nullptr && node->data != nullptr) freeData(node->data);
  node->data = data;
  return 1;
}

void *ZK_CALL zk_LnkList_getNth(LnkList *list, int32_t index) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_getNth);
  if (list == nullptr || index < 0) return nullptr;
  zk_LnkList_start(list);
  while (index-- > 0 && zk_LnkList_next(list)) {
  }
  return list->current != nullptr ? list->current->data : nullptr;
}

// From end of list the cursor comes back on the first node, not null: getPos has no other answer
// for it than -1, and setPos takes that as 0.
void *ZK_CALL zk_LnkList_getNthSavePos(LnkList *list, int32_t index) {
  const int32_t position = zk_LnkList_getPos(list);
  void *data = zk_LnkList_getNth(list, index);
  zk_LnkList_setPos(list, position);
  return data;
}

int ZK_CALL zk_LnkList_setPos(LnkList *list, int32_t index) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_setPos);
  if (list == nullptr) return 0;
  zk_LnkList_start(list);
  for (; index > 0 && stepForward(*list); --index) {
  }
  return 1;
}

int32_t ZK_CALL zk_LnkList_getPos(LnkList *list) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_getPos);
  if (list == nullptr || list->current == nullptr) return -1;
  int32_t position = -1;
  for (const LnkNode *node = list->current; node != nullptr; node = node->prev) ++position;
  zk_LnkList_setPos(list, position);
  return position;
}

int ZK_CALL zk_LnkList_modNth(LnkList *list, int32_t index, void *data, ZkFreeDataFn freeData) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_modNth);
  return zk_LnkList_getNth(list, index) != nullptr ? zk_LnkList_modCurr(list, data, freeData) : 0;
}

void *ZK_CALL zk_LnkList_search(LnkList *list, const void *key, ZkCompareFn compare) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_search);
  if (list == nullptr || compare == nullptr) return nullptr;
  LnkNode *node = list->first;
  while (node != nullptr && (node->data == nullptr || compare(node->data, key) != 0)) {
    node = node->next;
  }
  list->current = node;
  return node != nullptr ? node->data : nullptr;
}

int ZK_CALL zk_LnkList_move(LnkList *list, int32_t from, int32_t to) {
  if (list == nullptr) return 0;
  LnkNode *node = nodeAt(*list, from);
  LnkNode *target = nodeAt(*list, to);
  if (node == nullptr || target == nullptr) return 0;
  if (node == target) return 1;

  unlinkNode(*list, *node);
  node->prev = from < to ? target : target->prev;
  node->next = from < to ? target->next : target;
  (node->prev != nullptr ? node->prev->next : list->first) = node;
  (node->next != nullptr ? node->next->prev : list->last) = node;
  ++list->length;
  list->current = node;
  return 1;
}

int ZK_CALL zk_LnkList_join(LnkList *list, LnkList *other) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_join);
  if (list == nullptr || other == nullptr || list == other) return 0;
  spliceNodes(*list, *other);
  list->current = list->first;
  zk_LnkList_destroy(other, nullptr);
  return 1;
}

void ZK_CALL zk_LnkList_sort(LnkList *list, ZkCompareFn compare) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_sort);
  if (list == nullptr || compare == nullptr) return;
  for (LnkNode *place = list->first; place != nullptr; place = place->next) {
    if (place->data == nullptr) continue;
    LnkNode *least = place;
    for (LnkNode *node = place->next; node != nullptr; node = node->next) {
      if (node->data != nullptr && compare(node->data, least->data) < 0) least = node;
    }
    std::swap(place->data, least->data);
  }
}

void ZK_CALL zk_LnkList_qSort(LnkList *list, ZkCompareFn compare) { quickSort(list, compare); }

void *ZK_CALL zk_LnkList_findPivot(LnkList *list, ZkCompareFn compare) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_findPivot);
  return list != nullptr && compare != nullptr ? findPivot(*list, compare) : nullptr;
}

void ZK_CALL zk_LnkList_partition(LnkList *list, LnkList *left, LnkList *right, void *pivot,
                                  ZkCompareFn compare) {
  ZK_TRACE_EXITING(kTrace, zk_LnkList_partition);
  if (list == nullptr || left == nullptr || right == nullptr) return;
  if (pivot == nullptr || compare == nullptr) return;

  LnkNode *leftLast = nullptr;
  LnkNode *rightFirst = list->first;
  for (LnkNode *node = list->first; node != nullptr; node = node->next) {
    if (compare(node->data, pivot) >= 0) continue;
    leftLast = rightFirst;
    rightFirst = rightFirst->next;
    std::swap(leftLast->data, node->data);
  }

  // The chain stays cut: whoever called joins it again (see the header).
  if (leftLast != nullptr) leftLast->next = nullptr;
  if (rightFirst != nullptr) rightFirst->prev = nullptr;
  LnkNode *const first = list->first;
  LnkNode *const leftFirst = leftLast != nullptr ? first : nullptr;
  LnkNode *const rightLast = rightFirst != nullptr ? list->last : nullptr;
  // The right cursor is not moved with the right part's first node.
  *right = {right->length, rightFirst, rightLast, first};
  *left = {left->length, leftFirst, leftLast, leftFirst};
  list->current = nullptr;
}

ZK_EXTERN_C_END
