/* Named stopwatches, kept in one list for the process. Times are seconds since the timer's start,
 * in steps of a millisecond; they are right up to 49 days. Names are told apart by their first 51
 * bytes; a null name gives 0. Several timers may have one name: the first made is found. Linear in
 * the number of timers. They do not trace; the linked-list functions beneath do.
 */
#ifndef ZK_TIMER_H
#define ZK_TIMER_H

#include "zk/types.h"

ZK_EXTERN_C_BEGIN

typedef struct TimerNode {
  char name[52];
  uint32_t start; /* of a clock in milliseconds that never goes back, except round its 32 bits */
} TimerNode;

/* A node started now and in no list, to be released with zk_Free. Null when refused. */
ZK_API TimerNode *ZK_CALL zk_TimerNode_create(const char *name);

/* Adds a timer, started now. 0 when memory is refused. */
ZK_API int ZK_CALL zk_Timer_create(const char *name);
/* The time; 0.0 when there is no such timer. */
ZK_API double ZK_CALL zk_Timer_check(const char *name);
/* The time, and starts the timer anew; a timer that does not exist is made and gives 0.0. */
ZK_API double ZK_CALL zk_Timer_reset(const char *name);
/* The time, and removes the timer; 0.0 when there is no such timer. */
ZK_API double ZK_CALL zk_Timer_delete(const char *name);
/* Removes all timers. Always 1. */
ZK_API int ZK_CALL zk_Timer_clearAll(void);

ZK_EXTERN_C_END
#endif
