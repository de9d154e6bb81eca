/* Stacks (last in, first out) and queues (first in, first out) of the caller's data pointers. Both
 * are linked lists (lnklist.h) whose head is the next element to pop, and may be read and walked as
 * such. The data is never owned, unless a free function is passed to destroy. Every operation takes
 * constant time, except destroy. They do not trace; the linked-list functions beneath do.
 */
#ifndef ZK_STACKQUEUE_H
#define ZK_STACKQUEUE_H

#include "zk/lnklist.h"

ZK_EXTERN_C_BEGIN

typedef LnkList ZkStack;
typedef LnkList ZkQueue;

/* Empty; null when refused. */
ZK_API ZkStack *ZK_CALL zk_Stack_create(void);
ZK_API ZkQueue *ZK_CALL zk_Queue_create(void);
/* zk_LnkList_destroy. */
ZK_API int ZK_CALL zk_Stack_destroy(ZkStack *stack, ZkFreeDataFn freeData);
ZK_API int ZK_CALL zk_Queue_destroy(ZkQueue *queue, ZkFreeDataFn freeData);

/* Add at the head (stack) or at the tail (queue) and put the cursor on the head. 0 and nothing
 * added when memory is refused. */
ZK_API int ZK_CALL zk_Stack_push(ZkStack *stack, void *data);
ZK_API int ZK_CALL zk_Queue_push(ZkQueue *queue, void *data);

/* Take the head out and return its data, which is not freed; the cursor is on the new head. Null
 * when empty; where null itself may be pushed, ask `empty` first. */
ZK_API void *ZK_CALL zk_Stack_pop(ZkStack *stack);
ZK_API void *ZK_CALL zk_Queue_pop(ZkQueue *queue);

/* 1 when there is nothing to pop, also for null. */
ZK_API int ZK_CALL zk_Stack_empty(const ZkStack *stack);
ZK_API int ZK_CALL zk_Queue_empty(const ZkQueue *queue);
ZK_API uint32_t ZK_CALL zk_Queue_length(const ZkQueue *queue);

ZK_EXTERN_C_END
#endif
