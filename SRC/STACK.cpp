#include "zk/stackqueue.h"

#include "SRC/LnkList.h"

using namespace zk;

ZK_EXTERN_C_BEGIN

ZkStack *ZK_CALL zk_Stack_create(void) { return newList(); }

int ZK_CALL zk_Stack_destroy(ZkStack *stack, ZkFreeDataFn freeData) {
  return zk_LnkList_destroy(stack, freeData);
}

int ZK_CALL zk_Stack_push(ZkStack *stack, void *data) {
  const int result = zk_LnkList_insStart(stack, data);
  if (stack != nullptr) stack->current = stack->first;
  return result;
}

void *ZK_CALL zk_Stack_pop(ZkStack *stack) {
  if (stack == nullptr || stack->first == nullptr) return nullptr;
  LnkNode *head = stack->first;
  void *data = head->data;
  unlinkNode(*stack, *head);
  base::release(head);
  stack->current = stack->first;
  return data;
}

int ZK_CALL zk_Stack_empty(const ZkStack *stack) { return stack == nullptr || stack->length == 0; }

ZK_EXTERN_C_END
