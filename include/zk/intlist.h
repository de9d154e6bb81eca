/* Integer list: a linked list (lnklist.h) that owns its integers, 32 bits each. Header, cursor and
 * "end of list" are those of the linked list. It does not trace; the linked-list functions beneath
 * do.
 */
#ifndef ZK_INTLIST_H
#define ZK_INTLIST_H

#include "zk/lnklist.h"

ZK_EXTERN_C_BEGIN

typedef LnkList IntList;

/* What the data pointers of an integer list point to. */
typedef struct IntListNode {
  int32_t value;
} IntListNode;

/* For callers that handle nodes themselves. Null when refused; destroy of null gives 0. */
ZK_API IntListNode *ZK_CALL zk_IntListNode_create(int32_t value);
ZK_API int ZK_CALL zk_IntListNode_destroy(IntListNode *node);

/* A new list of the integers pointed to, up to a mandatory (void *)0, with the cursor on the first:
 *   int32_t a = 1, b = 2;
 *   list = zk_IntList_create(&a, &b, (void *)0);   empty = zk_IntList_create((void *)0);
 * Null when the header is refused; an integer whose node is refused is left out. */
ZK_API IntList *ZK_CALL zk_IntList_create(const int32_t *first, ...);
/* Releases nodes and header. */
ZK_API int ZK_CALL zk_IntList_destroy(IntList *list);
/* The same values in the same order; an empty list for null. The copy's cursor is at end of list:
 * call zk_IntList_start first. Null when memory is refused. */
ZK_API IntList *ZK_CALL zk_IntList_copy(const IntList *list);

/* Appends; the cursor stays. 0 and an unchanged list when the node is refused. */
ZK_API int ZK_CALL zk_IntList_insEnd(IntList *list, int32_t value);

/* The current integer, in its node: it may be read and assigned. Null at end of list. */
ZK_API int32_t *ZK_CALL zk_IntList_getCurr(const IntList *list);
/* The linked list's functions under this family's name. */
ZK_API int ZK_CALL zk_IntList_start(IntList *list);
ZK_API int ZK_CALL zk_IntList_next(IntList *list);
ZK_API int ZK_CALL zk_IntList_eol(const IntList *list);
ZK_API uint32_t ZK_CALL zk_IntList_length(const IntList *list);

ZK_EXTERN_C_END
#endif
