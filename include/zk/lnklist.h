/* Linked list: the library's general container, a doubly linked list of untyped data pointers with
 * a built-in cursor (the current node). Most list-shaped families are one underneath.
 *
 * The list never owns the data that its nodes point to; the operations that drop or replace data
 * take an optional free function for it. Header and nodes come from the allocator (memory.h).
 *
 * Functions that return `int` return 1 for success and 0 for failure; a null list gives 0, null or
 * -1. "End of list" means that the cursor is null. Positions are zero-based. Whatever takes an
 * index walks from the head (linear); insertion and removal at the cursor or at an end are constant
 * time. A null comparison function does nothing and leaves the cursor alone.
 *
 * Traces under condition bit 0x4 (see diag.h), except next, prev, move and getNthSavePos.
 */
#ifndef ZK_LNKLIST_H
#define ZK_LNKLIST_H

#include "zk/types.h"

ZK_EXTERN_C_BEGIN

typedef struct LnkNode {
  void *data;           /* the element, may be null */
  struct LnkNode *next; /* null at the tail */
  struct LnkNode *prev; /* null at the head */
} LnkNode;

/* Applications may read these fields and walk the nodes; only the library changes them. */
typedef struct LnkList {
  uint32_t length;
  LnkNode *first;   /* null when empty */
  LnkNode *last;    /* null when empty */
  LnkNode *current; /* the cursor: null at end of list, else a node of this list */
} LnkList;

/* Releases one element; called only with non-null data. */
typedef void(ZK_CALL *ZkFreeDataFn)(void *data);
/* Negative, zero or positive as `a` sorts before, with or after `b`. */
typedef int(ZK_CALL *ZkCompareFn)(const void *a, const void *b);

/* ---- Making and releasing ---- */

/* A new list of the data pointers given, up to a mandatory (void *)0; the cursor is on the first.
 * Null when the header cannot be allocated; an element whose node cannot be allocated is left out.
 *   list = zk_LnkList_create(a, b, (void *)0);   empty = zk_LnkList_create((void *)0);
 * The end mark must be a pointer: a plain 0 or NULL may be narrower than one. */
ZK_API LnkList *ZK_CALL zk_LnkList_create(void *first, ...);
/* Removes every node, calling `freeData` (may be null) on its data. destroy releases the header as
 * well, delAll leaves an empty list. */
ZK_API int ZK_CALL zk_LnkList_destroy(LnkList *list, ZkFreeDataFn freeData);
ZK_API int ZK_CALL zk_LnkList_delAll(LnkList *list, ZkFreeDataFn freeData);

/* ---- Inserting: 0 and an unchanged list when the node cannot be allocated ---- */

/* At the head or the tail; the cursor stays. */
ZK_API int ZK_CALL zk_LnkList_insStart(LnkList *list, void *data);
ZK_API int ZK_CALL zk_LnkList_insEnd(LnkList *list, void *data);
/* Before or after the cursor, which stays. At end of list the cursor is first put on the first node
 * (insBefore) or on the last (insAfter), and remains there; in an empty list it ends on the new
 * node. */
ZK_API int ZK_CALL zk_LnkList_insBefore(LnkList *list, void *data);
ZK_API int ZK_CALL zk_LnkList_insAfter(LnkList *list, void *data);
/* Before the node at `index`, found as getNth does. Where getNth gives null the element goes after
 * the cursor, as insAfter: at the tail for an index past the end (the cursor ends on the old tail),
 * behind the cursor for a negative index, and behind the node at `index` if that holds null. */
ZK_API int ZK_CALL zk_LnkList_insNth(LnkList *list, int32_t index, void *data);

/* ---- Removing ---- */

/* Removes the current node after calling `freeData` (may be null) on its data. The cursor moves to
 * the successor, or to the new tail if the tail was removed. 0 at end of list. */
ZK_API int ZK_CALL zk_LnkList_delCurr(LnkList *list, ZkFreeDataFn freeData);
/* getNth, then delCurr if that gave data: a node that holds null cannot be removed by index. */
ZK_API int ZK_CALL zk_LnkList_delNth(LnkList *list, int32_t index, ZkFreeDataFn freeData);

/* ---- The cursor ---- */

/* To the first or last node; 1 if there is one. */
ZK_API int ZK_CALL zk_LnkList_start(LnkList *list);
ZK_API int ZK_CALL zk_LnkList_end(LnkList *list);
/* Moves by `count` nodes, back if negative. A step off either end reaches end of list, from where
 * no step leads back. 1 if the cursor is on a node afterwards. next and prev move by one. */
