/* The function that tracks objects: an application gives it, others of the process call it. */
#ifndef ZK_RM_H
#define ZK_RM_H

#include "zk/types.h"

ZK_EXTERN_C_BEGIN

typedef int(ZK_CALL *ZkTrackObjectFn)(void);

/* Makes `function` the one of the process; null takes it away. 1. */
ZK_API int ZK_CALL zk_RM_setFuncTrackObject(ZkTrackObjectFn function);

/* Calls it: its result, 0 when there is none. */
ZK_API int ZK_CALL zk_RM_callFuncTrackObject(void);

ZK_EXTERN_C_END
#endif
