/* Point travel: lists of labelled points, and a small register of values under serial numbers.
 *
 * A travel list is a linked list (lnklist.h) that owns its nodes; cursor and results are those of
 * the linked list. Every function traces under condition bit 0x8 (see diag.h).
 */
#ifndef ZK_POINTTRAVEL_H
#define ZK_POINTTRAVEL_H

#include "zk/geometry.h"
#include "zk/lnklist.h"

ZK_EXTERN_C_BEGIN

/* 544 bytes: the label stands at 24, the value at 540. */
typedef struct PointTravelNode {
  ZkPoint point;
  char label[516]; /* at most 515 characters */
  int32_t value;
} PointTravelNode;

typedef LnkList PointTravelList;

/* ---- Nodes ---- */

/* A new node with a copy of the point and of the label, which is cut at 515 characters. "%%" in the
 * label becomes "%"; everything else, other percent signs too, is copied as it is. A null label is
 * "". `unused` is ignored. Null for a null point. */
ZK_API PointTravelNode *ZK_CALL zk_PointTravelNode_create(const ZkPoint *point, const char *label,
                                                          int32_t unused, int32_t value);
/* For nodes that are in no list. */
ZK_API int ZK_CALL zk_PointTravelNode_destroy(PointTravelNode *node);

/* ---- Lists: the linked list's functions under this family's name ---- */

ZK_API PointTravelList *ZK_CALL zk_PointTravelList_create(void);
/* Releases every node as well. */
ZK_API int ZK_CALL zk_PointTravelList_destroy(PointTravelList *list);
/* On success the node is the list's; on 0 it stays the caller's. */
ZK_API int ZK_CALL zk_PointTravelList_insEnd(PointTravelList *list, PointTravelNode *node);
/* The current node, which stays the list's; null at end of list. */
ZK_API PointTravelNode *ZK_CALL zk_PointTravelList_getCurr(const PointTravelList *list);
ZK_API int ZK_CALL zk_PointTravelList_start(PointTravelList *list);
ZK_API int ZK_CALL zk_PointTravelList_end(PointTravelList *list);
ZK_API int ZK_CALL zk_PointTravelList_next(PointTravelList *list);
ZK_API int ZK_CALL zk_PointTravelList_prev(PointTravelList *list);
ZK_API int ZK_CALL zk_PointTravelList_eol(const PointTravelList *list);

/* ---- The register: one per process, of the last 50 values ---- */

/* Registers a value and returns its serial number: 0 for the first, then counting up. The 51st
 * value takes the place of the oldest, and so on. */
ZK_API int32_t ZK_CALL zk_PointTravelList_add(int32_t value);
/* The value registered under a serial number; 0 if there is none (any more). */
ZK_API int32_t ZK_CALL zk_PointTravelList_get(int32_t serial);

ZK_EXTERN_C_END
#endif
