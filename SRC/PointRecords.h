// What point lists and vector lists do alike: linked lists of private copies of 24-byte records.
#pragma once

#include "zk/pointlist.h"

#include <cstdarg>
#include <cstdint>

#include "SRC/Geometry.h"
#include "SRC/LnkList.h"
#include "base/Memory.h"

namespace zk {

inline void ZK_CALL releaseRecord(void *record) { base::release(record); }

// A copy from the allocator; null when refused.
inline ZkPoint *newRecord(const ZkPoint &record) noexcept {
  auto *copy = static_cast<ZkPoint *>(base::allocate(sizeof(ZkPoint)));
  if (copy != nullptr) *copy = record;
  return copy;
}

// Null where a host stored none.
inline const ZkPoint *recordOf(const LnkNode &node) noexcept {
  return static_cast<const ZkPoint *>(node.data);
}

// Makes a copy of `record` and gives it to `store`, or releases it where that fails.
template <typename Store>
int storeRecord(LnkList *list, const ZkPoint *record, Store store) {
  if (!areGiven(list, record)) return 0;
  ZkPoint *copy = newRecord(*record);
  if (copy == nullptr) return 0;
  if (store(copy)) return 1;
  base::release(copy);
  return 0;
}

// False when refused.
inline bool appendRecord(LnkList &list, const ZkPoint &record) noexcept {
  ZkPoint *copy = newRecord(record);
  if (copy == nullptr) return false;
  if (appendNode(list, copy) != nullptr) return true;
  base::release(copy);
  return false;
}

// From variadic arguments up to a null pointer; null when the header is refused.
inline LnkList *makeRecordList(const ZkPoint *first, std::va_list rest) noexcept {
  LnkList *list = newList();
  if (list == nullptr) return nullptr;
  for (const ZkPoint *record = first; record != nullptr; record = va_arg(rest, const ZkPoint *)) {
    appendRecord(*list, *record);
  }
  list->current = list->first;
  return list;
}

// Null when refused; the cursor is at end of list.
inline LnkList *copyRecordList(const LnkList *source) noexcept {
  LnkList *list = source != nullptr ? newList() : nullptr;
  if (list == nullptr) return nullptr;
  for (const LnkNode *node = source->first; node != nullptr; node = node->next) {
    const ZkPoint *record = recordOf(*node);
    if (record == nullptr || appendRecord(*list, *record)) continue;
    destroyList(list, releaseRecord);
    return nullptr;
  }
  return list;
}

// The last match, not the first, is what callers expect.
inline int32_t findLastRecord(LnkList *list, const ZkPoint *wanted, double tolerance) noexcept {
  if (!areGiven(list, wanted)) return -1;
  int32_t found = -1;
  int32_t position = 0;
  for (const LnkNode *node = list->first; node != nullptr; node = node->next, ++position) {
    const ZkPoint *record = recordOf(*node);
    if (record != nullptr && equal(*record, *wanted, tolerance)) found = position;
  }
  list->current = nullptr;
  return found;
}

inline int32_t findClosestRecord(ZkPoint *result, const ZkPoint *to, LnkList *list) noexcept {
  if (!areGiven(result, to, list)) return -1;
  const ZkPoint *best = nullptr;
  double bestDistance = INFINITY;
  int32_t found = -1;
  int32_t position = 0;
  for (const LnkNode *node = list->first; node != nullptr; node = node->next, ++position) {
    const ZkPoint *record = recordOf(*node);
    const double away = record != nullptr ? distance(*record, *to) : INFINITY;
    if (!(away < bestDistance)) continue;
    best = record;
    bestDistance = away;
    found = position;
  }
  list->current = nullptr;
  if (best != nullptr) *result = *best;
  return found;
}

// A copy of the current record in `buffer`, or null.
inline ZkPoint *copyCurrentRecord(ZkPoint &buffer, const LnkList *list) noexcept {
  const auto *record = static_cast<const ZkPoint *>(zk_LnkList_getCurr(list));
  if (record == nullptr) return nullptr;
  buffer = *record;
  return &buffer;
}

}  // namespace zk
