#include "zk/pointlist.h"

#include "SRC/PointRecords.h"
#include "SRC/Trace.h"

namespace zk {
namespace {

// Traced as the vectors' own functions are.
constexpr TraceFamily kTrace{ZK_DIAG_VECTOR, "SRC\\VECTOR.cpp"};

ZkVector currentCopy;

}  // namespace
}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

VectorList *ZK_CALL zk_VectorList_create(const ZkVector *first, ...) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_create);
  std::va_list rest;
  va_start(rest, first);
  VectorList *list = makeRecordList(first, rest);
  va_end(rest);
  return list;
}

VectorList *ZK_CALL zk_VectorList_copy(const VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_copy);
  return copyRecordList(list);
}

int ZK_CALL zk_VectorList_destroy(VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_destroy);
  return zk_LnkList_destroy(list, releaseRecord);
}

int ZK_CALL zk_VectorList_delAll(VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_delAll);
  return zk_LnkList_delAll(list, releaseRecord);
}

int ZK_CALL zk_VectorList_start(VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_start);
  return zk_LnkList_start(list);
}

int ZK_CALL zk_VectorList_end(VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_end);
  return zk_LnkList_end(list);
}

int ZK_CALL zk_VectorList_skip(VectorList *list, int32_t count) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_skip);
  return zk_LnkList_skip(list, count);
}

int ZK_CALL zk_VectorList_next(VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_next);
  return zk_LnkList_next(list);
}

int ZK_CALL zk_VectorList_prev(VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_prev);
  return zk_LnkList_prev(list);
}

int ZK_CALL zk_VectorList_eol(const VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_eol);
  return zk_LnkList_eol(list);
}

uint32_t ZK_CALL zk_VectorList_length(const VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_length);
  return zk_LnkList_length(list);
}

ZkVector *ZK_CALL zk_VectorList_getCurr(const VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_getCurr);
  return static_cast<ZkVector *>(zk_LnkList_getCurr(list));
}

ZkVector *ZK_CALL zk_VectorList_getNth(VectorList *list, int32_t index) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_getNth);
  return static_cast<ZkVector *>(zk_LnkList_getNth(list, index));
}

ZkVector *ZK_CALL zk_VectorList_getCurrCopy(const VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_getCurrCopy);
  return copyCurrentRecord(currentCopy, list);
}

int ZK_CALL zk_VectorList_insStart(VectorList *list, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_insStart);
  return storeRecord(list, vector, [&](void *copy) { return zk_LnkList_insStart(list, copy); });
}

int ZK_CALL zk_VectorList_insEnd(VectorList *list, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_insEnd);
  return storeRecord(list, vector, [&](void *copy) { return zk_LnkList_insEnd(list, copy); });
}

int ZK_CALL zk_VectorList_insBefore(VectorList *list, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_insBefore);
  return storeRecord(list, vector, [&](void *copy) { return zk_LnkList_insBefore(list, copy); });
}

int ZK_CALL zk_VectorList_insAfter(VectorList *list, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_insAfter);
  return storeRecord(list, vector, [&](void *copy) { return zk_LnkList_insAfter(list, copy); });
}

int ZK_CALL zk_VectorList_insNth(VectorList *list, int32_t index, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_insNth);
  return storeRecord(list, vector,
                     [&](void *copy) { return zk_LnkList_insNth(list, index, copy); });
}

int ZK_CALL zk_VectorList_delCurr(VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_delCurr);
  return zk_LnkList_delCurr(list, releaseRecord);
}

int ZK_CALL zk_VectorList_delNth(VectorList *list, int32_t index) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_delNth);
  return zk_LnkList_delNth(list, index, releaseRecord);
}

int ZK_CALL zk_VectorList_modCurr(VectorList *list, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_modCurr);
  return storeRecord(list, vector,
                     [&](void *copy) { return zk_LnkList_modCurr(list, copy, releaseRecord); });
}

int ZK_CALL zk_VectorList_modNth(VectorList *list, int32_t index, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_modNth);
  return storeRecord(list, vector, [&](void *copy) {
    return zk_LnkList_modNth(list, index, copy, releaseRecord);
  });
}

int32_t ZK_CALL zk_VectorList_search(VectorList *list, const ZkVector *vector, double tolerance) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_search);
  return findLastRecord(list, vector, tolerance);
}

int32_t ZK_CALL zk_VectorList_getClosestVector(ZkVector *result, const ZkVector *vector,
                                               VectorList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_VectorList_getClosestVector);
  return findClosestRecord(result, vector, list);
}

ZK_EXTERN_C_END
