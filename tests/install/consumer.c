/* What only a program of its own can show: it and the library see the same exported data, and take
 * the same functions for the standard allocator. */
#include <stdlib.h>
#include <string.h>

#include "zk_baselib.h"

static int allocations = 0;

static void *allocate(size_t size) {
  ++allocations;
  return malloc(size);
}

int main(void) {
  LnkList *list;
  zk_MemoryManager_set(allocate, realloc, calloc, free);
  zk_MemoryManager_set(malloc, realloc, calloc, free);

  ZK_DiagCurrentLevel = 3;
  ZK_DiagCurrentCondition = ZK_DIAG_LNKLIST;
  list = zk_LnkList_create((void *)0);
  zk_Diag_disable();
  zk_LnkList_destroy(list, NULL);

  if (allocations == 0) return 1;
  if (ZK_DiagCurrentLevel != 0) return 2;
  return strcmp(ZK_DiagMsgBuf, "Exiting zk_LnkList_create.") == 0 ? 0 : 3;
}
