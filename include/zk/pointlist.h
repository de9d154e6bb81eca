/* Point lists and vector lists: linked lists (lnklist.h) that own private copies of their records.
 * The two families differ in the record alone, which has one layout.
 *
 * Header, cursor and positions are those of the linked list; results are 1 or 0 unless stated. A
 * null list or record gives 0, null or -1, and so does refused memory, with the list unchanged.
 *
 * Every function traces, those of point lists under condition bit 0x8, those of vector lists under
 * 0x20 (see diag.h); the linked-list functions beneath trace under their own bit.
 */
#ifndef ZK_POINTLIST_H
#define ZK_POINTLIST_H

#include "zk/geometry.h"
#include "zk/lnklist.h"

ZK_EXTERN_C_BEGIN

typedef LnkList PointList;
typedef LnkList VectorList;

/* ---- Making and releasing ---- */

/* A new list of copies of the records given, up to a mandatory (void *)0, with the cursor on the
 * first. A record whose copy is refused is left out.
 *   list = zk_PointList_create(&a, &b, (void *)0);   empty = zk_PointList_create((void *)0); */
ZK_API PointList *ZK_CALL zk_PointList_create(const ZkPoint *first, ...);
/* A list of copies in the same order, with its cursor at end of list: call start first. */
ZK_API PointList *ZK_CALL zk_PointList_copy(const PointList *list);
/* Release all records; destroy the header as well. */
ZK_API int ZK_CALL zk_PointList_destroy(PointList *list);
ZK_API int ZK_CALL zk_PointList_delAll(PointList *list);

/* ---- The cursor: the linked list's functions under this family's name ---- */

ZK_API int ZK_CALL zk_PointList_start(PointList *list);
ZK_API int ZK_CALL zk_PointList_end(PointList *list);
ZK_API int ZK_CALL zk_PointList_skip(PointList *list, int32_t count);
ZK_API int ZK_CALL zk_PointList_next(PointList *list);
ZK_API int ZK_CALL zk_PointList_prev(PointList *list);
ZK_API int ZK_CALL zk_PointList_eol(const PointList *list);
ZK_API uint32_t ZK_CALL zk_PointList_length(const PointList *list);

/* ---- Reading ---- */

/* The list's own record at the cursor, or at `index`, where the cursor then is (zk_LnkList_getNth);
 * null where there is none. Valid until the record is removed or replaced. */
ZK_API ZkPoint *ZK_CALL zk_PointList_getCurr(const PointList *list);
ZK_API ZkPoint *ZK_CALL zk_PointList_getNth(PointList *list, int32_t index);
/* A copy of the current record in a static one, which the next call overwrites; null at end of
 * list. */
ZK_API ZkPoint *ZK_CALL zk_PointList_getCurrCopy(const PointList *list);

/* ---- Inserting a copy: places and cursor as the linked list's functions of these names ---- */

ZK_API int ZK_CALL zk_PointList_insStart(PointList *list, const ZkPoint *point);
ZK_API int ZK_CALL zk_PointList_insEnd(PointList *list, const ZkPoint *point);
ZK_API int ZK_CALL zk_PointList_insBefore(PointList *list, const ZkPoint *point);
ZK_API int ZK_CALL zk_PointList_insAfter(PointList *list, const ZkPoint *point);
ZK_API int ZK_CALL zk_PointList_insNth(PointList *list, int32_t index, const ZkPoint *point);

/* ---- Removing and replacing: cursor as the linked list's functions ---- */

ZK_API int ZK_CALL zk_PointList_delCurr(PointList *list);
ZK_API int ZK_CALL zk_PointList_delNth(PointList *list, int32_t index);
/* Replaces the record by a copy of `point`, which may be that record itself. */
ZK_API int ZK_CALL zk_PointList_modCurr(PointList *list, const ZkPoint *point);
ZK_API int ZK_CALL zk_PointList_modNth(PointList *list, int32_t index, const ZkPoint *point);

/* ---- Finding: the whole list is walked, and left at end of list ---- */

/* The position of the last record that equals `point` within the tolerance
 * (zk_Point_equalWithinTol); -1 if there is none. */
ZK_API int32_t ZK_CALL zk_PointList_search(PointList *list, const ZkPoint *point, double tolerance);
/* Copies the record nearest to `point`, of several the first, to `result` (which may be `point`)
 * and returns its position; -1 for an empty list. Records whose distance is not a finite number are
 * passed over. */
ZK_API int32_t ZK_CALL zk_PointList_getClosestPoint(ZkPoint *result, const ZkPoint *point,
                                                    PointList *list);

/* ---- The same for vectors; the closest one is that whose tip is nearest ---- */

ZK_API VectorList *ZK_CALL zk_VectorList_create(const ZkVector *first, ...);
ZK_API VectorList *ZK_CALL zk_VectorList_copy(const VectorList *list);
ZK_API int ZK_CALL zk_VectorList_destroy(VectorList *list);
ZK_API int ZK_CALL zk_VectorList_delAll(VectorList *list);
ZK_API int ZK_CALL zk_VectorList_start(VectorList *list);
ZK_API int ZK_CALL zk_VectorList_end(VectorList *list);
ZK_API int ZK_CALL zk_VectorList_skip(VectorList *list, int32_t count);
ZK_API int ZK_CALL zk_VectorList_next(VectorList *list);
ZK_API int ZK_CALL zk_VectorList_prev(VectorList *list);
ZK_API int ZK_CALL zk_VectorList_eol(const VectorList *list);
ZK_API uint32_t ZK_CALL zk_VectorList_length(const VectorList *list);
ZK_API ZkVector *ZK_CALL zk_VectorList_getCurr(const VectorList *list);
ZK_API ZkVector *ZK_CALL zk_VectorList_getNth(VectorList *list, int32_t index);
ZK_API ZkVector *ZK_CALL zk_VectorList_getCurrCopy(const VectorList *list);
ZK_API int ZK_CALL zk_VectorList_insStart(VectorList *list, const ZkVector *vector);
ZK_API int ZK_CALL zk_VectorList_insEnd(VectorList *list, const ZkVector *vector);
ZK_API int ZK_CALL zk_VectorList_insBefore(VectorList *list, const ZkVector *vector);
ZK_API int ZK_CALL zk_VectorList_insAfter(VectorList *list, const ZkVector *vector);
ZK_API int ZK_CALL zk_VectorList_insNth(VectorList *list, int32_t index, const ZkVector *vector);
ZK_API int ZK_CALL zk_VectorList_delCurr(VectorList *list);
ZK_API int ZK_CALL zk_VectorList_delNth(VectorList *list, int32_t index);
ZK_API int ZK_CALL zk_VectorList_modCurr(VectorList *list, const ZkVector *vector);
ZK_API int ZK_CALL zk_VectorList_modNth(VectorList *list, int32_t index, const ZkVector *vector);
ZK_API int32_t ZK_CALL zk_VectorList_search(VectorList *list, const ZkVector *vector,
                                            double tolerance);
ZK_API int32_t ZK_CALL zk_VectorList_getClosestVector(ZkVector *result, const ZkVector *vector,
                                                      VectorList *list);

ZK_EXTERN_C_END
#endif
