// A queue is a stack that grows at its tail.
#include "zk/stackqueue.h"

ZK_EXTERN_C_BEGIN

ZkQueue *ZK_CALL zk_Queue_create(void) { return zk_Stack_create(); }

int ZK_CALL zk_Queue_destroy(ZkQueue *queue, ZkFreeDataFn freeData) {
  return zk_LnkList_destroy(queue, freeData);
}

int ZK_CALL zk_Queue_push(ZkQueue *queue, void *data) {
  const int result = zk_LnkList_insEnd(queue, data);
  if (queue != nullptr) queue->current = queue->first;
  return result;
}

void *ZK_CALL zk_Queue_pop(ZkQueue *queue) { return zk_Stack_pop(queue); }

int ZK_CALL zk_Queue_empty(const ZkQueue *queue) { return zk_Stack_empty(queue); }

uint32_t ZK_CALL zk_Queue_length(const ZkQueue *queue) { return zk_LnkList_length(queue); }

ZK_EXTERN_C_END
