#include "zk/pointlist.h"

#include "SRC/PointRecords.h"
#include "SRC/Trace.h"

namespace zk {
namespace {

// Traced as the points' own functions are.
constexpr TraceFamily kTrace{ZK_DIAG_POINT, "SRC\\POINT.cpp"};

ZkPoint currentCopy;

}  // namespace
}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

PointList *ZK_CALL zk_PointList_create(const ZkPoint *first, ...) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_create);
  std::va_list rest;
  va_start(rest, first);
  PointList *list = makeRecordList(first, rest);
  va_end(rest);
  return list;
}

PointList *ZK_CALL zk_PointList_copy(const PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_copy);
  return copyRecordList(list);
}

int ZK_CALL zk_PointList_destroy(PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_destroy);
  return zk_LnkList_destroy(list, releaseRecord);
}

int ZK_CALL zk_PointList_delAll(PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_delAll);
  return zk_LnkList_delAll(list, releaseRecord);
}

int ZK_CALL zk_PointList_start(PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_start);
  return zk_LnkList_start(list);
}

int ZK_CALL zk_PointList_end(PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_end);
  return zk_LnkList_end(list);
}

int ZK_CALL zk_PointList_skip(PointList *list, int32_t count) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_skip);
  return zk_LnkList_skip(list, count);
}

int ZK_CALL zk_PointList_next(PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_next);
  return zk_LnkList_next(list);
}

int ZK_CALL zk_PointList_prev(PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_prev);
  return zk_LnkList_prev(list);
}

int ZK_CALL zk_PointList_eol(const PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_eol);
  return zk_LnkList_eol(list);
}

uint32_t ZK_CALL zk_PointList_length(const PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_length);
  return zk_LnkList_length(list);
}

ZkPoint *ZK_CALL zk_PointList_getCurr(const PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_getCurr);
  return static_cast<ZkPoint *>(zk_LnkList_getCurr(list));
}

ZkPoint *ZK_CALL zk_PointList_getNth(PointList *list, int32_t index) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_getNth);
  return static_cast<ZkPoint *>(zk_LnkList_getNth(list, index));
}

ZkPoint *ZK_CALL zk_PointList_getCurrCopy(const PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_getCurrCopy);
  return copyCurrentRecord(currentCopy, list);
}

int ZK_CALL zk_PointList_insStart(PointList *list, const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_insStart);
  return storeRecord(list, point, [&](void *copy) { return zk_LnkList_insStart(list, copy); });
}

int ZK_CALL zk_PointList_insEnd(PointList *list, const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_insEnd);
  return storeRecord(list, point, [&](void *copy) { return zk_LnkList_insEnd(list, copy); });
}

int ZK_CALL zk_PointList_insBefore(PointList *list, const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_insBefore);
  return storeRecord(list, point, [&](void *copy) { return zk_LnkList_insBefore(list, copy); });
}

int ZK_CALL zk_PointList_insAfter(PointList *list, const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_insAfter);
  return storeRecord(list, point, [&](void *copy) { return zk_LnkList_insAfter(list, copy); });
}

int ZK_CALL zk_PointList_insNth(PointList *list, int32_t index, const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_insNth);
  return storeRecord(list, point, [&](void *copy) { return zk_LnkList_insNth(list, index, copy); });
}

int ZK_CALL zk_PointList_delCurr(PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_delCurr);
  return zk_LnkList_delCurr(list, releaseRecord);
}

int ZK_CALL zk_PointList_delNth(PointList *list, int32_t index) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_delNth);
  return zk_LnkList_delNth(list, index, releaseRecord);
}

int ZK_CALL zk_PointList_modCurr(PointList *list, const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_modCurr);
  return storeRecord(list, point,
                     [&](void *copy) { return zk_LnkList_modCurr(list, copy, releaseRecord); });
}

int ZK_CALL zk_PointList_modNth(PointList *list, int32_t index, const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_modNth);
  return storeRecord(
      list, point, [&](void *copy) { return zk_LnkList_modNth(list, index, copy, releaseRecord); });
}

int32_t ZK_CALL zk_PointList_search(PointList *list, const ZkPoint *point, double tolerance) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_search);
  return findLastRecord(list, point, tolerance);
}

int32_t ZK_CALL zk_PointList_getClosestPoint(ZkPoint *result, const ZkPoint *point,
                                             PointList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointList_getClosestPoint);
  return findClosestRecord(result, point, list);
}

ZK_EXTERN_C_END