ZK_API int ZK_CALL zk_LnkList_skip(LnkList *list, int32_t count);
ZK_API int ZK_CALL zk_LnkList_next(LnkList *list);
ZK_API int ZK_CALL zk_LnkList_prev(LnkList *list);
/* 1 at end of list, and for a null list. */
ZK_API int ZK_CALL zk_LnkList_eol(const LnkList *list);
/* 1 if the cursor is on the last node, and for an empty list. */
ZK_API int ZK_CALL zk_LnkList_isLast(const LnkList *list);
ZK_API uint32_t ZK_CALL zk_LnkList_length(const LnkList *list);
/* The node at `index`, or the first node for an index of 0 or below; end of list past the end. 1
 * for any list. */
ZK_API int ZK_CALL zk_LnkList_setPos(LnkList *list, int32_t index);
/* The cursor's position, or -1 at end of list. */
ZK_API int32_t ZK_CALL zk_LnkList_getPos(LnkList *list);

/* ---- Reading and replacing ---- */

/* The current node's data, or null. */
ZK_API void *ZK_CALL zk_LnkList_getCurr(const LnkList *list);
/* The data at `index`, with the cursor on that node; null at end of list past the end. A negative
 * index gives null and leaves the cursor alone. */
ZK_API void *ZK_CALL zk_LnkList_getNth(LnkList *list, int32_t index);
/* The same with the cursor put back; if it was at end of list it ends on the first node. */
ZK_API void *ZK_CALL zk_LnkList_getNthSavePos(LnkList *list, int32_t index);
/* Calls `freeData` (may be null) on the current node's data and stores `data` in its place. 0 at
 * end of list, when nothing is freed. */
ZK_API int ZK_CALL zk_LnkList_modCurr(LnkList *list, void *data, ZkFreeDataFn freeData);
/* getNth, then modCurr if that gave data. */
ZK_API int ZK_CALL zk_LnkList_modNth(LnkList *list, int32_t index, void *data,
                                     ZkFreeDataFn freeData);
/* The first data for which compare(data, key) is 0, with the cursor on it; else null, at end of
 * list. Nodes that hold null are passed over. */
ZK_API void *ZK_CALL zk_LnkList_search(LnkList *list, const void *key, ZkCompareFn compare);

/* ---- Rearranging ---- */

/* Moves the node at `from` so that it ends at `to`, with the cursor on it. 0 if either is not a
 * position of the list; equal positions change nothing and give 1. */
ZK_API int ZK_CALL zk_LnkList_move(LnkList *list, int32_t from, int32_t to);
/* Appends the nodes of `other`, releases its header and puts the list's cursor on its first node.
 * Constant time. 0 and both unchanged if either is null or both are the same list. */
ZK_API int ZK_CALL zk_LnkList_join(LnkList *list, LnkList *other);

/* ---- Sorting: ascending, not stable; data pointers change nodes, the nodes stay ---- */

/* Selection sort. Quadratic; needs no memory. Nodes that hold null keep their places. The cursor
 * stays on its node, whose data may be another. */
ZK_API void ZK_CALL zk_LnkList_sort(LnkList *list, ZkCompareFn compare);
/* In n log n comparisons at worst, using memory for two pointers per node; the cursor ends null.
 * Does nothing, cursor included, when there is no pivot (see findPivot) or the memory is refused.
 * Where nodes behind the first hold null, `compare` gets null as its first argument, never as its
 * second. A comparison that contradicts itself gives some order of the same elements. */
ZK_API void ZK_CALL zk_LnkList_qSort(LnkList *list, ZkCompareFn compare);

/* Two steps for callers that write a quick sort of their own. findPivot gives the larger of the
 * first element and the first one that differs from it; null when the first node holds null or
 * every element (nulls apart) equals it. */
ZK_API void *ZK_CALL zk_LnkList_findPivot(LnkList *list, ZkCompareFn compare);
/* Exchanges data so that the elements below `pivot` come first, and cuts the chain behind them:
 * `left` and `right`, two empty lists from the caller, end as the two parts (lengths not set, both
 * cursors on the first node of the whole chain). The list's cursor ends null; its first, last and
 * length still describe the whole chain, which the caller joins again: left->last->next =
 * right->first;   right->first->prev = left->last; after which the two headers are released with
 * zk_Free, not zk_LnkList_destroy. (A part may be empty when `pivot` is not from findPivot.) A null
 * list or pivot does nothing. */
ZK_API void ZK_CALL zk_LnkList_partition(LnkList *list, LnkList *left, LnkList *right, void *pivot,
                                         ZkCompareFn compare);

ZK_EXTERN_C_END
#endif
